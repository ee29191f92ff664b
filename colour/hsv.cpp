#include "colour/hsv.h"

namespace brv {

void RGBToHSV(int32_t R, int32_t G, int32_t B, int32_t& retH, int32_t& retS, int32_t& retV) {
    const int32_t v = R > G ? (R > B ? R : B) : (G > B ? G : B);
    const int32_t m = R < G ? (R < B ? R : B) : (G < B ? G : B);
    const int32_t d = v - m;
    retV = v;
    retS = v == 0 ? 0 : (d * 255) / v;
    if (retS == 0) {
        retH = 0;
        return;
    }
    // Each term is truncated by itself, so the hue is off by up to one: intended.
    const int32_t a = v - (R * 60) / d;
    const int32_t b = v - (G * 60) / d;
    const int32_t c = v - (B * 60) / d;
    int32_t h;
    if (R == v)
        h = c - b;
    else if (G == v)
        h = a - c + 120;
    else
        h = b - a + 240;
    if (h < 0) h += 360;
    retH = h;
}

int32_t HSVToRGB(int32_t H, int32_t S, int32_t V) {
    // 64-bit products: H may come from an action line with any value.
    const int64_t h6 = int64_t{H} * 6;
    const int64_t f = h6 % 360;
    const int64_t sector = h6 / 360;
    const int64_t s = S, v = V;
    const int64_t p = ((255 - s) * v) / 255;
    const int64_t q = ((255 - (f * s) / 360) * v) / 255;
    const int64_t t = ((255 - ((360 - f) * s) / 360) * v) / 255;
    int64_t r, g, b;
    switch (sector) {
        case 0:
            r = v, g = t, b = p;
            break;
        case 1:
            r = q, g = v, b = p;
            break;
        case 2:
            r = p, g = v, b = t;
            break;
        case 3:
            r = p, g = q, b = v;
            break;
        case 4:
            r = t, g = p, b = v;
            break;
        // Sector 6 (H = 360) lands here too and gives (V, p, q), not red: intended.
        default:
            r = v, g = p, b = q;
            break;
    }
    auto byte = [](int64_t x) { return x < 0 ? 0 : (x > 255 ? 255 : x); };
    return static_cast<int32_t>(byte(r) | (byte(g) << 8) | (byte(b) << 16));
}

}  // namespace brv
