// A pen stroke of 10 000 steps (size 9, soft, 1024 x 1024 layer) through the canvas's event
// routine, each step's rectangle composited into a 1024 x 1024 view as the screen refresh does.
// The stroke zigzags over the layer in steps of about three pixels. Variants: with a selection
// (the bracket copies and restores only the step's rectangle), the kernel alone, and for
// comparison the whole-layer backup and restore a selection would cost on every step.
#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

#include "core/compositor.h"
#include "core/documents.h"
#include "core/startup.h"
#include "tests/support/fake_host.h"
#include "tools/freehand.h"
#include "tools/stamp.h"

namespace {

constexpr int32_t kSide = 1024;
constexpr int32_t kSteps = 10000;

struct Point {
    int32_t x, y;
};

std::vector<Point> StrokePath(int32_t steps) {
    std::vector<Point> path;
    path.reserve(static_cast<size_t>(steps));
    for (int32_t i = 0; i < steps; ++i) {
        const double t = i * 3.0;
        const int32_t row = static_cast<int32_t>(t / (kSide - 40));
        const double along = std::fmod(t, kSide - 40.0);
        const int32_t x = 20 + static_cast<int32_t>(row % 2 ? kSide - 40 - along : along);
        const int32_t y =
            20 + (row * 37) % (kSide - 40) + static_cast<int32_t>(8 * std::sin(t / 50));
        path.push_back({x, y});
    }
    return path;
}

struct Painter {
    explicit Painter(bool withSelection) {
        brv::InitDocTable(state);
        int32_t w = kSide, h = kSide;
        fid = brv::NewDocument(state, host, w, h);
        state.ActiveFID = fid;
        brv::DocumentRecord& doc = Doc();
        doc.Zoom = 1.0;
        doc.ViewRight = kSide;
        doc.ViewBottom = kSide;
        doc.ViewPixels = brv::PixelBuffer(kSide, kSide);
        brv::LayerRecord& layer = doc.Layers[1];
        layer.Tool = 1;
        layer.PenParams(1, 1) = 9;
        layer.PenParams(1, 4) = 1;
        layer.PenColor = 0x2040C0;
        layer.PenTransparency = 60;
        if (withSelection) {
            doc.OutlineCount = 1;
            for (size_t i = 0; i < doc.Selection.bytes.size(); ++i)
                doc.Selection.bytes[i] = static_cast<uint8_t>((i / 7) % 2);
        }
        background = brv::MakeBackgroundTile(kSide, kSide);
    }
    brv::DocumentRecord& Doc() { return state.Docs[static_cast<size_t>(fid)]; }

    void Composite(const brv::RectI& dirty) {
        brv::DocumentRecord& doc = Doc();
        const std::vector<brv::LayerRef> layers = brv::VisibleLayerRefs(doc);
        brv::CalcLayers({layers, doc.Width, doc.Height}, brv::TileRefOf(background),
                        brv::DestRefOf(doc.ViewPixels), 100, 100, brv::RectI{0, 0, 0, 0}, dirty);
    }

    // One stroke through the event routines, each step's rectangle composited.
    void Stroke(const std::vector<Point>& path) {
        brv::PaintContext ctx{state, drag, nullptr};
        double clock = 1000.0;
        for (size_t i = 0; i < path.size(); ++i) {
            const double x = path[i].x * 15.0 + 7.0;
            const double y = path[i].y * 15.0 + 7.0;
            const brv::CanvasActions a =
                i == 0 ? brv::PenStep(ctx, fid, brv::kLeftButton, 0, x, y, clock)
                       : brv::CanvasDrag(ctx, fid, brv::kLeftButton, 0, x, y, clock);
            if (a.RefreshRect) Composite(*a.RefreshRect);
            clock += 1.0;
        }
        brv::CanvasUp(ctx, fid, brv::kLeftButton, 0, path.back().x * 15.0, path.back().y * 15.0,
                      clock);
    }

    brv::testing::FakeHost host;
    brv::CoreState state;
    brv::FreehandState drag;
    brv::PixelBuffer background;
    int32_t fid = 0;
};

void BM_PenStroke(benchmark::State& st) {
    const std::vector<Point> path = StrokePath(kSteps);
    Painter painter(st.range(0) != 0);
    for (auto _ : st)
        painter.Stroke(path);
    st.SetItemsProcessed(st.iterations() * kSteps);
    st.SetLabel(st.range(0) ? "steps, with a selection" : "steps");
}
BENCHMARK(BM_PenStroke)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();

// The stamps alone: the same segments straight into the pixels.
void BM_PenKernelOnly(benchmark::State& st) {
    const std::vector<Point> path = StrokePath(kSteps);
    brv::PixelBuffer layer(kSide, kSide);
    const double t = brv::AdjustTransparency(60, 9);
    for (auto _ : st) {
        brv::RectI rect;
        for (size_t i = 1; i < path.size(); ++i)
            brv::DrawLineStamps(layer, path[i].x, path[i].y, path[i - 1].x, path[i - 1].y, 9,
                                0x2040C0, t, rect, false, 1, 9, false);
        benchmark::DoNotOptimize(layer.Bytes().data());
    }
    st.SetItemsProcessed(st.iterations() * (kSteps - 1));
}
BENCHMARK(BM_PenKernelOnly)->Unit(benchmark::kMillisecond)->UseRealTime();

// What a selection would cost with a whole copy and a whole scan on every step.
void BM_PenStepWholeLayerBracket(benchmark::State& st) {
    const std::vector<Point> path = StrokePath(200);
    Painter painter(true);
    brv::DocumentRecord& doc = painter.Doc();
    brv::LayerRecord& layer = doc.Layers[1];
    const double t = brv::AdjustTransparency(60, 9);
    for (auto _ : st) {
        brv::RectI rect;
        for (size_t i = 1; i < path.size(); ++i) {
            brv::BackupForStroke(doc, 1);
            brv::DrawLineStamps(layer.Pixels, path[i].x, path[i].y, path[i - 1].x, path[i - 1].y, 9,
                                0x2040C0, t, rect, false, 1, 9, false);
            brv::RestoreUnselected(doc, 1);
        }
    }
    st.SetItemsProcessed(st.iterations() * (static_cast<int64_t>(path.size()) - 1));
}
BENCHMARK(BM_PenStepWholeLayerBracket)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
