#include "tools/shapes.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

#include "core/arith.h"
#include "tools/stamp.h"

namespace brv {

namespace {}  // namespace

void DrawRectangle(PixelBuffer& layer, int32_t x0, int32_t y0, int32_t x1, int32_t y1, int32_t size,
                   int32_t color, int32_t opacity, RectI& retRect, int32_t soft, bool bProtect) {
    const int64_t lo = -int64_t{size} / 2;
    const int64_t hi = lo + size - 1;
    const double radius = static_cast<double>(std::max(std::llabs(lo), std::llabs(hi)) + 1);
    const int64_t left = std::min(x0, x1), right = std::max(x0, x1);
    const int64_t top = std::min(y0, y1), bottom = std::max(y0, y1);
    retRect = {SaturateToInt32(left + lo), SaturateToInt32(top + lo), SaturateToInt32(right + hi),
               SaturateToInt32(bottom + hi)};
    const int32_t red = color & 255;
    const int32_t green = (color & 65535) / 256;
    const int32_t blue = color / 65536;
    const int64_t w = layer.Width();
    const int64_t h = layer.Height();
    auto paint = [&](int64_t x, int64_t y, double sa) {
        if (x < 0 || y < 0 || x >= w || y >= h) return;
        PaintCoverage(layer.PixelPtr(static_cast<int32_t>(x), static_cast<int32_t>(y)), sa, red,
                      green, blue, bProtect);
    };
    for (int64_t k = lo; k <= hi; ++k) {
        double sa = opacity;
        if (soft != 0) sa = Round(opacity * (1.0 - static_cast<double>(std::llabs(k)) / radius));
        // Rows and columns are cut to the picture; the coinciding sides of a flat rectangle are
        // still painted twice, as the ring walks them.
        const int64_t xa = std::max<int64_t>(left + k, -1), xb = std::min<int64_t>(right - k, w);
        for (int64_t x = xa; x <= xb; ++x) {
            paint(x, top + k, sa);
            paint(x, bottom - k, sa);
        }
        const int64_t ya = std::max<int64_t>(top + k + 1, -1);
        const int64_t yb = std::min<int64_t>(bottom - k - 1, h);
        for (int64_t y = ya; y <= yb; ++y) {
            paint(left + k, y, sa);
            paint(right - k, y, sa);
        }
    }
}

void DrawEllipse(PixelBuffer& layer, int32_t x0, int32_t y0, int32_t x1, int32_t y1, int32_t size,
                 int32_t color, int32_t transparency, int32_t soft, bool bProtect) {
    if (x0 == x1 && y0 == y1) return;
    const int64_t left = std::min(x0, x1), right = std::max(x0, x1);
    const int64_t top = std::min(y0, y1), bottom = std::max(y0, y1);
    const int64_t cx = (left + right) / 2;
    const int64_t cy = (top + bottom) / 2;
    const int64_t dx = right - left;
    const int64_t dy = bottom - top;
    int64_t r;
    double sx, sy;
    if (dx <= dy) {
        r = dy / 2;
        sx = static_cast<double>(dx) / static_cast<double>(dy);
        sy = 1.0;
    } else {
        r = dx / 2;
        sx = 1.0;
        sy = static_cast<double>(dy) / static_cast<double>(dx);
    }
    const double t = AdjustTransparency(transparency, size);
    auto stamp = [&](double x, double y) {
        StampDisc(layer, RoundToInt(x), RoundToInt(y), size, color, t, false, soft, bProtect);
    };
    int64_t a = r, b = 0;
    int64_t d1 = -2 * r + 3, d2 = -4 * r + 3;
    // Large pens stop short of a = 0 and leave the discs to cover the ends. Intended.
    const double stop = size / 10.0 - 1.0;
    // Walks that lie wholly off the picture draw nothing; they are skipped.
    const int64_t reach = std::llabs(int64_t{size}) + 1;
    const bool visible = cx + r + reach >= 0 && cy + r + reach >= 0 &&
                         cx - r - reach < layer.Width() && cy - r - reach < layer.Height();
    while (visible && static_cast<double>(a) > stop) {
        const double ax = static_cast<double>(a) * sx, by = static_cast<double>(b) * sy;
        stamp(static_cast<double>(cx) + ax, static_cast<double>(cy) + by);
        stamp(static_cast<double>(cx) - ax, static_cast<double>(cy) + by);
        stamp(static_cast<double>(cx) + ax, static_cast<double>(cy) - by);
        stamp(static_cast<double>(cx) - ax, static_cast<double>(cy) - by);
        if (d1 >= 0 && d2 < 0) {
            --a;
            ++b;
            d1 += 4 * b - 4 * a + 2;
            d2 += 4 * b - 4 * a + 2;
        } else if (d1 >= 0) {
            --a;
            d1 -= 4 * a;
            d2 += -4 * a + 2;
        } else {
            ++b;
            d1 += 4 * b + 2;
            d2 += 4 * b;
        }
    }
}

RectI EllipseRect(int32_t x0, int32_t y0, int32_t x1, int32_t y1, int32_t size) {
    const int64_t reach = std::llabs(int64_t{size}) / 2 + 1;
    return {SaturateToInt32(int64_t{std::min(x0, x1)} - reach),
            SaturateToInt32(int64_t{std::min(y0, y1)} - reach),
            SaturateToInt32(int64_t{std::max(x0, x1)} + reach),
            SaturateToInt32(int64_t{std::max(y0, y1)} + reach)};
}

std::optional<Bgra> PickColorAt(const DocumentRecord& doc, int32_t x, int32_t y) {
    if (doc.Width <= 0 || doc.Height <= 0) return std::nullopt;
    int64_t c[4] = {0, 0, 0, 0};
    for (int32_t lid = doc.LayerCount(); lid >= 1; --lid) {
        const LayerRecord& layer = doc.Layers[static_cast<size_t>(lid)];
        if (layer.Visible == 0) continue;
        const int64_t lx = int64_t{x} - layer.OffsetX;
        const int64_t ly = int64_t{y} - layer.OffsetY;
        if (lx < 0 || ly < 0 || lx >= layer.Pixels.Width() || ly >= layer.Pixels.Height())
            return std::nullopt;
        const uint8_t* p =
            layer.Pixels.PixelPtr(static_cast<int32_t>(lx), static_cast<int32_t>(ly));
        int64_t sa = p[3];
        const int64_t da = c[3];
        int64_t n = sa + da;
        if (n > 255) {
            sa = 255 - da;
            n = 255;
        }
        if (n == 0) continue;
        // The two parts are truncated separately.
        for (int i = 0; i < 3; ++i)
            c[i] = (c[i] * da) / n + (p[i] * sa) / n;
        c[3] = n;
    }
    return Bgra{static_cast<uint8_t>(c[0]), static_cast<uint8_t>(c[1]), static_cast<uint8_t>(c[2]),
                static_cast<uint8_t>(c[3])};
}

}  // namespace brv
