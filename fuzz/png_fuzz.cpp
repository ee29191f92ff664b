// The PNG reader takes any bytes and ends in a code. What it reads, written again as RGBA
// and read back, gives the same picture.
#include <cstdint>
#include <cstdlib>
#include <span>
#include <vector>

#include "formats/png_codec.h"
#include "fuzz/fuzz_target.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    brv::PNGC png;
    png.MaxPixels = uint64_t{1} << 18;
    png.MaxDataBytes = uint64_t{1} << 22;
    brv::PixelBuffer picture;
    bool cancelled = false;
    const int32_t r =
        png.DecodePNG(std::span(data, size), picture, true, false, nullptr, cancelled);
    if (r > 0 || r < brv::kPNGBadInterlace) std::abort();
    if (r != brv::kPNGOk) return 0;

    std::vector<uint8_t> file;
    if (png.EncodePNG(picture, 32, 1, false, file) != brv::kPNGOk) std::abort();
    brv::PixelBuffer again;
    if (png.DecodePNG(file, again, true, false, nullptr, cancelled) != brv::kPNGOk) std::abort();
    if (!(again == picture)) std::abort();
    return 0;
}
