// The fill tool's kernel: a scan-line flood fill from a seed that lays a tiled pattern over
// every pixel connected to the seed (left, right, up, down) that matches the seed's colour.
//
//   PixelBuffer tile(1, 1);
//   tile.Set(0, 0, ColorWordToBgra(pen.PenColor));
//   FloodFill(layer.Pixels, x, y, tile, 255 - pen.PenParams(5, 2), pen.PenParams(5, 1), 0);
//
// Matching is tested against the layer as it was before the fill, so the painted pixels never
// change what matches. The pattern is tiled from the layer's (0, 0), not from the seed.
#pragma once

#include <cstdint>

#include "core/pixel_buffer.h"

namespace brv {

// Whether a pixel (b, g, r, a) matches the seed within the tolerance. The colour difference is
// scaled by the average alpha of the two, so two invisible pixels match whatever their colours.
bool FillMatches(const uint8_t* pixel, const uint8_t* seed, int32_t tolerance);

// One pixel of the fill: the pattern's pixel laid over the layer's with the coverage
// (pattern alpha * (255 - blend)) div 255. A blend outside 0 .. 255 only moves alpha by that
// amount and keeps the colours. Both are four bytes, blue first.
void FillPaintPixel(uint8_t* pixel, const uint8_t* pattern, int32_t blend);

// Fills from (x, y); a point outside the layer, or an empty pattern, does nothing. unused is
// carried for the callers' sake and means nothing.
void FloodFill(PixelBuffer& layer, int32_t x, int32_t y, const PixelBuffer& pattern, int32_t blend,
               int32_t tolerance, int32_t unused);

}  // namespace brv
