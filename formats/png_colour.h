// Colour work of the PNG writer (choosing a depth, the 8-bit palette, the 24-bit key) and the
// checkerboard composition used to show PNG rows.
//
// The writer's pictures are in transit order: rows bottom-up, but with straight alpha
// (255 opaque), the way SavePNG takes them.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "core/pixel_buffer.h"

namespace brv {

// 8, 24 or 32: the smallest PNG kind that keeps the picture. Any alpha other than 0 and 255
// gives 32; more than 256 colours among the pixels with alpha (black always counted) give 24,
// or 32 when some pixel is transparent; otherwise 8. The last row of the buffer is not
// scanned, an intended quirk. Also the rule of the open and save commands.
int32_t GetBestColorBit(const PixelBuffer& BMPDATA);

struct PNGPalette {
    std::vector<Bgra> Entries;     // 2^ColorBit entries: 0 transparent, 1 white, 2 black
    std::vector<uint8_t> Indices;  // one a pixel, in the buffer's own order
};

// The 8-bit palette: pixels with alpha below 128 take entry 0, others their colour's entry,
// new colours appended after white and black. Once the last entry is in use the walk ends at
// the next opaque pixel and every pixel not yet reached stays 0; intended, so a picture with
// 253 or more colours besides black and white loses its later pixels to transparency.
// ColorBit 1..8.
PNGPalette MakePNGPalette(const PixelBuffer& BMPDATA, int32_t ColorBit);

// Prepares a working copy for the 24-bit writer: every pixel with alpha below 128 becomes
// black. Returns the transparent key, which is always 0 (black); intended, as is that opaque
// black pixels become transparent with it.
int32_t MakeTransparentKey(PixelBuffer& work);

// Rows of a picture split the way the reader converts them: 3 bytes a pixel (B, G, R) and one
// alpha byte a pixel (255 opaque), both top-down.
struct PNGRowPlanes {
    int32_t Width = 0;
    int32_t Height = 0;
    std::vector<uint8_t> RGBRows;    // Height rows of 3 * Width bytes
    std::vector<uint8_t> AlphaRows;  // Height rows of Width bytes
};
// Splits a top-down, straight-alpha picture.
PNGRowPlanes SplitPNGRows(const PixelBuffer& picture);

// Composes rows over a checkerboard of RectWidth-pixel cells for display: cell parity
// (x / RectWidth + y / RectWidth) mod 2 picks LightColor (even) or DarkColor (odd), colour
// words 0x00BBGGRR; each channel is src * a + (1 - a) * background, a = alpha / 255, rounded.
// Gives top-down rows of 3 * Width bytes, B, G, R, ready for a 24-bit device copy. Empty when
// the planes are too short for their size.
std::vector<uint8_t> OutPut(const PNGRowPlanes& rows, int32_t RectWidth, int32_t LightColor,
                            int32_t DarkColor);

}  // namespace brv
