#include "formats/png_colour.h"

#include <gtest/gtest.h>

namespace brv {
namespace {

// A distinct colour for every i, never black or white.
Bgra Colour(int32_t i, uint8_t a = 255) {
    return {static_cast<uint8_t>(1 + i % 200), static_cast<uint8_t>(i / 200), 7, a};
}

TEST(PNGColour, BestColorBitSkipsTheLastRow) {
    PixelBuffer p(2, 2);
    p.Fill({10, 20, 30, 255});
    EXPECT_EQ(GetBestColorBit(p), 8);
    p.Set(1, 1, {0, 0, 0, 128});  // last row: not looked at
    EXPECT_EQ(GetBestColorBit(p), 8);
    p.Set(1, 0, {0, 0, 0, 1});
    EXPECT_EQ(GetBestColorBit(p), 32);
    PixelBuffer one(3, 1);
    one.Fill({0, 0, 0, 100});
    EXPECT_EQ(GetBestColorBit(one), 8);
}

TEST(PNGColour, BestColorBitCountsColoursWithBlackPreset) {
    PixelBuffer p(257, 2);
    p.Fill({0, 0, 0, 255});
    for (int32_t x = 0; x < 255; ++x)
        p.Set(x, 0, Colour(x));
    EXPECT_EQ(GetBestColorBit(p), 8);  // black and 255 colours
    for (int32_t x = 0; x < 257; ++x)
        p.Set(x, 1, Colour(1000 + x));
    EXPECT_EQ(GetBestColorBit(p), 8);  // the last row still does not count
    p.Set(255, 0, Colour(255));
    EXPECT_EQ(GetBestColorBit(p), 24);  // 257 with black
    p.Set(256, 0, Colour(256, 0));
    EXPECT_EQ(GetBestColorBit(p), 32);  // and a transparent pixel
    p.Set(255, 0, Colour(255, 0));
    EXPECT_EQ(GetBestColorBit(p), 8);  // transparent pixels bring no colour
}

TEST(PNGColour, PaletteEntriesAndIndices) {
    PixelBuffer p(6, 1);
    p.Set(0, 0, {9, 9, 9, 127});
    p.Set(1, 0, {255, 255, 255, 255});
    p.Set(2, 0, {0, 0, 0, 128});
    p.Set(3, 0, {1, 2, 3, 200});
    p.Set(4, 0, {4, 5, 6, 255});
    p.Set(5, 0, {1, 2, 3, 255});
    PNGPalette pal = MakePNGPalette(p, 8);
    ASSERT_EQ(pal.Entries.size(), 256u);
    EXPECT_EQ(pal.Indices, (std::vector<uint8_t>{0, 1, 2, 3, 4, 3}));
    EXPECT_EQ(pal.Entries[0], (Bgra{0, 0, 0, 0}));
    EXPECT_EQ(pal.Entries[1], (Bgra{255, 255, 255, 255}));
    EXPECT_EQ(pal.Entries[2], (Bgra{0, 0, 0, 255}));
    EXPECT_EQ(pal.Entries[3], (Bgra{1, 2, 3, 255}));
    EXPECT_EQ(pal.Entries[4], (Bgra{4, 5, 6, 255}));
    EXPECT_EQ(pal.Entries[255], (Bgra{0, 0, 0, 255}));
}

TEST(PNGColour, PaletteTruncatesOnceTheLastEntryIsInUse) {
    // 253 new colours fill entries 3..255; the next opaque pixel ends the walk, white or not.
    PixelBuffer p(258, 2);
    for (int32_t x = 0; x < 253; ++x)
        p.Set(x, 0, Colour(x));
    p.Set(253, 0, {0, 0, 0, 0});
    p.Set(254, 0, {255, 255, 255, 255});
    p.Set(255, 0, Colour(0));
    p.Set(256, 0, {0, 0, 0, 255});
    p.Set(257, 0, Colour(1));
    for (int32_t x = 0; x < 258; ++x)
        p.Set(x, 1, Colour(2));
    PNGPalette pal = MakePNGPalette(p, 8);
    EXPECT_EQ(pal.Indices[0], 3);
    EXPECT_EQ(pal.Indices[252], 255);
    EXPECT_EQ(pal.Entries[255], Colour(252));
    for (size_t i = 253; i < pal.Indices.size(); ++i)
        ASSERT_EQ(pal.Indices[i], 0) << i;

    // One colour fewer: the palette is not full, everything is found.
    PixelBuffer q(254, 1);
    for (int32_t x = 0; x < 252; ++x)
        q.Set(x, 0, Colour(x));
    q.Set(252, 0, {255, 255, 255, 255});
    q.Set(253, 0, Colour(5));
    pal = MakePNGPalette(q, 8);
    EXPECT_EQ(pal.Indices[252], 1);
    EXPECT_EQ(pal.Indices[253], 8);
}

TEST(PNGColour, TransparentKeyIsBlack) {
    PixelBuffer p(3, 1);
    p.Set(0, 0, {1, 2, 3, 127});
    p.Set(1, 0, {4, 5, 6, 128});
    p.Set(2, 0, {0, 0, 0, 255});
    EXPECT_EQ(MakeTransparentKey(p), 0);
    EXPECT_EQ(p.Get(0, 0), (Bgra{0, 0, 0, 127}));
    EXPECT_EQ(p.Get(1, 0), (Bgra{4, 5, 6, 128}));
}

TEST(PNGColour, OutPutComposesOnTheCheckerboard) {
    PixelBuffer p(3, 2);
    p.Set(0, 0, {100, 0, 255, 0});     // cell (0,0): light, shows the background
    p.Set(1, 0, {100, 0, 255, 255});   // cell (0,0) with RectWidth 2: light, the pixel itself
    p.Set(2, 0, {100, 0, 0, 51});      // cell (1,0): dark; 0.2 of the pixel
    p.Set(0, 1, {0, 0, 0, 128});       // cell (0,0): light
    const int32_t light = 0x00C8C8C8;  // 200 grey
    const int32_t dark = 0x00000050;   // red 80
    auto out = OutPut(SplitPNGRows(p), 2, light, dark);
    ASSERT_EQ(out.size(), 18u);
    EXPECT_EQ((std::vector<uint8_t>(out.begin(), out.begin() + 9)),
              (std::vector<uint8_t>{200, 200, 200, 100, 0, 255, 20, 0, 64}));
    // 0 * 128/255 + 127/255 * 200 = 99.6
    EXPECT_EQ(out[9], 100);
    EXPECT_EQ(out[10], 100);
    EXPECT_EQ(out[11], 100);
    // RectWidth 1 alternates every pixel.
    out = OutPut(SplitPNGRows(PixelBuffer(2, 2)), 1, light, dark);
    EXPECT_EQ((std::vector<uint8_t>(out.begin(), out.end())),
              (std::vector<uint8_t>{200, 200, 200, 0, 0, 80, 0, 0, 80, 200, 200, 200}));
}

}  // namespace
}  // namespace brv
