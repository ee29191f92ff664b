// LoadPictureExClass: the platform's picture loader, for the files the program reads only this
// way (JPEG above all) and as the open command's last resort.
//
//   LoadPictureExClass loader;
//   if (loader.IsLoadable(fnm)) {                        // the sniffer's "lpec" branch
//       PixelBuffer pic;
//       if (loader.LoadPictureEx(fnm, pic, -1) < 0)      // 32 bits, alpha as the file has it
//           host.ShowMessage(LoadPictureExClass::GetError(-1));
//       FlipAndInvert(pic, true, true);                   // now a layer picture
//   }
//
// What "the platform" decodes: JPEG through libjpeg-turbo, GIF through giflib (the first frame
// on the logical screen), BMP through ALLBMPC and icons and cursors through IconC (their first
// image). Metafiles are recognised but not rendered: they are refused with the loader's
// message. The type is told by the content; the extension matters only to IsLoadable.
//
// A picture comes as the system handed it over: rows bottom-up, each padded to 4 bytes. At 32
// bits the fourth byte is a transparency, 0 for everything opaque: JPEG always, GIF but for
// its transparent index (255), icons and 32-bit bitmaps as their readers give it.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "core/pixel_buffer.h"

namespace brv {

// What the open command shows when this loader fails.
inline constexpr std::string_view kPictureUnreadable = "読みこめない画像です。";

inline constexpr int32_t kPictureFailed = -1;
// A metafile: recognised, never rendered.
inline constexpr int32_t kPictureMetafileRefused = -2;

struct PictureLimits {
    int64_t MaxPixels = int64_t{1} << 27;
};

// Rows as GetDIBits gives them: Height rows bottom-up of Stride() bytes at BitCount bits.
struct DibPicture {
    int32_t Width = 0;
    int32_t Height = 0;
    int32_t BitCount = 0;
    std::vector<uint8_t> Bytes;
    size_t Stride() const;
};

class LoadPictureExClass {
public:
    LoadPictureExClass() = default;
    explicit LoadPictureExClass(PictureLimits limits) : limits_(limits) {}

    // Decodes a file to ColorBit bits (16 as 5-5-5, 24 or 32; others fail). With 32 bits a
    // SetAlpha from 0 to 255 becomes every pixel's fourth byte. 0 or a negative code.
    int32_t LoadPictureEx(std::string_view Fnm, DibPicture& DestByte, int32_t ColorBit,
                          int32_t SetAlpha) const;
    // The 32-bit case as a picture in transit.
    int32_t LoadPictureEx(std::string_view Fnm, PixelBuffer& DestByte, int32_t SetAlpha) const;
    // The same on a file's bytes.
    int32_t LoadPictureBytes(std::span<const uint8_t> file, PixelBuffer& DestByte,
                             int32_t SetAlpha) const;

    // The extension (lower-cased, after the last dot of the name without its folders) is one
    // of bmp, jpg, gif, wmf, ico, cur, jpeg, jpe, and the content is a picture the loader
    // knows. Headers are checked, pixel data is not decoded.
    bool IsLoadable(std::string_view Fnm) const;
    bool IsLoadableBytes(std::string_view Fnm, std::span<const uint8_t> file) const;

    // The user's text for any negative code.
    static std::string_view GetError(int32_t ErrorNo);

private:
    PictureLimits limits_;
};

}  // namespace brv
