#include "tools/retouch.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <vector>

#include "core/arith.h"
#include "tools/stamp.h"

namespace brv {

namespace {

// |v| of a value that may come from a hand-made action line.
int32_t Magnitude(int32_t v) {
    return SaturateToInt32(std::llabs(int64_t{v}));
}

uint8_t ClampByte(int64_t v) {
    return static_cast<uint8_t>(Clamp<int64_t>(v, 0, 255));
}

bool IsEmpty(const RectI& r) {
    return r.left > r.right || r.top > r.bottom;
}

RectI GrownBox(int32_t w, int32_t h, int64_t ax, int64_t ay, int64_t bx, int64_t by,
               int64_t lowGrow, int64_t highGrow) {
    return {SaturateToInt32(std::max<int64_t>(std::min(ax, bx) - lowGrow, 0)),
            SaturateToInt32(std::max<int64_t>(std::min(ay, by) - lowGrow, 0)),
            SaturateToInt32(std::min<int64_t>(std::max(ax, bx) + highGrow, int64_t{w} - 1)),
            SaturateToInt32(std::min<int64_t>(std::max(ay, by) + highGrow, int64_t{h} - 1))};
}

// A copy of the layer's pixels in a rectangle (inside the layer), read by layer coordinates.
class Snapshot {
public:
    Snapshot(const PixelBuffer& layer, const RectI& r)
        : left_(r.left), top_(r.top), pixels_(r.right - r.left + 1, r.bottom - r.top + 1) {
        for (int32_t y = r.top; y <= r.bottom; ++y)
            std::copy_n(layer.PixelPtr(r.left, y), pixels_.Stride(), pixels_.Row(y - r.top));
    }
    const uint8_t* At(int32_t x, int32_t y) const { return pixels_.PixelPtr(x - left_, y - top_); }

private:
    int32_t left_, top_;
    PixelBuffer pixels_;
};

}  // namespace

int32_t RetouchMargin(int32_t size) {
    return RoundToInt(size / 2.0 + 1.0);
}

int32_t AlphaToolMargin(int32_t size) {
    return size / 2 + 1;
}

RectI RetouchRect(int32_t layerWidth, int32_t layerHeight, int32_t x, int32_t y, int32_t x0,
                  int32_t y0, int32_t margin) {
    return GrownBox(layerWidth, layerHeight, x, y, x0, y0, margin, margin);
}

RectI FingerRect(int32_t layerWidth, int32_t layerHeight, int32_t x0, int32_t y0, int32_t x,
                 int32_t y, int32_t size) {
    const int64_t grow = int64_t{size / 2} + 1;
    return GrownBox(layerWidth, layerHeight, x0, y0, x, y, grow, grow);
}

StrokeMask MakeStrokeMask(int32_t layerWidth, int32_t layerHeight, int32_t x, int32_t y, int32_t x0,
                          int32_t y0, int32_t size, double transparency, int32_t margin) {
    StrokeMask mask;
    // The ends are sorted for the box only; the segment is drawn as given.
    mask.Box = RetouchRect(layerWidth, layerHeight, x, y, x0, y0, margin);
    if (IsEmpty(mask.Box)) return mask;
    mask.Pixels =
        PixelBuffer(mask.Box.right - mask.Box.left + 1, mask.Box.bottom - mask.Box.top + 1);
    auto rel = [](int32_t v, int32_t origin) { return SaturateToInt32(int64_t{v} - origin); };
    RectI unused;
    DrawLineStamps(mask.Pixels, rel(x, mask.Box.left), rel(y, mask.Box.top), rel(x0, mask.Box.left),
                   rel(y0, mask.Box.top), size, 255, transparency, unused, false, 1, 0, false);
    return mask;
}

void BrightnessStroke(PixelBuffer& layer, int32_t x, int32_t y, int32_t x0, int32_t y0,
                      int32_t size, int32_t strength, RectI& retRect) {
    const int32_t s = Magnitude(strength);
    const StrokeMask mask = MakeStrokeMask(layer.Width(), layer.Height(), x, y, x0, y0, size,
                                           255 - AdjustTransparency(s, size), RetouchMargin(size));
    retRect = mask.Box;
    if (mask.Empty()) return;
    const double sd = s;
    for (int32_t py = mask.Box.top; py <= mask.Box.bottom; ++py) {
        for (int32_t px = mask.Box.left; px <= mask.Box.right; ++px) {
            const int32_t m = mask.At(px, py);
            // No force, no change under either formula.
            if (m == 0) continue;
            uint8_t* p = layer.PixelPtr(px, py);
            if (strength < 0) {
                const double e = m * ((sd + 255.0) / 512.0 * (sd / 255.0)) / 4.0;
                for (int c = 0; c < 3; ++c)
                    p[c] = ClampByte(static_cast<int64_t>(Int(p[c] - (1.0 - p[c] / 255.0) * e)));
            } else {
                const double e = m * (sd / 255.0 / 255.0 / 4.0);
                for (int c = 0; c < 3; ++c)
                    p[c] = ClampByte(static_cast<int64_t>(Round(p[c] * e + p[c])));
            }
        }
    }
}

void ScumbleStroke(PixelBuffer& layer, int32_t x, int32_t y, int32_t x0, int32_t y0, int32_t size,
                   int32_t strength, RectI& retRect, bool bProtect) {
    const int32_t s = Magnitude(strength);
    const StrokeMask mask = MakeStrokeMask(
        layer.Width(), layer.Height(), x, y, x0, y0, size,
        AdjustTransparency(SaturateToInt32(255 - int64_t{s}), size), RetouchMargin(size));
    retRect = mask.Box;
    if (mask.Empty()) return;
    const int32_t w = layer.Width();
    const int32_t h = layer.Height();
    const Snapshot snap(
        layer, {std::max(mask.Box.left - 1, 0), std::max(mask.Box.top - 1, 0),
                std::min(mask.Box.right + 1, w - 1), std::min(mask.Box.bottom + 1, h - 1)});
    for (int32_t py = mask.Box.top; py <= mask.Box.bottom; ++py) {
        const int32_t ya = std::max(py - 1, 0), yb = std::min(py + 1, h - 1);
        for (int32_t px = mask.Box.left; px <= mask.Box.right; ++px) {
            const int32_t m = mask.At(px, py);
            // No force: both formulas give the pixel back as it was.
            if (m == 0) continue;
            const int32_t xa = std::max(px - 1, 0), xb = std::min(px + 1, w - 1);
            int64_t sum[3] = {0, 0, 0};
            int64_t alphaSum = 0;
            int64_t count = 0;
            for (int32_t ny = ya; ny <= yb; ++ny)
                for (int32_t nx = xa; nx <= xb; ++nx) {
                    const uint8_t* q = snap.At(nx, ny);
                    for (int c = 0; c < 3; ++c)
                        sum[c] += int64_t{q[c]} * q[3];
                    alphaSum += q[3];
                    ++count;
                }
            const uint8_t* v = snap.At(px, py);
            uint8_t* out = layer.PixelPtr(px, py);
            if (strength < 0) {
                for (int c = 0; c < (bProtect ? 3 : 4); ++c) {
                    const int64_t total = c < 3 ? sum[c] : alphaSum;
                    const int64_t cnt = c < 3 ? alphaSum : count;
                    // Invisible surroundings stop the channel loop, alpha included.
                    if (cnt == 0) break;
                    const int64_t avg = total / cnt;
                    out[c] = ClampByte(v[c] + ((v[c] - avg) * m) / 255);
                }
                continue;
            }
            if (alphaSum < 1) continue;
            const int64_t aAvg = RoundToInt(static_cast<double>(alphaSum) / count);
            const int64_t a1 = (aAvg * m) / 255;
            int64_t a2 = v[3];
            int64_t n = a1 + a2;
            if (n > 255) {
                n = 255;
                a2 = 255 - a1;
            }
            if (n >= 1)
                for (int c = 0; c < 3; ++c) {
                    const int64_t cAvg = RoundToInt(static_cast<double>(sum[c]) / alphaSum);
                    out[c] = ClampByte((cAvg * a1 + out[c] * a2) / n);
                }
            if (!bProtect) out[3] = ClampByte((out[3] * (255 - int64_t{m}) + aAvg * m) / 255);
        }
    }
}

void FingerStroke(PixelBuffer& layer, int32_t x0, int32_t y0, int32_t x, int32_t y, int32_t size,
                  int32_t strength, RectI& retRect) {
    const int32_t w = layer.Width();
    const int32_t h = layer.Height();
    retRect = FingerRect(w, h, x0, y0, x, y, size);
    if (size <= 0 || layer.Empty()) return;
    const int64_t s = strength & 255;
    const int64_t r = size / 2;
    // The block at the segment's start, as it was before the stroke; only its part inside the
    // layer can be a source.
    const RectI src{SaturateToInt32(std::max<int64_t>(int64_t{x0} - r, 0)),
                    SaturateToInt32(std::max<int64_t>(int64_t{y0} - r, 0)),
                    SaturateToInt32(std::min<int64_t>(int64_t{x0} - r + size - 1, w - 1)),
                    SaturateToInt32(std::min<int64_t>(int64_t{y0} - r + size - 1, h - 1))};
    if (IsEmpty(src)) return;
    const Snapshot snap(layer, src);
    // src = start + (i - r), dst = point + (i - r); i ranges where both are inside.
    const LineWalkLimits limits{r - size + 1, int64_t{w} - 1 + r, int64_t{h} - 1 + r};
    WalkLine(x0, y0, x, y, 0, limits, [&](int64_t cx, int64_t cy) {
        const int64_t dx = cx - x0;
        const int64_t dy = cy - y0;
        const int64_t sxLo = std::max<int64_t>(src.left, -dx);
        const int64_t sxHi = std::min<int64_t>(src.right, int64_t{w} - 1 - dx);
        const int64_t syLo = std::max<int64_t>(src.top, -dy);
        const int64_t syHi = std::min<int64_t>(src.bottom, int64_t{h} - 1 - dy);
        for (int64_t sx = sxLo; sx <= sxHi; ++sx)
            for (int64_t sy = syLo; sy <= syHi; ++sy) {
                const uint8_t* from = snap.At(static_cast<int32_t>(sx), static_cast<int32_t>(sy));
                uint8_t* to =
                    layer.PixelPtr(static_cast<int32_t>(sx + dx), static_cast<int32_t>(sy + dy));
                // Only a fully opaque source adds its 1.
                const int64_t a1 = s + from[3] / 255;
                int64_t a2 = to[3];
                int64_t n = a1 + a2;
                if (n > 255) {
                    a2 = 255 - a1;
                    n = 255;
                }
                if (n == 0) continue;
                for (int c = 0; c < 3; ++c)
                    to[c] = ClampByte((to[c] * a2 + from[c] * a1) / n);
                to[3] = ClampByte((to[3] * (255 - s) + from[3] * s) / 255);
            }
    });
}

void AlphaStroke(PixelBuffer& layer, int32_t x, int32_t y, int32_t x0, int32_t y0, int32_t strength,
                 int32_t size, int32_t soft, RectI& retRect) {
    const int32_t s = Magnitude(strength);
    // Without soft the bar's value is the target under the whole footprint, so the mask is
    // laid at full force and only tells where the stroke is.
    const double t = soft != 0 ? AdjustTransparency(SaturateToInt32(255 - int64_t{s}), size) : 0.0;
    const StrokeMask mask =
        MakeStrokeMask(layer.Width(), layer.Height(), x, y, x0, y0, size, t, AlphaToolMargin(size));
    retRect = mask.Box;
    if (mask.Empty()) return;
    const int64_t sign = strength > 0 ? 1 : (strength < 0 ? -1 : 0);
    const uint8_t target = ClampByte(int64_t{strength} + 255);
    for (int32_t py = mask.Box.top; py <= mask.Box.bottom; ++py)
        for (int32_t px = mask.Box.left; px <= mask.Box.right; ++px) {
            const int32_t m = mask.At(px, py);
            if (m < 1) continue;
            uint8_t* p = layer.PixelPtr(px, py);
            p[3] = soft != 0 ? ClampByte(p[3] + sign * m) : target;
        }
}

}  // namespace brv
