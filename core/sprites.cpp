#include "core/sprites.h"

#include <array>
#include <cmath>
#include <numbers>
#include <string_view>

namespace brv {

namespace {

constexpr int32_t kMarkSize = 32;
constexpr int32_t kMarkFrames = 8;

enum class Ink { Clear, Black, White, Invert };

// Frame f of the hot-spot marker at pixel (px, py); the hot spot is pixel (16, 16).
Ink MarkInk(int32_t f, int32_t px, int32_t py) {
    const int32_t dx = px - 16, dy = py - 16;
    const int32_t adx = dx < 0 ? -dx : dx, ady = dy < 0 ? -dy : dy;
    // The cross inverts whatever lies under it, so it shows on any picture.
    if ((dx == 0 && dy == 0) || (dx == 0 && ady >= 3 && ady <= 7) ||
        (dy == 0 && adx >= 3 && adx <= 7))
        return Ink::Invert;
    const int32_t r2 = dx * dx + dy * dy;
    if (r2 < 100 || r2 > 144) return Ink::Clear;
    // 32 sectors around the ring, dashes of four, moved on by one sector each frame.
    const double turn = (std::atan2(dy, dx) + std::numbers::pi) / (2 * std::numbers::pi);
    const auto sector = static_cast<int32_t>(turn * 32) % 32;
    return (sector + f) % 8 < 4 ? Ink::Black : Ink::White;
}

SpriteSheet MakeHotspotSprites() {
    SpriteSheet sheet;
    sheet.FrameCount = kMarkFrames;
    sheet.FrameSize = kMarkSize;
    sheet.Picture = PixelBuffer(kMarkSize * kMarkFrames, 2 * kMarkSize);
    const Bgra black{0, 0, 0, 255}, white{255, 255, 255, 255};
    for (int32_t f = 0; f < kMarkFrames; ++f) {
        for (int32_t py = 0; py < kMarkSize; ++py) {
            for (int32_t px = 0; px < kMarkSize; ++px) {
                Bgra image = black, mask = white;
                switch (MarkInk(f, px, py)) {
                    case Ink::Clear:
                        break;
                    case Ink::Black:
                        mask = black;
                        break;
                    case Ink::White:
                        mask = black;
                        image = white;
                        break;
                    case Ink::Invert:
                        image = white;
                        break;
                }
                sheet.Picture.Set(f * kMarkSize + px, py, image);
                sheet.Picture.Set(f * kMarkSize + px, kMarkSize + py, mask);
            }
        }
    }
    return sheet;
}

// The switch, closed and open: '+' frame, '#' ink, '.' face.
constexpr std::array<std::string_view, 16> kEyeClosed = {
    "++++++++++++++++", "+..............+", "+..............+", "+..............+",
    "+..............+", "+..............+", "+..............+", "+#............#+",
    "+.##........##.+", "+...########...+", "+..#..#..#..#..+", "+.#...#..#...#.+",
    "+..............+", "+..............+", "+..............+", "++++++++++++++++",
};
constexpr std::array<std::string_view, 16> kEyeOpen = {
    "++++++++++++++++", "+..............+", "+..............+", "+..............+",
    "+....######....+", "+..##......##..+", "+.#....##....#.+", "+#....####....#+",
    "+#....####....#+", "+.#....##....#.+", "+..##......##..+", "+....######....+",
    "+..............+", "+..............+", "+..............+", "++++++++++++++++",
};

PixelBuffer MakeEyeSprites() {
    PixelBuffer strip(32, 16);
    auto paint = [&strip](const std::array<std::string_view, 16>& art, int32_t x0) {
        for (int32_t y = 0; y < 16; ++y) {
            for (int32_t x = 0; x < 16; ++x) {
                const char c = art[static_cast<size_t>(y)][static_cast<size_t>(x)];
                const Bgra colour = c == '+'   ? Bgra{128, 128, 128, 255}
                                    : c == '#' ? Bgra{0, 0, 0, 255}
                                               : Bgra{255, 255, 255, 255};
                strip.Set(x0 + x, y, colour);
            }
        }
    };
    paint(kEyeClosed, 0);
    paint(kEyeOpen, 16);
    return strip;
}

}  // namespace

const SpriteSheet& HotspotSprites() {
    static const SpriteSheet sheet = MakeHotspotSprites();
    return sheet;
}

int32_t HotspotSpriteX(int64_t index) {
    const int64_t frame = ((index % kMarkFrames) + kMarkFrames) % kMarkFrames;
    return static_cast<int32_t>(frame) * kMarkSize;
}

const PixelBuffer& EyeSprites() {
    static const PixelBuffer strip = MakeEyeSprites();
    return strip;
}

void DrawMaskedSprite(PixelBuffer& target, int32_t x, int32_t y, const PixelBuffer& sheet,
                      int32_t srcX, int32_t size) {
    for (int32_t sy = 0; sy < size; ++sy) {
        for (int32_t sx = 0; sx < size; ++sx) {
            const auto image = sheet.Get(srcX + sx, sy);
            const auto mask = sheet.Get(srcX + sx, size + sy);
            if (!image || !mask || !target.Contains(x + sx, y + sy)) continue;
            uint8_t* p = target.PixelPtr(x + sx, y + sy);
            p[0] = static_cast<uint8_t>((p[0] & mask->b) ^ image->b);
            p[1] = static_cast<uint8_t>((p[1] & mask->g) ^ image->g);
            p[2] = static_cast<uint8_t>((p[2] & mask->r) ^ image->r);
        }
    }
}

}  // namespace brv
