// The retouch tools, which change what is already on a layer along a stroke segment:
// brightness, blur and sharpen, the finger and the alpha tool. Each takes plain numbers, works
// in the layer's own coordinates, clips to the picture and never fails.
//
//   RectI dirty;
//   BrightnessStroke(layer.Pixels, x, y, x0, y0, pen.PenParams(11, 4), pen.PenParams(11, 3),
//                    dirty);
//
// Brightness, blur and the alpha tool weigh their effect by a stroke mask: the segment drawn
// with soft discs into a scratch picture, whose alpha at a pixel is the local force.
#pragma once

#include <cstdint>

#include "core/pixel_buffer.h"
#include "core/settings.h"

namespace brv {

// The stroke mask of the segment (x, y) - (x0, y0): the segment's box grown by margin on all
// sides, cut to a layerWidth by layerHeight picture; Pixels' alpha is the force there.
struct StrokeMask {
    RectI Box;  // in the layer's coordinates, inclusive; Pixels covers exactly this
    PixelBuffer Pixels;
    bool Empty() const { return Pixels.Empty(); }
    uint8_t At(int32_t x, int32_t y) const { return Pixels.PixelPtr(x - Box.left, y - Box.top)[3]; }
};
StrokeMask MakeStrokeMask(int32_t layerWidth, int32_t layerHeight, int32_t x, int32_t y, int32_t x0,
                          int32_t y0, int32_t size, double transparency, int32_t margin);

// The margin of the brightness and blur masks, Round(size / 2 + 1), and of the alpha tool's,
// size div 2 + 1.
int32_t RetouchMargin(int32_t size);
int32_t AlphaToolMargin(int32_t size);
// The segment's box grown by margin, cut to the picture (inverted when nothing is inside).
RectI RetouchRect(int32_t layerWidth, int32_t layerHeight, int32_t x, int32_t y, int32_t x0,
                  int32_t y0, int32_t margin);
// What the finger can change: the box grown by size div 2 + 1, cut to the picture.
RectI FingerRect(int32_t layerWidth, int32_t layerHeight, int32_t x0, int32_t y0, int32_t x,
                 int32_t y, int32_t size);

// Brighter for a positive strength (black stays black), darker for a negative one (bright
// colours are hardly touched). Alpha never changes.
void BrightnessStroke(PixelBuffer& layer, int32_t x, int32_t y, int32_t x0, int32_t y0,
                      int32_t size, int32_t strength, RectI& retRect);

// Blur for a strength of 0 or more, sharpen below 0, over the 3 by 3 block of each pixel.
// bProtect keeps alpha.
void ScumbleStroke(PixelBuffer& layer, int32_t x, int32_t y, int32_t x0, int32_t y0, int32_t size,
                   int32_t strength, RectI& retRect, bool bProtect);

// Drags the size by size block around (x0, y0) along the segment to (x, y); strength 0 .. 64.
void FingerStroke(PixelBuffer& layer, int32_t x0, int32_t y0, int32_t x, int32_t y, int32_t size,
                  int32_t strength, RectI& retRect);

// Raises (strength above 0) or lowers alpha by the mask's force; with soft 0 alpha under the
// stroke becomes strength + 255 at once. Colours never change.
void AlphaStroke(PixelBuffer& layer, int32_t x, int32_t y, int32_t x0, int32_t y0, int32_t strength,
                 int32_t size, int32_t soft, RectI& retRect);

}  // namespace brv
