#include "tools/shapes.h"

#include <gtest/gtest.h>

#include "core/documents.h"

namespace brv {
namespace {

constexpr int32_t kRed = 0x0000FF;

TEST(DrawRectangle, SizeOneIsOneRingAtFullOpacityEvenSoft) {
    PixelBuffer layer(6, 5);
    RectI r;
    DrawRectangle(layer, 4, 3, 1, 1, 1, kRed, 255, r, 1, false);
    EXPECT_EQ(r, (RectI{1, 1, 4, 3}));
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 6; ++x) {
            const bool edge =
                x >= 1 && x <= 4 && y >= 1 && y <= 3 && (x == 1 || x == 4 || y == 1 || y == 3);
            EXPECT_EQ(*layer.Get(x, y), edge ? (Bgra{0, 0, 255, 255}) : Bgra{}) << x << "," << y;
        }
}

TEST(DrawRectangle, SizeTwoSoftHasAHalfRingOutside) {
    PixelBuffer layer(7, 6);
    RectI r;
    DrawRectangle(layer, 1, 1, 5, 4, 2, kRed, 255, r, 1, false);
    // lo = -1, hi = 0, radius 2: the ring k = -1 gets Round(127.5) = 128.
    EXPECT_EQ(r, (RectI{0, 0, 5, 4}));
    EXPECT_EQ(layer.Get(0, 0)->a, 128);
    EXPECT_EQ(layer.Get(6, 5)->a, 128);
    EXPECT_EQ(layer.Get(3, 5)->a, 128);
    EXPECT_EQ(layer.Get(1, 1)->a, 255);
    EXPECT_EQ(layer.Get(5, 3)->a, 255);
    EXPECT_EQ(layer.Get(2, 2)->a, 0);
    // Without soft both rings are full.
    PixelBuffer hard(7, 6);
    DrawRectangle(hard, 1, 1, 5, 4, 2, kRed, 255, r, 0, false);
    EXPECT_EQ(hard.Get(0, 0)->a, 255);
}

TEST(DrawRectangle, AZeroWidthRectanglePaintsItsColumnTwice) {
    PixelBuffer layer(5, 6);
    RectI r;
    DrawRectangle(layer, 2, 1, 2, 4, 1, kRed, 128, r, 0, false);
    // Ends once (alpha 128); between them the left and right columns coincide: the second
    // coat finds alpha 128, da = Round(128 * 127 / 255) = 64, alpha 128 + 128.
    EXPECT_EQ(*layer.Get(2, 1), (Bgra{0, 0, 255, 128}));
    EXPECT_EQ(*layer.Get(2, 2), (Bgra{0, 0, 255, 255}));
    EXPECT_EQ(*layer.Get(2, 3), (Bgra{0, 0, 255, 255}));
    EXPECT_EQ(*layer.Get(2, 4), (Bgra{0, 0, 255, 128}));
    EXPECT_EQ(layer.Get(1, 2)->a, 0);
}

TEST(DrawRectangle, ProtectKeepsAlphaAndTheOutsideIsClipped) {
    PixelBuffer layer(4, 4);
    RectI r;
    DrawRectangle(layer, -3, -3, 10, 2, 1, kRed, 255, r, 0, true);
    EXPECT_EQ(*layer.Get(1, 2), (Bgra{0, 0, 255, 0}));
    EXPECT_EQ(*layer.Get(1, 1), Bgra{});
}

TEST(DrawEllipse, ZeroWidthIsAColumnOfStampsAndEqualCornersNothing) {
    PixelBuffer layer(11, 13);
    DrawEllipse(layer, 5, 10, 5, 2, 1, kRed, 0, 0, false);
    for (int y = 0; y < 13; ++y) {
        EXPECT_EQ(layer.Get(5, y)->a, y >= 2 && y <= 10 ? 255 : 0) << y;
        EXPECT_EQ(layer.Get(4, y)->a, 0);
        EXPECT_EQ(layer.Get(6, y)->a, 0);
    }
    PixelBuffer none(5, 5);
    DrawEllipse(none, 2, 2, 2, 2, 3, kRed, 0, 0, false);
    EXPECT_EQ(none, PixelBuffer(5, 5));
}

TEST(DrawEllipse, ACircleTouchesItsBoxAtTheFourMiddles) {
    PixelBuffer layer(9, 9);
    DrawEllipse(layer, 0, 0, 8, 8, 1, kRed, 0, 0, false);
    for (auto [x, y] : {std::pair{0, 4}, {8, 4}, {4, 0}, {4, 8}, {7, 6}, {1, 2}, {1, 1}, {3, 0}})
        EXPECT_EQ(layer.Get(x, y)->a, 255) << x << "," << y;
    for (auto [x, y] : {std::pair{4, 4}, {0, 0}, {8, 8}, {2, 2}, {0, 2}})
        EXPECT_EQ(layer.Get(x, y)->a, 0) << x << "," << y;
    // A flat box: dy = 0 scales y to nothing, a row of stamps.
    PixelBuffer flat(9, 3);
    DrawEllipse(flat, 1, 1, 7, 1, 1, kRed, 0, 0, false);
    for (int x = 0; x < 9; ++x)
        EXPECT_EQ(flat.Get(x, 1)->a, x >= 1 && x <= 7 ? 255 : 0) << x;
}

TEST(PickColor, TopDownWithSeparatelyTruncatedShares) {
    DocumentRecord doc;
    doc.Width = 4;
    doc.Height = 4;
    doc.Layers.resize(3);
    for (int i = 1; i <= 2; ++i) {
        doc.Layers[static_cast<size_t>(i)].Pixels = PixelBuffer(4, 4);
        doc.Layers[static_cast<size_t>(i)].Visible = -1;
    }
    // Over transparent layers: nothing but zero, which the pen reads as transparency 255.
    EXPECT_EQ(PickColorAt(doc, 1, 1), (Bgra{0, 0, 0, 0}));

    doc.Layers[2].Pixels.Set(1, 1, {0, 0, 255, 128});
    doc.Layers[1].Pixels.Set(1, 1, {255, 0, 0, 255});
    // Top: red at 128. Below: n = 383 -> sa = 127: blue 255 * 127 div 255, red 255 * 128 div 255.
    EXPECT_EQ(PickColorAt(doc, 1, 1), (Bgra{127, 0, 128, 255}));
    doc.Layers[1].Visible = 0;
    EXPECT_EQ(PickColorAt(doc, 1, 1), (Bgra{0, 0, 255, 128}));
    // Outside a visible moved layer nothing is picked; a hidden one is never looked at.
    doc.Layers[2].OffsetX = 2;
    EXPECT_EQ(PickColorAt(doc, 1, 1), std::nullopt);
    doc.Layers[2].Visible = 0;
    doc.Layers[1].OffsetX = -9;
    EXPECT_EQ(PickColorAt(doc, 1, 1), (Bgra{0, 0, 0, 0}));
}

}  // namespace
}  // namespace brv
