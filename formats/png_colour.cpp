#include "formats/png_colour.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

#include "core/arith.h"

namespace brv {

namespace {

inline uint32_t ColourKey(const uint8_t* px) {
    return uint32_t{px[0]} | (uint32_t{px[1]} << 8) | (uint32_t{px[2]} << 16);
}

}  // namespace

int32_t GetBestColorBit(const PixelBuffer& BMPDATA) {
    const int32_t width = BMPDATA.Width();
    // The scan stops one row short of the buffer; intended.
    const int32_t rows = BMPDATA.Height() - 1;
    bool transparent = false;
    for (int32_t y = 0; y < rows; ++y) {
        const uint8_t* px = BMPDATA.Row(y);
        for (int32_t x = 0; x < width; ++x, px += 4) {
            const uint8_t a = px[3];
            if (a < 255) transparent = true;
            if (a != 0 && a != 255) return 32;
        }
    }
    // Distinct colours of the visible pixels, black counted from the start.
    std::unordered_set<uint32_t> colours{0u};
    colours.reserve(512);
    uint32_t last = 0;
    for (int32_t y = 0; y < rows; ++y) {
        const uint8_t* px = BMPDATA.Row(y);
        for (int32_t x = 0; x < width; ++x, px += 4) {
            if (px[3] == 0) continue;
            const uint32_t c = ColourKey(px);
            if (c == last) continue;
            last = c;
            if (colours.insert(c).second && colours.size() == 257) return transparent ? 32 : 24;
        }
    }
    return 8;
}

PNGPalette MakePNGPalette(const PixelBuffer& BMPDATA, int32_t ColorBit) {
    ColorBit = Clamp(ColorBit, 1, 8);
    const int32_t entries = 1 << ColorBit;
    PNGPalette pal;
    pal.Entries.assign(static_cast<size_t>(entries), Bgra{0, 0, 0, 255});
    pal.Entries[0].a = 0;
    if (entries > 1) pal.Entries[1] = {255, 255, 255, 255};
    if (entries > 2) pal.Entries[2] = {0, 0, 0, 255};
    pal.Indices.assign(static_cast<size_t>(BMPDATA.Width()) * BMPDATA.Height(), 0);

    // Entries 1 .. inUse are distinct colours, so a map finds the same entry the linear
    // search of the palette would.
    int32_t inUse = std::min(2, entries - 1);
    std::unordered_map<uint32_t, uint8_t> known;
    known.reserve(512);
    if (entries > 1) known.emplace(0xFFFFFFu, 1);
    if (entries > 2) known.emplace(0u, 2);
    const int32_t lastEntry = entries - 1;
    size_t i = 0;
    for (int32_t y = 0; y < BMPDATA.Height(); ++y) {
        const uint8_t* px = BMPDATA.Row(y);
        for (int32_t x = 0; x < BMPDATA.Width(); ++x, px += 4, ++i) {
            if (px[3] < 128) continue;
            // A full palette ends the walk at once; the rest stays on entry 0. Intended.
            if (inUse >= lastEntry) return pal;
            const uint32_t c = ColourKey(px);
            auto it = known.find(c);
            if (it == known.end()) {
                ++inUse;
                pal.Entries[static_cast<size_t>(inUse)] = {px[0], px[1], px[2], 255};
                it = known.emplace(c, static_cast<uint8_t>(inUse)).first;
            }
            pal.Indices[i] = it->second;
        }
    }
    return pal;
}

int32_t MakeTransparentKey(PixelBuffer& work) {
    // A free colour is never looked for: the key is black whatever the picture holds.
    for (int32_t y = 0; y < work.Height(); ++y) {
        uint8_t* px = work.Row(y);
        for (int32_t x = 0; x < work.Width(); ++x, px += 4)
            if (px[3] < 128) px[0] = px[1] = px[2] = 0;
    }
    return 0;
}

PNGRowPlanes SplitPNGRows(const PixelBuffer& picture) {
    PNGRowPlanes rows;
    rows.Width = picture.Width();
    rows.Height = picture.Height();
    const size_t pixels = static_cast<size_t>(rows.Width) * static_cast<size_t>(rows.Height);
    rows.RGBRows.resize(pixels * 3);
    rows.AlphaRows.resize(pixels);
    const uint8_t* src = picture.Bytes().data();
    for (size_t i = 0; i < pixels; ++i, src += 4) {
        rows.RGBRows[3 * i] = src[0];
        rows.RGBRows[3 * i + 1] = src[1];
        rows.RGBRows[3 * i + 2] = src[2];
        rows.AlphaRows[i] = src[3];
    }
    return rows;
}

std::vector<uint8_t> OutPut(const PNGRowPlanes& rows, int32_t RectWidth, int32_t LightColor,
                            int32_t DarkColor) {
    if (rows.Width < 0 || rows.Height < 0) return {};
    const size_t w = static_cast<size_t>(rows.Width);
    const size_t pixels = w * static_cast<size_t>(rows.Height);
    if (rows.RGBRows.size() < pixels * 3 || rows.AlphaRows.size() < pixels) return {};
    const int32_t cell = std::max(RectWidth, 1);
    const Bgra light = ColorWordToBgra(LightColor);
    const Bgra dark = ColorWordToBgra(DarkColor);
    std::vector<uint8_t> out(pixels * 3);
    for (int32_t y = 0; y < rows.Height; ++y) {
        for (int32_t x = 0; x < rows.Width; ++x) {
            const size_t i = static_cast<size_t>(y) * w + static_cast<size_t>(x);
            const Bgra& bg = ((x / cell + y / cell) % 2 == 0) ? light : dark;
            const double a = rows.AlphaRows[i] / 255.0;
            const uint8_t back[3] = {bg.b, bg.g, bg.r};
            for (int c = 0; c < 3; ++c) {
                const double v = rows.RGBRows[3 * i + c] * a + (1 - a) * back[c];
                out[3 * i + c] = static_cast<uint8_t>(Clamp(Round(v), 0.0, 255.0));
            }
        }
    }
    return out;
}

}  // namespace brv
