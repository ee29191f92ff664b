// The view compositor on big stacks, beside pixman's OVER on the same layers.
//
// pixman is not a build dependency: when its shared library can be loaded at run time the
// BM_Pixman* cases measure it, else they report that they were skipped. Its OVER is the usual
// premultiplied operator, not our stacking rule, so only the speeds compare.
#include <benchmark/benchmark.h>

#include <dlfcn.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

#include "core/compositor.h"
#include "core/pixel_buffer.h"
#include "core/startup.h"

namespace {

using brv::LayerRef;
using brv::PixelBuffer;
using brv::RectI;

// Random colours; alpha uniform over 0..255, as a painted stack never is, to keep the early
// stop at full alpha from flattering the figures.
PixelBuffer RandomLayer(std::mt19937& rng, int32_t w, int32_t h) {
    PixelBuffer p(w, h);
    auto bytes = p.Bytes();
    for (size_t i = 0; i < bytes.size(); i += 4) {
        const uint32_t v = rng();
        bytes[i] = static_cast<uint8_t>(v);
        bytes[i + 1] = static_cast<uint8_t>(v >> 8);
        bytes[i + 2] = static_cast<uint8_t>(v >> 16);
        bytes[i + 3] = static_cast<uint8_t>(v >> 24);
    }
    return p;
}

struct Stack {
    int32_t width = 0, height = 0;
    std::vector<PixelBuffer> pixels;
    std::vector<LayerRef> refs;
    PixelBuffer background = brv::MakeBackgroundTile(1920, 1080);
};

// count layers of side x side; every other layer is moved a little.
Stack MakeStack(int32_t count, int32_t side) {
    Stack s;
    s.width = s.height = side;
    std::mt19937 rng(static_cast<uint32_t>(count * 7919 + side));
    s.pixels.reserve(static_cast<size_t>(count));
    for (int32_t i = 0; i < count; ++i) {
        s.pixels.push_back(RandomLayer(rng, side, side));
        const int32_t off = (i % 2) ? 13 * i - 40 : 0;
        s.refs.push_back({s.pixels.back().Bytes(), off, -off / 2});
    }
    return s;
}

// The block RedrawAll would make for a client of the given size at the given zoom.
int32_t BlockSide(int32_t docSide, int32_t zoomPercent, int32_t clientSide) {
    const int32_t zoomedLast = docSide * zoomPercent / 100 - 1;
    return std::max(std::min(clientSide, zoomedLast - 1), 0) + 1;
}

// args: layers, document side, zoom percent, client width, client height, dirty side (0: all)
void BM_CalcLayers(benchmark::State& state) {
    const auto layers = static_cast<int32_t>(state.range(0));
    const auto side = static_cast<int32_t>(state.range(1));
    const auto zoom = static_cast<int32_t>(state.range(2));
    const int32_t dw = BlockSide(side, zoom, static_cast<int32_t>(state.range(3)));
    const int32_t dh = BlockSide(side, zoom, static_cast<int32_t>(state.range(4)));
    const auto dirtySide = static_cast<int32_t>(state.range(5));
    const Stack s = MakeStack(layers, side);
    PixelBuffer view(dw, dh);
    // The view looks at the middle of the document; the dirty square sits in it.
    const RectI viewRect{(side * zoom / 100 - dw) / 2, (side * zoom / 100 - dh) / 2, 0, 0};
    RectI dirty{0, 0, side - 1, side - 1};
    if (dirtySide > 0) {
        const int32_t c = side / 2;
        dirty = {c, c, c + dirtySide - 1, c + dirtySide - 1};
    }
    for (auto _ : state) {
        int32_t rc = brv::CalcLayers({s.refs, side, side}, brv::TileRefOf(s.background),
                                     brv::DestRefOf(view), zoom, 100, viewRect, dirty);
        benchmark::DoNotOptimize(rc);
        benchmark::ClobberMemory();
    }
    // Layer-pixels: destination pixels written times the layers behind each.
    int64_t written = int64_t{dw} * dh;
    if (dirtySide > 0) {
        const int64_t edge = std::max<int64_t>(int64_t{dirtySide} * zoom / 100, 1);
        written = std::min<int64_t>(written, edge * edge);
    }
    state.counters["layer_px/s"] = benchmark::Counter(
        static_cast<double>(written * layers), benchmark::Counter::kIsIterationInvariantRate);
    state.counters["dest"] = static_cast<double>(dw) * 10000 + dh;
}

// The brief cases: four layers of 1024 into the view of a 1024x768 client.
BENCHMARK(BM_CalcLayers)
    ->ArgNames({"layers", "side", "zoom", "cw", "ch", "dirty"})
    ->Args({4, 1024, 100, 1024, 768, 0})
    ->Args({4, 1024, 800, 1024, 768, 0})
    ->Args({4, 1024, 25, 1024, 768, 0})
    ->Args({4, 1024, 100, 1024, 768, 32})
    ->Args({4, 1024, 800, 1024, 768, 32})
    ->Args({4, 1024, 25, 1024, 768, 32})
    // Eight layers into a 1024x1024 view, the cases measured beside pixman.
    ->Args({8, 1024, 100, 1024, 1024, 0})
    ->Args({8, 1024, 800, 1024, 1024, 0})
    // One pen stamp of 9x9 on a 2048x2048 document.
    ->Args({8, 2048, 100, 1024, 768, 9})
    ->Unit(benchmark::kMicrosecond);

// ---- pixman, loaded at run time ----

struct PixmanApi {
    using Image = void;
    struct Transform {
        int32_t matrix[3][3];
    };
    Image* (*createBits)(uint32_t format, int w, int h, uint32_t* bits, int stride) = nullptr;
    void (*composite32)(int op, Image* src, Image* mask, Image* dst, int32_t sx, int32_t sy,
                        int32_t mx, int32_t my, int32_t dx, int32_t dy, int32_t w,
                        int32_t h) = nullptr;
    int (*unref)(Image*) = nullptr;
    int (*setTransform)(Image*, const Transform*) = nullptr;
    int (*setFilter)(Image*, int filter, const int32_t* params, int n) = nullptr;

