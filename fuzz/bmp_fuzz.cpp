// The bitmap reader takes any bytes and answers with a code; a picture it accepts has the
// header's size, and writing it back and reading that again gives the same colours.
#include <cstdint>
#include <cstdlib>
#include <span>

#include "formats/bmp_codec.h"
#include "fuzz/fuzz_target.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const brv::ALLBMPC reader(brv::BmpLimits{.MaxPixels = int64_t{1} << 20});
    brv::PixelBuffer picture;
    brv::BitmapInfoHeader bmi;
    const int32_t r = reader.GetBMPBytes(std::span(data, size), picture, &bmi, false);
    if (r != 0 && r != brv::kBmpErrRead && r != brv::kBmpErrUnsupported) std::abort();
    if (r != 0) return 0;
    if (picture.Width() != bmi.biWidth || picture.Height() != bmi.biHeight) std::abort();

    brv::PixelBuffer again;
    const auto file = brv::ALLBMPC::EncodeBMP16to32(picture, 24);
    if (reader.GetBMPBytes(file, again, nullptr, false) != 0) std::abort();
    for (size_t i = 0; i < picture.ByteSize(); ++i)
        if (i % 4 != 3 && again.Bytes()[i] != picture.Bytes()[i]) std::abort();
    return 0;
}
