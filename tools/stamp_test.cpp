#include "tools/stamp.h"

#include <gtest/gtest.h>

#include <set>
#include <utility>

namespace brv {
namespace {

constexpr int32_t kRed = 0x0000FF;

uint8_t AlphaAt(const PixelBuffer& p, int32_t x, int32_t y) {
    return p.Get(x, y)->a;
}

// The pixels whose alpha is not 0.
std::set<std::pair<int32_t, int32_t>> Covered(const PixelBuffer& p) {
    std::set<std::pair<int32_t, int32_t>> out;
    for (int32_t y = 0; y < p.Height(); ++y)
        for (int32_t x = 0; x < p.Width(); ++x)
            if (AlphaAt(p, x, y) != 0) out.insert({x, y});
    return out;
}

TEST(AdjustTransparency, KeepsTheEndsAndRisesWithTheSize) {
    for (int32_t size : {1, 2, 5, 9, 100}) {
        EXPECT_EQ(AdjustTransparency(0, size), 0);
        EXPECT_EQ(AdjustTransparency(255, size), 255);
    }
    for (int32_t t : {1, 77, 128, 254})
        EXPECT_EQ(AdjustTransparency(t, 1), t);
    // Round((t / 255) ^ (2 / (size + 1)) * 255), worked out by hand.
    EXPECT_EQ(AdjustTransparency(128, 5), 203);
    EXPECT_EQ(AdjustTransparency(100, 9), 211);
    EXPECT_EQ(AdjustTransparency(1, 2), 6);
}

TEST(StampDisc, SizeOneSoftIsOneFullPixel) {
    PixelBuffer p(5, 5);
    StampDisc(p, 2, 2, 1, kRed, 0.0, false, 1, false);
    EXPECT_EQ(*p.Get(2, 2), (Bgra{0, 0, 255, 255}));
    EXPECT_EQ(Covered(p).size(), 1u);
}

TEST(StampDisc, SizeTwoCoversTheFourPixelsUpAndLeftWithTheConeOnThePoint) {
    PixelBuffer p(5, 5);
    // T = 0 on a transparent layer: each pixel's alpha is its cone value a.
    StampDisc(p, 2, 2, 2, kRed, 0.0, false, 1, false);
    EXPECT_EQ(AlphaAt(p, 2, 2), 255);
    EXPECT_EQ(AlphaAt(p, 1, 2), 128);
    EXPECT_EQ(AlphaAt(p, 2, 1), 128);
    EXPECT_EQ(AlphaAt(p, 1, 1), 75);
    EXPECT_EQ(Covered(p).size(), 4u);
    EXPECT_EQ(p.Get(1, 1)->r, 255);
}

TEST(StampDisc, OpaqueStampsGiveTheColourExactlyAndAgain) {
    PixelBuffer p(3, 3);
    const int32_t c = 0x123456;  // red 0x56, green 0x34, blue 0x12
    StampDisc(p, 1, 1, 1, c, 0.0, false, 0, false);
    EXPECT_EQ(*p.Get(1, 1), (Bgra{0x12, 0x34, 0x56, 255}));
    StampDisc(p, 1, 1, 1, c, 0.0, false, 0, false);
    EXPECT_EQ(*p.Get(1, 1), (Bgra{0x12, 0x34, 0x56, 255}));
}

TEST(StampDisc, FullTransparencyChangesNothing) {
    PixelBuffer p(3, 3);
    p.Set(1, 1, {10, 20, 30, 100});
    StampDisc(p, 1, 1, 3, kRed, 255.0, false, 1, false);
    EXPECT_EQ(*p.Get(1, 1), (Bgra{10, 20, 30, 100}));
    EXPECT_EQ(*p.Get(0, 0), (Bgra{}));  // n = 0: left alone
}

TEST(StampDisc, HalfCoverageMixesColourButAddsAlpha) {
    PixelBuffer p(1, 1);
    p.Set(0, 0, {0, 0, 0, 128});
    StampDisc(p, 0, 0, 1, 0xFFFFFF, 127.0, false, 0, false);
    // sa = Round(128 * 255 / 255) = 128; da = Round(128 * (1 - 128/255)) = 64; n = 192.
    // colour = Round(128/192 * 255) = 170; alpha = 128 + 128 = 255 (not 192).
    EXPECT_EQ(*p.Get(0, 0), (Bgra{170, 170, 170, 255}));
}

TEST(StampDisc, ProtectOnATransparentLayerPaintsUnseenColour) {
    PixelBuffer p(5, 5);
    StampDisc(p, 2, 2, 3, kRed, 0.0, false, 1, true);
    for (int32_t y = 0; y < 5; ++y)
        for (int32_t x = 0; x < 5; ++x)
            EXPECT_EQ(AlphaAt(p, x, y), 0);
    EXPECT_EQ(p.Get(2, 2)->r, 255);
    EXPECT_EQ(p.Get(1, 2)->r, 255);
}

TEST(StampDisc, EraserTakesAlphaAndLeavesColour) {
    PixelBuffer p(3, 3);
    p.Fill({1, 2, 3, 200});
    StampDisc(p, 1, 1, 1, 0, 255.0, true, 1, true);
    EXPECT_EQ(*p.Get(1, 1), (Bgra{1, 2, 3, 0}));
    StampDisc(p, 0, 0, 1, 0, 0.0, true, 1, false);
    EXPECT_EQ(*p.Get(0, 0), (Bgra{1, 2, 3, 200}));
    // Cone 128 at strength 100: e = Round(128 * 100 / 255) = 50.
    StampDisc(p, 2, 2, 2, 0, 100.0, true, 1, false);
    EXPECT_EQ(AlphaAt(p, 1, 2), 150);
}

TEST(StampDisc, ClipsAtEveryEdgeAndIgnoresNonsense) {
    PixelBuffer p(4, 4);
    StampDisc(p, -1, -1, 5, kRed, 0.0, false, 0, false);
    StampDisc(p, 4, 4, 5, kRed, 0.0, false, 0, false);
    StampDisc(p, 2, 2, 0, kRed, 0.0, false, 0, false);
    StampDisc(p, 2, 2, -3, kRed, 0.0, false, 0, false);
    StampDisc(p, 2147483647, -2147483647 - 1, 2147483647, kRed, 0.0, false, 1, false);
    EXPECT_EQ(AlphaAt(p, 0, 0), 255);
    EXPECT_EQ(AlphaAt(p, 3, 3), 255);
}

TEST(DrawLineStamps, TheEndGivenFirstIsLeftOut) {
    std::set<std::pair<int32_t, int32_t>> tail;              // x = 1 .. 10
    std::set<std::pair<int32_t, int32_t>> head;              // x = 0 .. 9
    const int32_t ys[] = {0, 0, 1, 1, 1, 2, 2, 2, 2, 3, 3};  // Round(x * 3 / 10), ties to even
    for (int32_t x = 0; x <= 10; ++x) {
        if (x >= 1) tail.insert({x, ys[x]});
        if (x <= 9) head.insert({x, ys[x]});
    }
    PixelBuffer a(12, 5);
    RectI rect;
    DrawLineStamps(a, 0, 0, 10, 3, 1, kRed, 0.0, rect, false, 0, 1, false);
    EXPECT_EQ(Covered(a), tail);
    EXPECT_EQ(rect, (RectI{0, 0, 11, 4}));

    PixelBuffer b(12, 5);
    DrawLineStamps(b, 10, 3, 0, 0, 1, kRed, 0.0, rect, false, 0, 1, false);
    EXPECT_EQ(Covered(b), head);

    // Any skip of at least 1 counts as 1; none lays both ends.
    PixelBuffer c(12, 5);
    DrawLineStamps(c, 0, 0, 10, 3, 1, kRed, 0.0, rect, false, 0, 7, false);
    EXPECT_EQ(Covered(c), tail);
    PixelBuffer d(12, 5);
    DrawLineStamps(d, 0, 0, 10, 3, 1, kRed, 0.0, rect, false, 0, 0, false);
    EXPECT_EQ(Covered(d).size(), 11u);
}

TEST(DrawLineStamps, WalksTheLongerAxisAndTiesGoToX) {
    PixelBuffer steep(5, 8);
    RectI rect;
    DrawLineStamps(steep, 1, 0, 3, 6, 1, kRed, 0.0, rect, false, 0, 0, false);
    EXPECT_EQ(Covered(steep).size(), 7u);  // one disc a row
    PixelBuffer diagonal(6, 6);
    DrawLineStamps(diagonal, 0, 0, 4, 4, 1, kRed, 0.0, rect, false, 0, 0, false);
    EXPECT_EQ(Covered(diagonal).size(), 5u);
    PixelBuffer vertical(3, 6);
    DrawLineStamps(vertical, 1, 5, 1, 0, 1, kRed, 0.0, rect, false, 0, 1, false);
    EXPECT_EQ(Covered(vertical),
              (std::set<std::pair<int32_t, int32_t>>{{1, 0}, {1, 1}, {1, 2}, {1, 3}, {1, 4}}));
}

TEST(DrawLineStamps, RectangleIsTheBoxGrownAndClampedLowerLimitFirst) {
    PixelBuffer p(20, 10);
    RectI rect;
    DrawLineStamps(p, 5, 4, 8, 6, 5, kRed, 0.0, rect, false, 1, 5, false);
    EXPECT_EQ(rect, (RectI{2, 1, 11, 9}));
    // Wholly outside: each edge lands on the nearest side.
    EXPECT_EQ(LineStampsRect(20, 10, 100, -50, 120, -40, 3), (RectI{19, 0, 19, 0}));
    // A segment of billions of pixels clips without walking them.
    PixelBuffer q(8, 8);
    DrawLineStamps(q, -2000000000, 3, 2000000000, 3, 3, kRed, 0.0, rect, false, 0, 0, false);
    EXPECT_EQ(Covered(q).size(), 8u * 3u);
}

PixelBuffer NumberedPattern() {
    PixelBuffer pattern(3, 3);
    for (int32_t y = 0; y < 3; ++y)
        for (int32_t x = 0; x < 3; ++x)
            pattern.Set(x, y, {static_cast<uint8_t>(10 * x + y), 0, 0, 255});
    return pattern;
}

TEST(StampPattern, UnturnedStampCopiesThePattern) {
    PixelBuffer p(5, 5);
    RectI rect;
    StampPattern(p, 2, 2, NumberedPattern(), 255, 1.0, 0.0, rect);
    for (int32_t j = 0; j < 3; ++j)
        for (int32_t i = 0; i < 3; ++i)
            EXPECT_EQ(*p.Get(1 + i, 1 + j), (Bgra{static_cast<uint8_t>(10 * i + j), 0, 0, 255}));
    EXPECT_EQ(rect, (RectI{1, 1, 3, 3}));
}

TEST(StampPattern, TurnedByNinetyDegrees) {
    PixelBuffer p(5, 5);
    RectI rect;
    StampPattern(p, 2, 2, NumberedPattern(), 255, 0.0, 1.0, rect);
    // Destination (i, j) reads the pattern at u = j, v = 2 - i.
    for (int32_t j = 0; j < 3; ++j)
        for (int32_t i = 0; i < 3; ++i)
            EXPECT_EQ(p.Get(1 + i, 1 + j)->b, 10 * j + (2 - i)) << i << "," << j;
}

TEST(StampPattern, MixesWithTwoTruncatedQuotientsAndStoresAlphaAtZero) {
    PixelBuffer pattern(2, 1);
    pattern.Set(0, 0, {200, 200, 200, 255});
    pattern.Set(1, 0, {99, 99, 99, 0});
    PixelBuffer p(2, 1);
    p.Set(0, 0, {50, 50, 50, 100});
    p.Set(1, 0, {7, 7, 7, 0});
    RectI rect;
    StampPattern(p, 1, 0, pattern, 128, 1.0, 0.0, rect);
    // sa = 255 * 128 div 255 = 128, da = 100, n = 228: 25600 div 228 + 5000 div 228 = 112 + 21.
    EXPECT_EQ(*p.Get(0, 0), (Bgra{133, 133, 133, 228}));
    EXPECT_EQ(*p.Get(1, 0), (Bgra{7, 7, 7, 0}));
}

TEST(StampPattern, OffThePictureGivesAnInvertedRectangleAndNoPixel) {
    PixelBuffer p(4, 4);
    RectI rect;
    StampPattern(p, 10, 1, NumberedPattern(), 255, 1.0, 0.0, rect);
    EXPECT_GT(rect.left, rect.right);
    EXPECT_TRUE(Covered(p).empty());
    StampPattern(p, 0, 0, NumberedPattern(), 255, 1.0, 0.0, rect);
    EXPECT_EQ(rect, (RectI{0, 0, 1, 1}));
    EXPECT_EQ(Covered(p).size(), 4u);
}

}  // namespace
}  // namespace brv
