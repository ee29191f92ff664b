#include <benchmark/benchmark.h>

#include "core/pixel_buffer.h"
#include "core/startup.h"

namespace {

void BM_BackgroundTile(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(brv::MakeBackgroundTile(1920, 1080));
}
BENCHMARK(BM_BackgroundTile);

void BM_FlipAndInvert(benchmark::State& state) {
    brv::PixelBuffer p(1024, 1024);
    for (auto _ : state) {
        brv::FlipAndInvert(p, true, true);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_FlipAndInvert);

}  // namespace