    static constexpr uint32_t kA8R8G8B8 = 0x20028888;  // 32 bits, ARGB, 8 bits each
    static constexpr int kOpSrc = 1;
    static constexpr int kOpOver = 3;
    static constexpr int kFilterNearest = 3;

    bool Load() {
        void* lib = dlopen("libpixman-1.so.0", RTLD_NOW | RTLD_LOCAL);
        if (!lib) return false;
        createBits = reinterpret_cast<decltype(createBits)>(dlsym(lib, "pixman_image_create_bits"));
        composite32 =
            reinterpret_cast<decltype(composite32)>(dlsym(lib, "pixman_image_composite32"));
        unref = reinterpret_cast<decltype(unref)>(dlsym(lib, "pixman_image_unref"));
        setTransform =
            reinterpret_cast<decltype(setTransform)>(dlsym(lib, "pixman_image_set_transform"));
        setFilter = reinterpret_cast<decltype(setFilter)>(dlsym(lib, "pixman_image_set_filter"));
        return createBits && composite32 && unref && setTransform && setFilter;
    }
};

// args: layers, document side, zoom percent, destination side
void BM_PixmanOver(benchmark::State& state) {
    PixmanApi api;
    const PixmanApi* px = &api;
    if (!api.Load()) {
        state.SkipWithError("libpixman-1.so.0 not found");
        return;
    }
    const auto layers = static_cast<int32_t>(state.range(0));
    const auto side = static_cast<int32_t>(state.range(1));
    const auto zoom = static_cast<int32_t>(state.range(2));
    const auto destSide = static_cast<int32_t>(state.range(3));
    const Stack s = MakeStack(layers, side);

    // The same layers, premultiplied as pixman wants them.
    std::vector<std::vector<uint32_t>> premultiplied;
    std::vector<PixmanApi::Image*> images;
    for (const PixelBuffer& p : s.pixels) {
        std::vector<uint32_t> words(static_cast<size_t>(side) * side);
        auto b = p.Bytes();
        for (size_t i = 0; i < words.size(); ++i) {
            const uint32_t a = b[4 * i + 3];
            words[i] = (a << 24) | ((b[4 * i + 2] * a / 255) << 16) |
                       ((b[4 * i + 1] * a / 255) << 8) | (b[4 * i] * a / 255);
        }
        premultiplied.push_back(std::move(words));
    }
    for (size_t k = 0; k < premultiplied.size(); ++k) {
        PixmanApi::Image* img =
            px->createBits(PixmanApi::kA8R8G8B8, side, side, premultiplied[k].data(), side * 4);
        if (zoom != 100) {
            // Destination to source: scale by 100 / zoom, and move by the layer's offset.
            const int32_t scale = static_cast<int32_t>((int64_t{65536} * 100) / zoom);
            PixmanApi::Transform t{{{scale, 0, -s.refs[k].OffsetX * 65536},
                                    {0, scale, -s.refs[k].OffsetY * 65536},
                                    {0, 0, 65536}}};
            px->setTransform(img, &t);
            px->setFilter(img, PixmanApi::kFilterNearest, nullptr, 0);
        }
        images.push_back(img);
    }
    std::vector<uint32_t> bgWords(static_cast<size_t>(destSide) * destSide, 0xFFC8C8C8u);
    std::vector<uint32_t> destWords(bgWords.size());
    PixmanApi::Image* bg =
        px->createBits(PixmanApi::kA8R8G8B8, destSide, destSide, bgWords.data(), destSide * 4);
    PixmanApi::Image* dest =
        px->createBits(PixmanApi::kA8R8G8B8, destSide, destSide, destWords.data(), destSide * 4);
    for (auto _ : state) {
        px->composite32(PixmanApi::kOpSrc, bg, nullptr, dest, 0, 0, 0, 0, 0, 0, destSide, destSide);
        for (size_t k = 0; k < images.size(); ++k) {
            if (zoom == 100) {
                px->composite32(PixmanApi::kOpOver, images[k], nullptr, dest, 0, 0, 0, 0,
                                s.refs[k].OffsetX, s.refs[k].OffsetY, side, side);
            } else {
                px->composite32(PixmanApi::kOpOver, images[k], nullptr, dest, 0, 0, 0, 0, 0, 0,
                                destSide, destSide);
            }
        }
        benchmark::ClobberMemory();
    }
    for (auto* img : images)
        px->unref(img);
    px->unref(bg);
    px->unref(dest);
    state.counters["layer_px/s"] =
        benchmark::Counter(static_cast<double>(int64_t{destSide} * destSide * layers),
                           benchmark::Counter::kIsIterationInvariantRate);
}

BENCHMARK(BM_PixmanOver)
    ->ArgNames({"layers", "side", "zoom", "dest"})
    ->Args({8, 1024, 100, 1024})
    ->Args({8, 1024, 800, 1024})
    ->Unit(benchmark::kMicrosecond);

}  // namespace
