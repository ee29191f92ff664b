#include "tools/stamp.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

#include "core/arith.h"

namespace brv {

namespace {

uint8_t ToByte(double v) {
    // Only a colour or transparency outside its range, which only a hand-made action line
    // can carry, takes a result past a byte.
    if (!(v >= 0.0)) return 0;
    return static_cast<uint8_t>(std::min(v, 255.0));
}

// Lower limit first, then the upper one: a rectangle wholly outside lands on an edge.
int32_t ClampIntoSide(int64_t v, int32_t side) {
    v = std::max<int64_t>(v, 0);
    v = std::min<int64_t>(v, int64_t{side} - 1);
    return static_cast<int32_t>(v);
}

}  // namespace

int32_t AdjustTransparency(int32_t t, int32_t size) {
    const double sizePlusOne = static_cast<double>(size) + 1.0;
    // A size of -1 cannot come from the pen window; leave the value as it is.
    if (sizePlusOne == 0.0) return t;
    return RoundToInt(std::pow(t / 255.0, 2.0 / sizePlusOne) * 255.0);
}

void StampDisc(PixelBuffer& layer, int32_t x, int32_t y, int32_t size, int32_t color, double t,
               bool bErase, int32_t soft, bool bProtect) {
    if (size <= 0 || layer.Empty() || std::isnan(t)) return;
    const int64_t r = size / 2;
    const int64_t left = int64_t{x} - r;
    const int64_t top = int64_t{y} - r;
    const int64_t right = left + size - 1;
    const int64_t bottom = top + size - 1;
    // The footprint is centred on the disc's true middle, the cone on the pixel (x, y); for an
    // even size they lie half a pixel apart. Intended.
    const double cx = static_cast<double>(left + right) / 2.0 + 0.5;
    const double cy = static_cast<double>(top + bottom) / 2.0 + 0.5;
    const int64_t x0 = std::max<int64_t>(left, 0);
    const int64_t y0 = std::max<int64_t>(top, 0);
    const int64_t x1 = std::min<int64_t>(right, layer.Width() - 1);
    const int64_t y1 = std::min<int64_t>(bottom, layer.Height() - 1);
    if (x0 > x1 || y0 > y1) return;

    const double halfSize = size / 2.0;
    const double coneRadius = static_cast<double>(r) + 1.0;
    const int32_t red = color & 255;
    const int32_t green = (color & 65535) / 256;
    const int32_t blue = color / 65536;

    for (int64_t py = y0; py <= y1; ++py) {
        const double fy = static_cast<double>(py) + 0.5 - cy;
        const double ey = static_cast<double>(py - y);
        uint8_t* px = layer.PixelPtr(static_cast<int32_t>(x0), static_cast<int32_t>(py));
        for (int64_t qx = x0; qx <= x1; ++qx, px += 4) {
            const double fx = static_cast<double>(qx) + 0.5 - cx;
            if (!(std::sqrt(fx * fx + fy * fy) <= halfSize)) continue;
            double a = 255.0;
            if (soft != 0) {
                const double ex = static_cast<double>(qx - x);
                a = Round(255.0 - std::sqrt(ex * ex + ey * ey) / coneRadius * 255.0);
                if (a < 0.0) a = 0.0;
            }
            if (bErase) {
                const double e = Round(a * t / 255.0);
                px[3] = ToByte(px[3] - e);
                continue;
            }
            PaintCoverage(px, Round((255.0 - t) * a / 255.0), red, green, blue, bProtect);
        }
    }
}

RectI LineStampsRect(int32_t w, int32_t h, int32_t x0, int32_t y0, int32_t x1, int32_t y1,
                     int32_t size) {
    const int64_t r = size / 2;
    return {ClampIntoSide(int64_t{std::min(x0, x1)} - r - 1, w),
            ClampIntoSide(int64_t{std::min(y0, y1)} - r - 1, h),
            ClampIntoSide(int64_t{std::max(x0, x1)} + r + 1, w),
            ClampIntoSide(int64_t{std::max(y0, y1)} + r + 1, h)};
}

void DrawLineStamps(PixelBuffer& layer, int32_t x0, int32_t y0, int32_t x1, int32_t y1,
                    int32_t size, int32_t color, double transparency, RectI& retRect, bool bErase,
                    int32_t soft, int32_t skip, bool bProtect) {
    const int32_t w = layer.Width();
    const int32_t h = layer.Height();
    retRect = LineStampsRect(w, h, x0, y0, x1, y1, size);
    if (size <= 0) return;
    auto stamp = [&](int64_t px, int64_t py) {
        StampDisc(layer, SaturateToInt32(px), SaturateToInt32(py), size, color, transparency,
                  bErase, soft, bProtect);
    };
    // Discs whose footprint misses the picture along the walked axis change nothing; leave
    // them out so that a far-flung segment from an action line costs no more than the picture.
    const int64_t r = size / 2;
    const LineWalkLimits limits{r - size + 1, int64_t{w} - 1 + r, int64_t{h} - 1 + r};
    WalkLine(x0, y0, x1, y1, skip, limits, stamp);
}

RectI PatternRect(int32_t layerWidth, int32_t layerHeight, int32_t x, int32_t y, int32_t w,
                  int32_t h) {
    const int64_t ox = int64_t{x} - w / 2;
    const int64_t oy = int64_t{y} - h / 2;
    return {SaturateToInt32(std::max<int64_t>(ox, 0)), SaturateToInt32(std::max<int64_t>(oy, 0)),
            SaturateToInt32(std::min<int64_t>(ox + w - 1, int64_t{layerWidth} - 1)),
            SaturateToInt32(std::min<int64_t>(oy + h - 1, int64_t{layerHeight} - 1))};
}

void StampPattern(PixelBuffer& layer, int32_t x, int32_t y, const PixelBuffer& pattern,
                  int32_t opacity, double cosine, double sine, RectI& retRect) {
    const int32_t w = pattern.Width();
    const int32_t h = pattern.Height();
    const int32_t lw = layer.Width();
    const int32_t lh = layer.Height();
    retRect = PatternRect(lw, lh, x, y, w, h);
    const int64_t hw = w / 2;
    const int64_t hh = h / 2;
    const int64_t ox = int64_t{x} - hw;
    const int64_t oy = int64_t{y} - hh;
    const int64_t i0 = std::max<int64_t>(0, -ox), i1 = std::min<int64_t>(w, lw - ox);
    const int64_t j0 = std::max<int64_t>(0, -oy), j1 = std::min<int64_t>(h, lh - oy);
    for (int64_t j = j0; j < j1; ++j) {
        const double dy = static_cast<double>(j - hh);
        for (int64_t i = i0; i < i1; ++i) {
            const double dx = static_cast<double>(i - hw);
            // Nearest-neighbour lookup through the turned coordinates, with no filtering: a
            // corner pixel of the square may find nothing and stay as it is. Intended.
            const int64_t u = int64_t{RoundToInt(dy * sine + dx * cosine)} + hw;
            const int64_t v = int64_t{RoundToInt(dy * cosine - dx * sine)} + hh;
            if (u < 0 || u >= w || v < 0 || v >= h) continue;
            const uint8_t* src = pattern.PixelPtr(static_cast<int32_t>(u), static_cast<int32_t>(v));
            uint8_t* dst =
                layer.PixelPtr(static_cast<int32_t>(ox + i), static_cast<int32_t>(oy + j));
            const int64_t sa = (int64_t{src[3]} * opacity) / 255;
            const int64_t da = dst[3];
            const int64_t n = sa + da;
            if (n >= 1) {
                // Two quotients truncated apart: a full mix may come out up to 2 short. Intended.
                for (int c = 0; c < 3; ++c)
                    dst[c] = ToByte(static_cast<double>((src[c] * sa) / n + (dst[c] * da) / n));
            }
            // Stored even when nothing mixed (n = 0).
            dst[3] = ToByte(static_cast<double>(std::min<int64_t>(n, 255)));
        }
    }
}

}  // namespace brv
