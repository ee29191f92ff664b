// Colour reduction by clustering (Dither) and the depth an image needs (UseColorBit).
//
//   std::vector<uint8_t> indices, palette;
//   int32_t r = Dither(picture, indices, palette, 15, [&](int32_t pos, int32_t total,
//                                                         int16_t& retCancel) {
//       if (UserPressedStop()) retCancel = -1;
//   });
//   // indices: Height rows of Width bytes; palette: 16 rows of blue, green, red, 0.
//
// Despite its name Dither diffuses no error: it tallies the colours, keeps the classes the
// tally favours and assigns every pixel once to the nearest class. The bitmap writer has its
// own reduction with error diffusion (formats/bmp_codec.h).
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "core/pixel_buffer.h"

namespace brv {

// Progress of a Dither run: position out of total (3 * Width). A callee that sets retCancel
// to -1 ends the run with kDitherCancelled.
using DitherProgress = std::function<void(int32_t position, int32_t total, int16_t& retCancel)>;

inline constexpr int32_t kDitherCancelled = -1;
// An index is one byte, so more than 256 classes can't be written.
inline constexpr int32_t kDitherTooManyColors = -2;

// Reduces srcDATA to ColorCount colours (below 2 counts as 2). srcDATA is changed in place:
// its blue, green and red are divided by the run's divisor (16 for up to 19 colours, else 1).
// On success dstDATA holds Height rows of Width class indices without padding and dstPLTE
// ColorCount + 1 rows of blue, green, red, 0, the last row unused. On failure dstDATA and
// dstPLTE are left as they were.
int32_t Dither(PixelBuffer& srcDATA, std::vector<uint8_t>& dstDATA, std::vector<uint8_t>& dstPLTE,
               int32_t ColorCount, const DitherProgress& progress = {});

// The depth an image needs: 0 (one colour), 1, 4, 8, or 32 for 256 colours and more or for
// any alpha other than 0 and 255. Only blue, green and red make a colour.
int32_t UseColorBit(const PixelBuffer& srcDATA);

// For each colour, the smallest squared distance to any other colour of the list, or 196608
// when there is none: the isolation measure that ranks colours from 201 classes on.
std::vector<int64_t> NearestColorDistances(std::span<const Bgra> colors);

}  // namespace brv
