#include "tools/retouch.h"

#include <gtest/gtest.h>

#include <random>

namespace brv {
namespace {

PixelBuffer RandomLayer(int w, int h, unsigned seed) {
    PixelBuffer p(w, h);
    std::mt19937 rng(seed);
    for (auto& b : p.Bytes())
        b = static_cast<uint8_t>(rng());
    return p;
}

TEST(StrokeMask, ASinglePointIsItsDiscInAGrownBox) {
    // Size 1: margin Round(1.5) = 2; t = 0 gives the centre full force.
    const StrokeMask m = MakeStrokeMask(20, 20, 5, 5, 5, 5, 1, 0.0, RetouchMargin(1));
    EXPECT_EQ(m.Box, (RectI{3, 3, 7, 7}));
    EXPECT_EQ(m.At(5, 5), 255);
    EXPECT_EQ(m.At(4, 5), 0);
    EXPECT_EQ(m.At(6, 6), 0);
    // Cut at the picture's edge; the disc keeps its place.
    const StrokeMask edge = MakeStrokeMask(20, 20, 0, 1, 0, 1, 1, 0.0, 2);
    EXPECT_EQ(edge.Box, (RectI{0, 0, 2, 3}));
    EXPECT_EQ(edge.At(0, 1), 255);
    EXPECT_EQ(RetouchMargin(4), 3);
    EXPECT_EQ(AlphaToolMargin(4), 3);
    EXPECT_EQ(RetouchMargin(5), 4);  // Round(3.5) goes to the even 4
    EXPECT_EQ(AlphaToolMargin(5), 3);
}

TEST(Brightness, StrengthZeroChangesNothingEitherWay) {
    PixelBuffer layer = RandomLayer(12, 12, 1);
    const PixelBuffer before = layer;
    RectI r;
    BrightnessStroke(layer, 2, 3, 9, 8, 5, 0, r);
    EXPECT_EQ(layer, before);
}

TEST(Brightness, BrighterAndDarkerAtFullStrength) {
    PixelBuffer layer(5, 5);
    layer.Set(2, 2, {100, 50, 0, 255});
    PixelBuffer dark = layer;
    dark.Set(2, 2, {100, 255, 0, 77});
    RectI r;
    // e = 255 * (255 / 255 / 255 / 4) = 0.25: 125, Round(62.5) = 62, black stays 0.
    BrightnessStroke(layer, 2, 2, 2, 2, 1, 255, r);
    EXPECT_EQ(*layer.Get(2, 2), (Bgra{125, 62, 0, 255}));
    EXPECT_EQ(*layer.Get(1, 2), (Bgra{0, 0, 0, 0}));
    // e = 255 * (510 / 512) / 4 = 63.5009...: Int(100 - 155/255 * e) = 61, white stays, black
    // goes below 0 and is clamped; alpha never moves.
    BrightnessStroke(dark, 2, 2, 2, 2, 1, -255, r);
    EXPECT_EQ(*dark.Get(2, 2), (Bgra{61, 255, 0, 77}));
    EXPECT_EQ(r, (RectI{0, 0, 4, 4}));
}

PixelBuffer Ringed(Bgra centre, Bgra around) {
    PixelBuffer layer(5, 5);
    for (int y = 1; y <= 3; ++y)
        for (int x = 1; x <= 3; ++x)
            layer.Set(x, y, around);
    layer.Set(2, 2, centre);
    return layer;
}

TEST(Scumble, BlurAtZeroIsNothingAndAtFullTakesTheBlockAverage) {
    PixelBuffer layer = RandomLayer(10, 10, 2);
    const PixelBuffer before = layer;
    RectI r;
    ScumbleStroke(layer, 1, 1, 8, 6, 4, 0, r, false);
    EXPECT_EQ(layer, before);

    // Eight white around black: c' = Round(8 * 255 * 255 / 2295) = 227, a1 = 255 caps a2 to 0.
    PixelBuffer blur = Ringed({0, 0, 0, 255}, {255, 255, 255, 255});
    ScumbleStroke(blur, 2, 2, 2, 2, 1, 255, r, false);
    EXPECT_EQ(*blur.Get(2, 2), (Bgra{227, 227, 227, 255}));
    EXPECT_EQ(*blur.Get(1, 1), (Bgra{255, 255, 255, 255}));
}

TEST(Scumble, SharpenPushesAwayFromTheBlockAverage) {
    // avg = (8 * 50 + 100) * 255 div 2295 = 55; 100 + (45 * 255) div 255 = 145.
    PixelBuffer layer = Ringed({100, 100, 100, 255}, {50, 50, 50, 255});
    RectI r;
    ScumbleStroke(layer, 2, 2, 2, 2, 1, -255, r, false);
    EXPECT_EQ(*layer.Get(2, 2), (Bgra{145, 145, 145, 255}));
    // Invisible surroundings: the channel loop stops before alpha, too.
    PixelBuffer clear(5, 5);
    clear.Set(2, 2, {100, 100, 100, 0});
    const PixelBuffer before = clear;
    ScumbleStroke(clear, 2, 2, 2, 2, 1, -255, r, false);
    EXPECT_EQ(clear, before);
}

TEST(Scumble, ProtectKeepsAlphaWhileBlurring) {
    PixelBuffer layer(5, 5);
    layer.Set(1, 2, {0, 0, 200, 255});
    RectI r;
    PixelBuffer kept = layer;
    ScumbleStroke(kept, 2, 2, 2, 2, 1, 255, r, true);
    EXPECT_EQ(kept.Get(2, 2)->a, 0);
    // One opaque red among nine: a' = Round(255 / 9) = 28, the colour 200 whole.
    ScumbleStroke(layer, 2, 2, 2, 2, 1, 255, r, false);
    EXPECT_EQ(*layer.Get(2, 2), (Bgra{0, 0, 200, 28}));
}

TEST(Finger, SizeZeroDoesNothing) {
    PixelBuffer layer = RandomLayer(8, 8, 3);
    const PixelBuffer before = layer;
    RectI r;
    FingerStroke(layer, 1, 1, 6, 5, 0, 64, r);
    EXPECT_EQ(layer, before);
}

TEST(Finger, DragsTheStartAlongTheSegment) {
    PixelBuffer layer(7, 4);
    layer.Set(2, 2, {0, 0, 255, 255});
    RectI r;
    FingerStroke(layer, 2, 2, 4, 2, 1, 64, r);
    // At the start a1 = 64 + 1 meets itself; further on a1 = 65 over nothing: the colour
    // whole, alpha (255 * 64) div 255 = 64.
    EXPECT_EQ(*layer.Get(2, 2), (Bgra{0, 0, 255, 255}));
    EXPECT_EQ(*layer.Get(3, 2), (Bgra{0, 0, 255, 64}));
    EXPECT_EQ(*layer.Get(4, 2), (Bgra{0, 0, 255, 64}));
    EXPECT_EQ(*layer.Get(5, 2), (Bgra{0, 0, 0, 0}));
    EXPECT_EQ(r, (RectI{1, 1, 5, 3}));
    // Strength is taken "and 255": 256 is 0, so only the opaque source's 1 moves colour.
    PixelBuffer weak(7, 4);
    weak.Set(2, 2, {0, 0, 255, 255});
    FingerStroke(weak, 2, 2, 3, 2, 1, 256, r);
    EXPECT_EQ(*weak.Get(3, 2), (Bgra{0, 0, 255, 0}));
}

TEST(AlphaTool, HardStrengthZeroMakesAlphaOpaqueUnderTheStroke) {
    PixelBuffer layer(9, 7);
    RectI r;
    AlphaStroke(layer, 3, 3, 5, 3, 0, 1, 0, r);
    for (int x = 0; x < 9; ++x)
        EXPECT_EQ(layer.Get(x, 3)->a, x >= 3 && x <= 5 ? 255 : 0) << x;
    EXPECT_EQ(layer.Get(4, 2)->a, 0);
    EXPECT_EQ(r, (RectI{2, 2, 6, 4}));
}

TEST(AlphaTool, SoftAddsOrTakesTheForce) {
    PixelBuffer layer(5, 5);
    layer.Fill({1, 2, 3, 120});
    RectI r;
    // t = AdjustTransparency(155, 1) = 155: force 100 at the point.
    AlphaStroke(layer, 2, 2, 2, 2, 100, 1, 1, r);
    EXPECT_EQ(*layer.Get(2, 2), (Bgra{1, 2, 3, 220}));
    AlphaStroke(layer, 2, 2, 2, 2, 100, 1, 1, r);
    EXPECT_EQ(layer.Get(2, 2)->a, 255);
    AlphaStroke(layer, 2, 2, 2, 2, -255, 1, 1, r);
    EXPECT_EQ(layer.Get(2, 2)->a, 0);
    EXPECT_EQ(layer.Get(2, 1)->a, 120);
    // Soft at 0: no force at all.
    AlphaStroke(layer, 1, 1, 3, 3, 0, 3, 1, r);
    EXPECT_EQ(layer.Get(1, 1)->a, 120);
}

}  // namespace
}  // namespace brv
