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

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <utility>

#include "core/arith.h"
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

// A wide intermediate back to 32 bits, saturating: only a hand-made action line's numbers reach
// the limits.
inline int32_t SaturateToInt32(int64_t v) {
    return static_cast<int32_t>(Clamp<int64_t>(v, INT32_MIN, INT32_MAX));
}

// Lays a coverage sa over one pixel (px[0] blue .. px[3] alpha) in the colour (red, green,
// blue): the colour is composed over the old one, while alpha simply adds the new coverage to the
// old alpha, so a half-covered pixel grows opaque faster than the colour mix suggests. Intended.
// bProtect keeps alpha.
inline void PaintCoverage(uint8_t* px, double sa, int32_t red, int32_t green, int32_t blue,
                          bool bProtect) {
    auto toByte = [](double v) -> uint8_t {
        // Only a colour or opacity outside its range (a hand-made action line) leaves a byte.
        if (!(v >= 0.0)) return 0;
        return static_cast<uint8_t>(std::min(v, 255.0));
    };
    const double alpha = px[3];
    const double da = Round(alpha * (1.0 - sa / 255.0));
    const double n = da + sa;
    if (n < 1.0) return;
    px[0] = toByte(Round((sa / n) * blue + (da / n) * px[0]));
    px[1] = toByte(Round((sa / n) * green + (da / n) * px[1]));
    px[2] = toByte(Round((sa / n) * red + (da / n) * px[2]));
    if (!bProtect) px[3] = toByte(std::min(255.0, alpha + sa));
}

// Where a line walk may stop early: along the walked axis only positions in low .. highX (when
// x is walked) or low .. highY are visited. Anything outside lies wholly off the picture.
struct LineWalkLimits {
    int64_t low = INT32_MIN;
    int64_t highX = INT32_MAX;
    int64_t highY = INT32_MAX;
};

// The points of a segment in the order DrawLineStamps lays them: one step of the longer axis
// (x on a tie) at a time, ascending, the other coordinate rounded. With skip at least 1 the end
// given first is left out. visit(int64_t x, int64_t y).
template <class Visit>
void WalkLine(int32_t x0, int32_t y0, int32_t x1, int32_t y1, int32_t skip,
              const LineWalkLimits& limits, Visit&& visit) {
    if (x0 == x1 && y0 == y1) {
        visit(int64_t{x0}, int64_t{y0});
        return;
    }
    const bool alongX = std::llabs(int64_t{x1} - x0) >= std::llabs(int64_t{y1} - y0);
    int64_t a0 = alongX ? x0 : y0, b0 = alongX ? y0 : x0;
    int64_t a1 = alongX ? x1 : y1, b1 = alongX ? y1 : x1;
    const int64_t dropped = skip >= 1 ? 1 : 0;
    int64_t first = a0 + dropped;
    int64_t last = a1;
    // After a swap the end given first is the last step, otherwise the first.
    if (a0 > a1) {
        std::swap(a0, a1);
        std::swap(b0, b1);
        first = a0;
        last = a1 - dropped;
    }
    first = std::max(first, limits.low);
    last = std::min(last, alongX ? limits.highX : limits.highY);
    const double span = static_cast<double>(a1 - a0);
    const double rise = static_cast<double>(b1 - b0);
    for (int64_t a = first; a <= last; ++a) {
        const int64_t b =
            RoundToInt(static_cast<double>(a - a0) / span * rise + static_cast<double>(b0));
        if (alongX)
            visit(a, b);
        else
            visit(b, a);
    }
}

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
