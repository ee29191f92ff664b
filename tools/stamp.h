// The stamps every stroke tool is made of: a round soft-edged disc, a line of discs, and the
// picture stamp of the graphic pen. Each kernel writes straight into a layer's pixels, clips
// to the picture, and never fails.
//
//   RectI dirty;
//   DrawLineStamps(layer.Pixels, 21, 15, 18, 14, 5, 0x0000FF, AdjustTransparency(0, 5), dirty,
//                  false, 1, 5, false);   // from (18,14) up to, but not including, (21,15)
//
// Coordinates are the layer's own (its (0,0) is its top-left pixel); the rectangles returned
// are inclusive and in the same coordinates.
#pragma once

#include <cstdint>

#include "core/pixel_buffer.h"
#include "core/settings.h"

namespace brv {

// Round((t / 255) ^ (2 / (size + 1)) * 255): the transparency a stamp of this size is laid
// with, so that overlapping stamps of a stroke add up to roughly the chosen transparency.
// 0 and 255 stay as they are; a size of 1 gives t itself.
int32_t AdjustTransparency(int32_t t, int32_t size);

// One disc of `size` pixels centred on (x, y). While painting, t is the transparency of the
// colour 0x00BBGGRR; while erasing (bErase) it is the strength that is taken from alpha. soft
// not 0 gives the cone of opacity that falls to 0 one pixel past the radius. bProtect keeps
// alpha while painting.
void StampDisc(PixelBuffer& layer, int32_t x, int32_t y, int32_t size, int32_t color, double t,
               bool bErase, int32_t soft, bool bProtect);

// The rectangle DrawLineStamps reports for a segment, clipped to a w by h picture: the ends'
// box grown by size div 2 + 1 on each side, each edge clamped into the picture.
RectI LineStampsRect(int32_t w, int32_t h, int32_t x0, int32_t y0, int32_t x1, int32_t y1,
                     int32_t size);

// Discs along the segment from (x0, y0) to (x1, y1), one for each step of the longer axis.
// With skip at least 1 the end given first, (x0, y0), gets no disc: a stroke lays each segment
// from its old point up to the new one and gives the new point first.
void DrawLineStamps(PixelBuffer& layer, int32_t x0, int32_t y0, int32_t x1, int32_t y1,
                    int32_t size, int32_t color, double transparency, RectI& retRect, bool bErase,
                    int32_t soft, int32_t skip, bool bProtect);

// The rectangle StampPattern reports for a w by h pattern centred on (x, y) in a picture of
// layerWidth by layerHeight. It is not clamped on the far side of a pattern lying wholly
// outside, so it may be inverted; an inverted rectangle holds no pixel.
RectI PatternRect(int32_t layerWidth, int32_t layerHeight, int32_t x, int32_t y, int32_t w,
                  int32_t h);

// One stamp of a graphic-pen picture centred on (x, y), its coordinates turned by the
// direction (cosine, sine) and looked up nearest-neighbour. opacity is 255 for the pattern's
// own alpha. No soft edge and no protection of alpha.
void StampPattern(PixelBuffer& layer, int32_t x, int32_t y, const PixelBuffer& pattern,
                  int32_t opacity, double cosine, double sine, RectI& retRect);

}  // namespace brv
