// PNG decode and encode: a 256x256 icon with soft edges and a 1024x1024 opaque picture, through
// PNGC and, for comparison, libpng and libspng at the same zlib level. The reference libraries
// are loaded at run time when present, so the benchmark builds without them.
#include <benchmark/benchmark.h>
#include <dlfcn.h>
#include <png.h>
#include <spng.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "core/file_io.h"
#include "formats/png_codec.h"

namespace {

using brv::PixelBuffer;

// An icon: a shaded disc with an anti-aliased rim on a transparent ground.
PixelBuffer Icon() {
    PixelBuffer p(256, 256);
    for (int32_t y = 0; y < 256; ++y)
        for (int32_t x = 0; x < 256; ++x) {
            const double d = std::hypot(x - 127.5, y - 127.5);
            const double cover = std::clamp(110.0 - d, 0.0, 1.0);
            uint8_t* px = p.PixelPtr(x, y);
            px[0] = static_cast<uint8_t>(40 + x / 2);
            px[1] = static_cast<uint8_t>(200 - y / 2);
            px[2] = static_cast<uint8_t>(90 + (x + y) / 4);
            px[3] = static_cast<uint8_t>(std::lround(cover * 255));
        }
    return p;
}

// A photograph stand-in: smooth gradients, waves and a little deterministic grain.
PixelBuffer Picture() {
    PixelBuffer p(1024, 1024);
    uint32_t seed = 12345;
    for (int32_t y = 0; y < 1024; ++y)
        for (int32_t x = 0; x < 1024; ++x) {
            seed = seed * 1664525u + 1013904223u;
            const int grain = static_cast<int>(seed >> 29) - 4;
            const double wave = 40 * std::sin(x / 37.0) * std::cos(y / 53.0);
            uint8_t* px = p.PixelPtr(x, y);
            px[0] = static_cast<uint8_t>(std::clamp(x / 5 + wave + grain, 0.0, 255.0));
            px[1] = static_cast<uint8_t>(std::clamp(y / 5 + wave / 2 + grain, 0.0, 255.0));
            px[2] = static_cast<uint8_t>(std::clamp((x + y) / 9 - wave + grain, 0.0, 255.0));
            px[3] = 255;
        }
    return p;
}

const PixelBuffer& Source(int64_t which) {
    static const PixelBuffer icon = Icon();
    static const PixelBuffer picture = Picture();
    return which == 0 ? icon : picture;
}

// The test files: our own RGBA output with FilterNo 4.
const std::vector<uint8_t>& File(int64_t which) {
    static std::vector<uint8_t> files[2];
    if (files[which].empty()) {
        brv::PNGC png;
        png.EncodePNG(Source(which), 32, 4, false, files[which]);
    }
    return files[which];
}

void Label(benchmark::State& state, int64_t which) {
    state.SetLabel(which == 0 ? "icon 256x256" : "picture 1024x1024");
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(Source(which).ByteSize()));
}

void BM_PNGCDecode(benchmark::State& state) {
    brv::PNGC png;
    const auto& file = File(state.range(0));
    for (auto _ : state) {
        PixelBuffer out;
        bool cancelled = false;
        png.DecodePNG(file, out, true, true, nullptr, cancelled);
        benchmark::DoNotOptimize(out.Bytes().data());
    }
    Label(state, state.range(0));
}
BENCHMARK(BM_PNGCDecode)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

// range(1): FilterNo. 6 goes through the temporary folder like the program's slowest choice.
void BM_PNGCEncode(benchmark::State& state) {
    brv::PNGC png;
    const PixelBuffer& src = Source(state.range(0));
    const auto filter = static_cast<int32_t>(state.range(1));
    const std::string dir =
        (std::filesystem::temp_directory_path() / "brv-png-bench").string() + "/";
    brv::MakeDirectories(dir);
    size_t size = 0;
    for (auto _ : state) {
        int32_t bits = 32;
        if (filter == 6) {
            png.SavePNG(dir + "out.png", src, bits, 6, nullptr, false, dir);
        } else {
            std::vector<uint8_t> file;
            png.EncodePNG(src, bits, filter, false, file);
            size = file.size();
            benchmark::DoNotOptimize(file.data());
        }
    }
    if (filter == 6) size = brv::FileSize(dir + "out.png").value_or(0);
    state.counters["bytes"] = static_cast<double>(size);
    Label(state, state.range(0));
}
BENCHMARK(BM_PNGCEncode)->ArgsProduct({{0, 1}, {0, 4, 5, 6}})->Unit(benchmark::kMillisecond);

// libpng and libspng, looked up at run time.
template <class F>
F* Symbol(void* lib, const char* name) {
    return lib ? reinterpret_cast<F*>(dlsym(lib, name)) : nullptr;
}

void* Libpng() {
    static void* lib = dlopen("libpng16.so.16", RTLD_NOW);
    return lib;
}

void* Libspng() {
    static void* lib = dlopen("libspng.so.0", RTLD_NOW);
    return lib;
}

