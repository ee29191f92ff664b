// The colour effects' Calc on a 1024x1024 layer, and the whole RunEffect road with its undo
// snapshot. Pictures are random except for the colour reduction, whose pair step is quadratic
// in the number of colours: it gets a picture of 4096 colours, as a large icon might have.
#include <benchmark/benchmark.h>

#include <random>

#include "core/documents.h"
#include "effects/effect.h"
#include "effects/run_effect.h"
#include "tests/support/fake_host.h"

namespace {

using brv::EffectArgs;
using brv::PixelBuffer;

constexpr int32_t kSide = 1024;

PixelBuffer RandomPicture() {
    std::mt19937 rng(1024);
    PixelBuffer p(kSide, kSide);
    auto bytes = p.Bytes();
    for (size_t i = 0; i < bytes.size(); i += 4) {
        const uint32_t v = rng();
        for (size_t k = 0; k < 4; ++k)
            bytes[i + k] = static_cast<uint8_t>(v >> (8 * k));
    }
    return p;
}

// 64 by 64 blocks of reds and greens: 4096 colours.
PixelBuffer BlockPicture() {
    PixelBuffer p(kSide, kSide);
    for (int32_t y = 0; y < kSide; ++y)
        for (int32_t x = 0; x < kSide; ++x)
            p.Set(x, y,
                  {60, static_cast<uint8_t>(y / 16 * 4), static_cast<uint8_t>(x / 16 * 4), 255});
    return p;
}

void RunCalc(benchmark::State& state, const char* name, EffectArgs args, const PixelBuffer& src) {
    brv::testing::FakeHost host;
    brv::EffectState fx;
    brv::CoreState core;
    std::unique_ptr<brv::Effect> e = fx.Registry.Create(name);
    e->SetArgs(args);
    brv::EffectEnv env{host, fx, core};
    for (auto _ : state) {
        auto out = e->Calc(src, env);
        benchmark::DoNotOptimize(out);
    }
    state.counters["px/s"] = benchmark::Counter(static_cast<double>(src.Width()) * src.Height(),
                                                benchmark::Counter::kIsIterationInvariantRate);
}

void BM_ColorAdjust(benchmark::State& state) {
    RunCalc(state, "ef_coloradjust", {30, -20, 10, 0}, RandomPicture());
}
void BM_Hsv(benchmark::State& state) {
    RunCalc(state, "ef_hsv", {120, 20, -10, 0, 0, 0}, RandomPicture());
}
void BM_Rgba(benchmark::State& state) {
    RunCalc(state, "ef_rgba", {2, 1, 0, 3, 0, 0}, RandomPicture());
}
void BM_LvAdjustAuto(benchmark::State& state) {
    RunCalc(state, "ef_lvadjust", {0, 255, 1, 1, 1, 1, 0}, RandomPicture());
}
void BM_ChangeColorBlend(benchmark::State& state) {
    RunCalc(state, "ef_changecolor",
            {128, 128, 128, 128, 255, 0, 0, 255, 0, false, 1, 128, 100, 100, 100, 255, 1, 1, 1, 1},
            RandomPicture());
}
void BM_Dither254(benchmark::State& state) {
    RunCalc(state, "ef_dither", {1, 128, 8, 0, 0, 0}, BlockPicture());
}
void BM_Dither15(benchmark::State& state) {
    RunCalc(state, "ef_dither", {1, 128, 4, 0, 0, 0}, BlockPicture());
}

// A whole run from the action player's side: backup, Calc, selection, redraw hook, snapshot.
void BM_RunEffectHsvWithSelection(benchmark::State& state) {
    brv::testing::TempFolder dir;
    brv::testing::FakeHost host;
    brv::CoreState core;
    core.Paths = brv::ComputeAppPaths(dir.Path());
    brv::EnsureDataFolders(core.Paths);
    brv::InitDocTable(core);
    int32_t w = kSide, h = kSide;
    const int32_t fid = brv::NewDocument(core, host, w, h);
    core.ActiveFID = fid;
    brv::DocumentRecord& doc = *core.Doc(fid);
    doc.Layers[1].Pixels = RandomPicture();
    doc.OutlineCount = 1;
    for (size_t i = 0; i < doc.Selection.bytes.size(); i += 2)
        doc.Selection.bytes[i] = 1;
    brv::EffectState fx;
    const EffectArgs args = {120, 20, -10, 0, 0, 0};
    for (auto _ : state) {
        const int32_t rc = brv::RunEffect(core, host, fx, {}, fid, 1, "ef_hsv", args);
        benchmark::DoNotOptimize(rc);
    }
}

BENCHMARK(BM_ColorAdjust)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Hsv)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Rgba)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LvAdjustAuto)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ChangeColorBlend)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Dither254)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Dither15)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RunEffectHsvWithSelection)->Unit(benchmark::kMillisecond);

}  // namespace
