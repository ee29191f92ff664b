// The picture loader takes any bytes (JPEG, GIF, bitmaps, icons by their content) and answers
// with a code; what it accepts is a picture of a usable size, and the probe never crashes.
#include <cstdint>
#include <cstdlib>
#include <span>

#include "formats/picture_loader.h"
#include "fuzz/fuzz_target.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const brv::LoadPictureExClass loader(brv::PictureLimits{.MaxPixels = int64_t{1} << 20});
    const std::span<const uint8_t> bytes(data, size);
    brv::PixelBuffer picture;
    const int32_t r = loader.LoadPictureBytes(bytes, picture, -1);
    if (r != 0 && r != brv::kPictureFailed && r != brv::kPictureMetafileRefused) std::abort();
    if (r == 0 && (picture.Width() < 1 || picture.Height() < 1)) std::abort();
    loader.IsLoadableBytes("fuzz.jpg", bytes);
    return 0;
}