void BM_LibpngDecode(benchmark::State& state) {
    auto begin = Symbol<decltype(png_image_begin_read_from_memory)>(
        Libpng(), "png_image_begin_read_from_memory");
    auto finish = Symbol<decltype(png_image_finish_read)>(Libpng(), "png_image_finish_read");
    auto release = Symbol<decltype(png_image_free)>(Libpng(), "png_image_free");
    if (!begin || !finish || !release) {
        state.SkipWithError("libpng16 not found");
        return;
    }
    const auto& file = File(state.range(0));
    std::vector<uint8_t> out(Source(state.range(0)).ByteSize());
    for (auto _ : state) {
        png_image image;
        std::memset(&image, 0, sizeof image);
        image.version = PNG_IMAGE_VERSION;
        begin(&image, file.data(), file.size());
        image.format = PNG_FORMAT_BGRA;
        finish(&image, nullptr, out.data(), 0, nullptr);
        release(&image);
        benchmark::DoNotOptimize(out.data());
    }
    Label(state, state.range(0));
}
BENCHMARK(BM_LibpngDecode)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

void BM_SpngDecode(benchmark::State& state) {
    auto ctxNew = Symbol<decltype(spng_ctx_new)>(Libspng(), "spng_ctx_new");
    auto setBuffer = Symbol<decltype(spng_set_png_buffer)>(Libspng(), "spng_set_png_buffer");
    auto decode = Symbol<decltype(spng_decode_image)>(Libspng(), "spng_decode_image");
    auto ctxFree = Symbol<decltype(spng_ctx_free)>(Libspng(), "spng_ctx_free");
    if (!ctxNew || !setBuffer || !decode || !ctxFree) {
        state.SkipWithError("libspng not found");
        return;
    }
    const auto& file = File(state.range(0));
    std::vector<uint8_t> out(Source(state.range(0)).ByteSize());
    for (auto _ : state) {
        spng_ctx* ctx = ctxNew(0);
        setBuffer(ctx, file.data(), file.size());
        decode(ctx, out.data(), out.size(), SPNG_FMT_RGBA8, 0);
        ctxFree(ctx);
        benchmark::DoNotOptimize(out.data());
    }
    Label(state, state.range(0));
}
BENCHMARK(BM_SpngDecode)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

struct MemorySink {
    std::vector<uint8_t> bytes;
};

void SinkWrite(png_structp png, png_bytep data, size_t length) {
    static auto ioPtr = Symbol<decltype(png_get_io_ptr)>(Libpng(), "png_get_io_ptr");
    auto* sink = static_cast<MemorySink*>(ioPtr(png));
    sink->bytes.insert(sink->bytes.end(), data, data + length);
}

void SinkFlush(png_structp) {}

// RGBA with the Paeth filter on every row at zlib's default level, like FilterNo 4.
void BM_LibpngEncodePaeth(benchmark::State& state) {
    void* lib = Libpng();
    auto create = Symbol<decltype(png_create_write_struct)>(lib, "png_create_write_struct");
    auto createInfo = Symbol<decltype(png_create_info_struct)>(lib, "png_create_info_struct");
    auto setWrite = Symbol<decltype(png_set_write_fn)>(lib, "png_set_write_fn");
    auto setIHDR = Symbol<decltype(png_set_IHDR)>(lib, "png_set_IHDR");
    auto setFilter = Symbol<decltype(png_set_filter)>(lib, "png_set_filter");
    auto setLevel = Symbol<decltype(png_set_compression_level)>(lib, "png_set_compression_level");
    auto setBgr = Symbol<decltype(png_set_bgr)>(lib, "png_set_bgr");
    auto writeInfo = Symbol<decltype(png_write_info)>(lib, "png_write_info");
    auto writeRow = Symbol<decltype(png_write_row)>(lib, "png_write_row");
    auto writeEnd = Symbol<decltype(png_write_end)>(lib, "png_write_end");
    auto destroy = Symbol<decltype(png_destroy_write_struct)>(lib, "png_destroy_write_struct");
    if (!create || !createInfo || !setWrite || !setIHDR || !setFilter || !setLevel || !setBgr ||
        !writeInfo || !writeRow || !writeEnd || !destroy) {
        state.SkipWithError("libpng16 not found");
        return;
    }
    const PixelBuffer& src = Source(state.range(0));
    size_t size = 0;
    for (auto _ : state) {
        MemorySink sink;
        png_structp png = create(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
        png_infop info = createInfo(png);
        setWrite(png, &sink, SinkWrite, SinkFlush);
        setIHDR(png, info, static_cast<png_uint_32>(src.Width()),
                static_cast<png_uint_32>(src.Height()), 8, PNG_COLOR_TYPE_RGB_ALPHA,
                PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
        setFilter(png, PNG_FILTER_TYPE_BASE, PNG_FILTER_PAETH);
        setLevel(png, 6);
        writeInfo(png, info);
        setBgr(png);
        for (int32_t y = src.Height() - 1; y >= 0; --y)
            writeRow(png, src.Row(y));
        writeEnd(png, info);
        destroy(&png, &info);
        size = sink.bytes.size();
        benchmark::DoNotOptimize(sink.bytes.data());
    }
    state.counters["bytes"] = static_cast<double>(size);
    Label(state, state.range(0));
}
BENCHMARK(BM_LibpngEncodePaeth)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

}  // namespace
