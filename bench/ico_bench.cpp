// The icon codec on a 256 by 256 picture: reading at 32 and 8 bits, and the writer's depth
// choice and palette walk, which look at every pixel.
#include <benchmark/benchmark.h>

#include "formats/ico_codec.h"

namespace {

brv::PixelBuffer Picture(int colours, bool softAlpha) {
    brv::PixelBuffer p(256, 256);
    for (int y = 0; y < 256; ++y)
        for (int x = 0; x < 256; ++x) {
            const int c = (x * 7 + y * 13) % colours;
            p.Set(x, y,
                  {static_cast<uint8_t>(c), static_cast<uint8_t>(c >> 8), 40,
                   static_cast<uint8_t>(softAlpha ? (x + y) % 256 : 255)});
        }
    return p;
}

std::vector<uint8_t> FileOf(const brv::PixelBuffer& p, int32_t bits) {
    brv::IconImageRecord rec;
    brv::IconC::EncodeIconImage(p, rec, bits);
    return brv::IconC::WriteIconBytes({rec}, 0);
}

void BM_IconRead(benchmark::State& state) {
    const auto file =
        FileOf(Picture(200, state.range(0) == 32), static_cast<int32_t>(state.range(0)));
    const brv::IconC ico;
    for (auto _ : state) {
        brv::PixelBuffer pic;
        int32_t hx = 0, hy = 0;
        benchmark::DoNotOptimize(ico.LoadIconBytes(file, 1, pic, hx, hy, true));
    }
    state.SetItemsProcessed(state.iterations() * 256 * 256);
}
BENCHMARK(BM_IconRead)->Arg(8)->Arg(32);

void BM_IconEncodeChoosingDepth(benchmark::State& state) {
    const auto pic = Picture(static_cast<int>(state.range(0)), false);
    for (auto _ : state) {
        brv::IconImageRecord rec;
        benchmark::DoNotOptimize(brv::IconC::EncodeIconImage(pic, rec, 0));
    }
    state.SetItemsProcessed(state.iterations() * 256 * 256);
}
BENCHMARK(BM_IconEncodeChoosingDepth)->Arg(16)->Arg(250)->Arg(5000);

}  // namespace
