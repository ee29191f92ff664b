// The fill tool's flood fill: a whole 2048 x 2048 transparent layer at tolerance 0 (every pixel
// matches, one span a row), and a 1024 x 1024 layer of 1-pixel walls that turn the region into
// a winding corridor (a serpentine maze: many short spans, each row's runs met from both sides).
// Both paint a one-pixel colour at full cover; a 3 x 2 tile variant shows the tiled path.
#include <benchmark/benchmark.h>

#include "core/pixel_buffer.h"
#include "tools/flood_fill.h"

namespace {

brv::PixelBuffer Tile(int32_t w, int32_t h) {
    brv::PixelBuffer t(w, h);
    for (int32_t y = 0; y < h; ++y)
        for (int32_t x = 0; x < w; ++x)
            t.Set(x, y, {static_cast<uint8_t>(40 * x), static_cast<uint8_t>(90 * y), 200, 255});
    return t;
}

// Walls every 4 columns with a gap alternately at the top and the bottom, and within each
// corridor short stubs that break the rows into pieces.
brv::PixelBuffer Maze(int32_t side) {
    brv::PixelBuffer layer(side, side);
    const brv::Bgra wall{0, 0, 0, 255};
    for (int32_t x = 3; x < side; x += 4) {
        const bool gapTop = (x / 4) % 2 == 0;
        for (int32_t y = 0; y < side; ++y)
            if (gapTop ? y > 0 : y < side - 1) layer.Set(x, y, wall);
        for (int32_t y = 2; y < side - 2; y += 3)
            layer.Set(x - 2 + (y / 3) % 2, y, wall);
    }
    return layer;
}

void WholeLayer2048(benchmark::State& state) {
    const brv::PixelBuffer blank(2048, 2048);
    const brv::PixelBuffer tile =
        Tile(static_cast<int32_t>(state.range(0)), static_cast<int32_t>(state.range(1)));
    brv::PixelBuffer layer;
    for (auto _ : state) {
        state.PauseTiming();
        layer = blank;
        state.ResumeTiming();
        brv::FloodFill(layer, 1000, 1000, tile, 0, 0, 0);
        benchmark::DoNotOptimize(layer.Bytes().data());
    }
    state.SetItemsProcessed(state.iterations() * 2048 * 2048);
}
BENCHMARK(WholeLayer2048)->Args({1, 1})->Args({3, 2})->Unit(benchmark::kMillisecond);

void Maze1024(benchmark::State& state) {
    const brv::PixelBuffer maze = Maze(1024);
    const brv::PixelBuffer tile = Tile(1, 1);
    brv::PixelBuffer layer;
    for (auto _ : state) {
        state.PauseTiming();
        layer = maze;
        state.ResumeTiming();
        brv::FloodFill(layer, 0, 0, tile, 0, 0, 0);
        benchmark::DoNotOptimize(layer.Bytes().data());
    }
    state.SetItemsProcessed(state.iterations() * 1024 * 1024);
}
BENCHMARK(Maze1024)->Unit(benchmark::kMillisecond);

}  // namespace
