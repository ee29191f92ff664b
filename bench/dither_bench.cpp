// Colour reduction and bitmap reading at the sizes the program meets: a 256 x 256 photo to 8
// and 4 bits, the bitmap writer's own reduction, and a 1024 x 1024 24-bit bitmap read.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "colour/dither.h"
#include "formats/bmp_codec.h"

namespace {

// Smooth colour fields with a little noise: many distinct colours, as a photograph has.
brv::PixelBuffer PhotoLike(int32_t width, int32_t height) {
    brv::PixelBuffer p(width, height);
    std::mt19937 rng(5);
    std::uniform_int_distribution<int> noise(-6, 6);
    for (int32_t y = 0; y < height; ++y)
        for (int32_t x = 0; x < width; ++x) {
            const double u = static_cast<double>(x) / width, v = static_cast<double>(y) / height;
            auto channel = [&](double c) {
                return static_cast<uint8_t>(std::clamp(static_cast<int>(c) + noise(rng), 0, 255));
            };
            p.Set(x, y,
                  {channel(128 + 120 * std::sin(6 * u + 2 * v)),
                   channel(128 + 110 * std::cos(5 * v - 3 * u)), channel(255 * u * v), 255});
        }
    return p;
}

void DitherTo(benchmark::State& state, int32_t colours) {
    const brv::PixelBuffer photo = PhotoLike(256, 256);
    std::vector<uint8_t> indices, palette;
    for (auto _ : state) {
        brv::PixelBuffer work = photo;  // Dither divides the channels in place
        benchmark::DoNotOptimize(brv::Dither(work, indices, palette, colours));
    }
}
void BM_Dither8Bit(benchmark::State& state) {
    DitherTo(state, 254);
}
void BM_Dither4Bit(benchmark::State& state) {
    DitherTo(state, 15);
}
BENCHMARK(BM_Dither8Bit)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Dither4Bit)->Unit(benchmark::kMillisecond);

void BM_UseColorBit(benchmark::State& state) {
    const brv::PixelBuffer photo = PhotoLike(256, 256);
    for (auto _ : state)
        benchmark::DoNotOptimize(brv::UseColorBit(photo));
}
BENCHMARK(BM_UseColorBit);

void BM_SaveBmp8BitWithDiffusion(benchmark::State& state) {
    const brv::PixelBuffer photo = PhotoLike(256, 256);
    for (auto _ : state)
        benchmark::DoNotOptimize(brv::ALLBMPC::EncodeBMP1to8(photo, 8, true));
}
BENCHMARK(BM_SaveBmp8BitWithDiffusion)->Unit(benchmark::kMillisecond);

void BM_ReadBmp24Bit1024(benchmark::State& state) {
    const auto file = brv::ALLBMPC::EncodeBMP16to32(PhotoLike(1024, 1024), 24);
    const brv::ALLBMPC reader;
    brv::PixelBuffer out;
    for (auto _ : state)
        benchmark::DoNotOptimize(reader.GetBMPBytes(file, out, nullptr, false));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                            static_cast<int64_t>(file.size()));
}
BENCHMARK(BM_ReadBmp24Bit1024)->Unit(benchmark::kMillisecond);

}  // namespace
