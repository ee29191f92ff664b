// The selection on a 1024x1024 document: a free polygon of 400 points turned into the mask
// (scratch picture, outline, flood from outside), and a cut of all three layers through the
// flattened picture.
#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

#include "core/documents.h"
#include "core/view_render.h"
#include "tests/support/fake_host.h"
#include "tools/selection.h"

namespace {

using namespace brv;

constexpr int32_t kSide = 1024;

struct Fixture {
    Fixture() {
        state.Paths = ComputeAppPaths("/tmp/brivandelle-bench/");
        InitDocTable(state);
        int32_t w = kSide, h = kSide;
        fid = NewDocument(state, host, w, h);
        for (int i = 0; i < 2; ++i)
            AddLayerSlot(state, fid);
        DocumentRecord& doc = Doc();
        for (int32_t lid = 1; lid <= doc.LayerCount(); ++lid)
            doc.Layers[static_cast<size_t>(lid)].Pixels.Fill(
                {static_cast<uint8_t>(40 * lid), 90, 200, static_cast<uint8_t>(60 + 50 * lid)});
        // A wobbly star: many inner areas where its edges cross.
        for (int i = 0; i < 400; ++i) {
            const double a = i * 2.0 * 3.14159265358979 / 400 * 7;
            const double r = 380 + 120 * std::sin(i * 0.37);
            polygon.push_back({static_cast<float>(std::round(512 + r * std::cos(a))),
                               static_cast<float>(std::round(512 + r * std::sin(a)))});
        }
        polygon.push_back(polygon.front());
    }
    DocumentRecord& Doc() { return state.Docs[static_cast<size_t>(fid)]; }

    testing::FakeHost host;
    CoreState state;
    int32_t fid = 0;
    std::vector<PointF> polygon;
};

void BM_MakeSelection(benchmark::State& st) {
    Fixture f;
    for (auto _ : st) {
        MakeSelection(f.Doc(), f.polygon, false);
        benchmark::DoNotOptimize(f.Doc().Selection.bytes.data());
    }
}
BENCHMARK(BM_MakeSelection)->Unit(benchmark::kMillisecond);

void BM_CopyAllLayers(benchmark::State& st) {
    Fixture f;
    MakeSelection(f.Doc(), f.polygon, false);
    PixelBuffer piece;
    for (auto _ : st) {
        TakeSelection(f.Doc(), piece, 0, false, nullptr);
        benchmark::DoNotOptimize(piece.Bytes().data());
    }
}
BENCHMARK(BM_CopyAllLayers)->Unit(benchmark::kMillisecond);

void BM_BuildOutline(benchmark::State& st) {
    Fixture f;
    MakeSelection(f.Doc(), f.polygon, false);
    f.Doc().Zoom = 1.0;
    for (auto _ : st) {
        BuildOutline(f.Doc());
        benchmark::DoNotOptimize(f.Doc().OutlineCount);
    }
}
BENCHMARK(BM_BuildOutline)->Unit(benchmark::kMillisecond);

}  // namespace
