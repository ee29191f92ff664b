// The shape kernels: the rectangle's outline in rings, the ellipse as a scaled midpoint walk of
// soft discs, and the colour pick through the visible layers. Lines are DrawLineStamps.
//
//   RectI dirty;
//   DrawRectangle(layer.Pixels, 2, 2, 12, 8, 3, 0x0000FF, 255 - pen.PenTransparency, dirty, 1,
//                 pen.PenFlag != 0);
#pragma once

#include <cstdint>
#include <optional>

#include "core/document.h"
#include "core/pixel_buffer.h"
#include "core/settings.h"

namespace brv {

// An outline of thickness size between the two corners, ring by ring; with soft each ring's
// opacity falls with its distance from the line. retRect is not cut to the picture.
void DrawRectangle(PixelBuffer& layer, int32_t x0, int32_t y0, int32_t x1, int32_t y1, int32_t size,
                   int32_t color, int32_t opacity, RectI& retRect, int32_t soft, bool bProtect);

// The ellipse in the box of the two corners, as discs of the pen along a midpoint circle that
// is scaled to the box. Equal corners draw nothing.
void DrawEllipse(PixelBuffer& layer, int32_t x0, int32_t y0, int32_t x1, int32_t y1, int32_t size,
                 int32_t color, int32_t transparency, int32_t soft, bool bProtect);

// What DrawEllipse can touch, for the refresh: the box grown by the discs' reach.
RectI EllipseRect(int32_t x0, int32_t y0, int32_t x1, int32_t y1, int32_t size);

// The colour seen at document point (x, y) through the visible layers, top to bottom, each at
// its offset. nullopt when the point lies outside a visible layer or the document is empty.
std::optional<Bgra> PickColorAt(const DocumentRecord& doc, int32_t x, int32_t y);

}  // namespace brv
