#include "core/sprites.h"

#include <gtest/gtest.h>

namespace brv {
namespace {

constexpr Bgra kBlack{0, 0, 0, 255};
constexpr Bgra kWhite{255, 255, 255, 255};

TEST(SpritesTest, HotspotSheetLayout) {
    const SpriteSheet& s = HotspotSprites();
    ASSERT_GT(s.FrameCount, 1);
    EXPECT_EQ(s.FrameSize, 32);
    EXPECT_EQ(s.Picture.Width(), 32 * s.FrameCount);
    EXPECT_EQ(s.Picture.Height(), 64);
    for (int32_t f = 0; f < s.FrameCount; ++f) {
        const int32_t x0 = HotspotSpriteX(f);
        EXPECT_EQ(x0, 32 * f);
        // A corner keeps the screen, the hot-spot pixel inverts it.
        EXPECT_EQ(s.Picture.Get(x0, 0), kBlack);
        EXPECT_EQ(s.Picture.Get(x0, 32), kWhite);
        EXPECT_EQ(s.Picture.Get(x0 + 16, 16), kWhite);
        EXPECT_EQ(s.Picture.Get(x0 + 16, 32 + 16), kWhite);
        // Every pixel is one of the four pairs a mask-and-image sprite can use, never a
        // white image over a white mask outside the cross.
        int opaqueBlack = 0, opaqueWhite = 0;
        for (int32_t y = 0; y < 32; ++y) {
            for (int32_t x = 0; x < 32; ++x) {
                const Bgra image = *s.Picture.Get(x0 + x, y);
                const Bgra mask = *s.Picture.Get(x0 + x, 32 + y);
                ASSERT_TRUE(image == kBlack || image == kWhite);
                ASSERT_TRUE(mask == kBlack || mask == kWhite);
                if (mask == kBlack) (image == kBlack ? opaqueBlack : opaqueWhite)++;
            }
        }
        EXPECT_GT(opaqueBlack, 0);
        EXPECT_GT(opaqueWhite, 0);
    }
    // The ring turns: neighbouring frames differ, and the index wraps either way.
    bool differs = false;
    for (int32_t y = 0; y < 32 && !differs; ++y)
        for (int32_t x = 0; x < 32 && !differs; ++x)
            differs = s.Picture.Get(x, y) != s.Picture.Get(32 + x, y);
    EXPECT_TRUE(differs);
    EXPECT_EQ(HotspotSpriteX(s.FrameCount), 0);
    EXPECT_EQ(HotspotSpriteX(-1), 32 * (s.FrameCount - 1));
}

TEST(SpritesTest, MaskedSpriteKeepsPaintsAndInverts) {
    const SpriteSheet& s = HotspotSprites();
    PixelBuffer canvas(40, 40);
    canvas.Fill({10, 100, 200, 7});
    DrawMaskedSprite(canvas, 4, 4, s.Picture, HotspotSpriteX(3), 32);
    EXPECT_EQ(canvas.Get(4, 4), (Bgra{10, 100, 200, 7}));    // clear corner
    EXPECT_EQ(canvas.Get(20, 20), (Bgra{245, 155, 55, 7}));  // inverted, alpha kept
    EXPECT_EQ(canvas.Get(39, 39), (Bgra{10, 100, 200, 7}));  // outside the sprite
    int black = 0, white = 0;
    for (int32_t y = 0; y < 40; ++y) {
        for (int32_t x = 0; x < 40; ++x) {
            const Bgra p = *canvas.Get(x, y);
            black += p == Bgra{0, 0, 0, 7};
            white += p == Bgra{255, 255, 255, 7};
        }
    }
    EXPECT_GT(black, 0);
    EXPECT_GT(white, 0);
    // Partly off the picture: clipped, no write outside.
    PixelBuffer small(8, 8);
    DrawMaskedSprite(small, -16, -16, s.Picture, 0, 32);
    EXPECT_EQ(small.Get(0, 0), (Bgra{255, 255, 255, 0}));  // the hot-spot pixel, inverted
}

TEST(SpritesTest, EyeSwitch) {
    const PixelBuffer& eyes = EyeSprites();
    ASSERT_EQ(eyes.Width(), 32);
    ASSERT_EQ(eyes.Height(), 16);
    EXPECT_EQ(EyeSourceX(1), 16);
    EXPECT_EQ(EyeSourceX(-1), 16);
    EXPECT_EQ(EyeSourceX(0), 0);
    // Open and closed differ, both opaque, framed alike.
    bool differs = false;
    for (int32_t y = 0; y < 16; ++y) {
        for (int32_t x = 0; x < 16; ++x) {
            EXPECT_EQ(eyes.Get(x, y)->a, 255);
            differs |= eyes.Get(x, y) != eyes.Get(16 + x, y);
        }
    }
    EXPECT_TRUE(differs);
    EXPECT_EQ(eyes.Get(0, 0), eyes.Get(16, 0));
    EXPECT_EQ(eyes.Get(16 + 7, 7), kBlack);  // the open eye's pupil
    EXPECT_EQ(eyes.Get(7, 7), kWhite);       // nothing there when closed
}

}  // namespace
}  // namespace brv
