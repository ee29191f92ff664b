#include "core/view_panels.h"

#include <gtest/gtest.h>

#include "core/sprites.h"
#include "core/startup.h"
#include "core/view_render.h"
#include "core/view_test_document.h"

namespace brv {
namespace {

DocumentRecord Doc(int32_t w, int32_t h, int32_t layers, double zoom) {
    DocumentRecord doc = testing::MakeViewTestDocument(w, h, layers, zoom);
    doc.ActiveLID = 1;
    return doc;
}

class ViewPanelsTest : public ::testing::Test {
protected:
    PixelBuffer bg = MakeBackgroundTile(256, 256);
};

TEST_F(ViewPanelsTest, GuideFitsAndFramesAWholeView) {
    DocumentRecord doc = Doc(64, 32, 1, 1.0);
    doc.Layers[1].Pixels.Fill({10, 20, 30, 255});
    RedrawAll(doc, {200, 200}, bg, 0);
    GuideView guide;
    GuideFrame frame = RedrawGuide(doc, guide, bg, false);
    EXPECT_TRUE(frame.Composed);
    EXPECT_EQ(guide.FittedWidth, 128);
    EXPECT_EQ(guide.FittedHeight, 64);
    EXPECT_EQ(guide.MarginX, 0);
    EXPECT_EQ(guide.MarginY, 32);
    ASSERT_EQ(guide.GuideBuffer.Width(), 128);
    ASSERT_EQ(guide.GuideBuffer.Height(), 64);
    EXPECT_EQ(guide.GuideBuffer.Get(127, 0), (Bgra{10, 20, 30, 255}));
    // The block covers the zoomed image both ways: the viewport is the whole fitted picture.
    EXPECT_EQ(frame.Outer, (RectI{0, 32, 128, 96}));
    EXPECT_EQ(frame.Inner, (RectI{1, 33, 127, 95}));
    EXPECT_EQ(guide.Viewport, frame.Outer);

    // Without composing the buffer is left as it was.
    guide.GuideBuffer.Fill({0, 0, 0, 0});
    EXPECT_FALSE(RedrawGuide(doc, guide, bg, true).Composed);
    EXPECT_EQ(guide.GuideBuffer.Get(0, 0), (Bgra{0, 0, 0, 0}));
}

TEST_F(ViewPanelsTest, GuideViewportOfAZoomedView) {
    DocumentRecord doc = Doc(100, 100, 1, 4.0);
    doc.HScrollPos = 32767;
    RedrawAll(doc, {100, 100}, bg, 0);
    ASSERT_EQ(doc.ViewPixels.Width(), 101);
    GuideView guide;
    GuideFrame frame = RedrawGuide(doc, guide, bg, true);
    // left = (399 - 100.75) / 4 * 1 * 128 / 100 = 95.44, right = left + 100.75 / 4 * 127 / 100
    // = 127.43, bottom = 100 / 4 * 127 / 100 = 31.75, each rounded.
    EXPECT_EQ(frame.Outer, (RectI{95, 0, 127, 32}));
}

TEST_F(ViewPanelsTest, GuideOfATallDocumentIsCentredAcross) {
    DocumentRecord doc = Doc(10, 40, 1, 1.0);
    GuideView guide;
    RedrawGuide(doc, guide, bg, false);
    EXPECT_EQ(guide.FittedWidth, 32);
    EXPECT_EQ(guide.FittedHeight, 128);
    EXPECT_EQ(guide.MarginX, 48);
    EXPECT_EQ(guide.MarginY, 0);
}

TEST_F(ViewPanelsTest, ZoomSliderBothWays) {
    EXPECT_EQ(hs2Rev(1.0).Position, 4096);
    EXPECT_EQ(hs2Rev(1.0).Text, "100");
    EXPECT_EQ(hs2Rev(0.1).Position, 1901);  // 4096 * 0.1^(1/3) = 1901.19
    EXPECT_EQ(hs2Rev(0.1).Text, "10");
    EXPECT_EQ(hs2Rev(8.0).Position, 8192);
    EXPECT_EQ(hs2Rev(2.555).Text, "255");
    EXPECT_EQ(hs2Rev(1e-6).Position, 100);  // 40.96, held at the minimum
    EXPECT_EQ(hs2(4096), 1.0);
    EXPECT_EQ(hs2(8192), 8.0);
    EXPECT_EQ(hs2(2048), 0.125);
    for (int32_t p : {100, 1234, 4096, 20000, 32510})
        EXPECT_EQ(hs2Rev(hs2(p)).Position, p);
}

TEST_F(ViewPanelsTest, ClickInTheGuideSetsTheScrollPositions) {
    DocumentRecord doc = Doc(64, 32, 1, 1.0);
    GuideView guide;
    RedrawGuide(doc, guide, bg, true);
    ChangePos(doc, guide, 64, 64);
    // 64 / 128 * 32767 = 16383.5, rounded to even.
    EXPECT_EQ(doc.HScrollPos, 16384);
    EXPECT_EQ(doc.VScrollPos, 16384);
    ChangePos(doc, guide, -5, 200);
    EXPECT_EQ(doc.HScrollPos, 0);
    EXPECT_EQ(doc.VScrollPos, 32767);
    ChangePos(doc, guide, 128, 32);
    EXPECT_EQ(doc.HScrollPos, 32767);
    EXPECT_EQ(doc.VScrollPos, 0);
}

TEST_F(ViewPanelsTest, LayerListRowsTopLayerFirst) {
    DocumentRecord doc = Doc(8, 8, 3, 1.0);
    doc.Layers[2].OffsetX = 3;
    doc.Layers[3].Visible = 0;
    doc.ActiveLID = 2;
    LayerListLayout list = LayoutLayerList(doc, 100, 0);
    EXPECT_TRUE(list.ScrollBarVisible);
    EXPECT_EQ(list.ScrollMax, 62);
    ASSERT_EQ(list.Rows.size(), 2u);  // the third row starts at 108, below the list
    const LayerRow& top = list.Rows[0];
    EXPECT_EQ(top.Lid, 3);
    EXPECT_EQ(top.Top, 0);
    EXPECT_FALSE(top.Active);
    EXPECT_EQ(top.OffsetText, "X:0 Y:0");
    EXPECT_EQ(top.OffsetColor, kOffsetTextWhite);
    EXPECT_EQ(top.EyeSourceX, 0);
    const LayerRow& second = list.Rows[1];
    EXPECT_EQ(second.Lid, 2);
    EXPECT_EQ(second.Top, 54);
    EXPECT_TRUE(second.Active);
    EXPECT_EQ(second.ThumbnailAt, (PointI{4, 57}));
    EXPECT_EQ(second.OffsetText, "X:3 Y:0");
    EXPECT_EQ(second.OffsetColor, kOffsetTextRed);
    EXPECT_EQ(second.OffsetTextAt, (PointI{62, 56}));
    EXPECT_EQ(second.ShowLabel, "表示");
    EXPECT_EQ(second.ShowLabelAt, (PointI{62, 76}));
    EXPECT_EQ(second.EyeAt, (PointI{62, 88}));
    EXPECT_EQ(second.EyeSourceX, 16);

    // Scrolled by 60 the top row is gone and the bottom one shows.
    list = LayoutLayerList(doc, 100, 60);
    ASSERT_EQ(list.Rows.size(), 2u);
    EXPECT_EQ(list.Rows[0].Lid, 2);
    EXPECT_EQ(list.Rows[0].Top, -6);
    EXPECT_EQ(list.Rows[1].Lid, 1);
    // Rows that fit: no bar.
    list = LayoutLayerList(doc, 162, 0);
    EXPECT_FALSE(list.ScrollBarVisible);
    EXPECT_EQ(list.ScrollMax, 0);
    EXPECT_EQ(list.Rows.size(), 3u);
}

TEST_F(ViewPanelsTest, RowAndSwitchUnderThePointer) {
    const double t = 15.0;
    EXPECT_EQ(GetLID(3, 0, t, 0), 3);
    EXPECT_EQ(GetLID(3, 53 * t, t, 0), 3);
    EXPECT_EQ(GetLID(3, 54 * t, t, 0), 2);
    EXPECT_EQ(GetLID(3, 107 * t, t, 0), 2);
    EXPECT_EQ(GetLID(3, 108 * t, t, 0), 1);
    EXPECT_EQ(GetLID(3, 500 * t, t, 0), 1);  // below the last row: held to it
    EXPECT_EQ(GetLID(3, -1 * t, t, 0), 3);   // above the first
    EXPECT_EQ(GetLID(3, 44 * t, t, 10), 2);  // scrolled
    EXPECT_EQ(GetLID(0, 0, t, 0), 0);

    EXPECT_EQ(GetIconPos(62 * t, 34 * t, t, t, 0), 1);
    EXPECT_EQ(GetIconPos(77 * t, 49 * t, t, t, 0), 1);
    EXPECT_EQ(GetIconPos(61 * t, 34 * t, t, t, 0), 0);
    EXPECT_EQ(GetIconPos(78 * t, 34 * t, t, t, 0), 0);
    EXPECT_EQ(GetIconPos(70 * t, 33 * t, t, t, 0), 0);
    EXPECT_EQ(GetIconPos(70 * t, 50 * t, t, t, 0), 0);
    EXPECT_EQ(GetIconPos(70 * t, (54 + 34) * t, t, t, 0), 1);  // second row
    EXPECT_EQ(GetIconPos(70 * t, 14 * t, t, t, 20), 1);        // scrolled
}

TEST_F(ViewPanelsTest, LayerThumbnailStretchesToTheSquare) {
    LayerRecord layer;
    layer.Pixels = PixelBuffer(2, 1);
    layer.Pixels.Set(0, 0, {255, 0, 0, 255});
    layer.Pixels.Set(1, 0, {0, 0, 255, 255});
    layer.OffsetX = 5;  // a thumbnail shows the layer itself
    PixelBuffer thumb = LayerThumbnail(layer, bg);
    ASSERT_EQ(thumb.Width(), 48);
    ASSERT_EQ(thumb.Height(), 48);
    EXPECT_EQ(thumb.Get(0, 0), (Bgra{255, 0, 0, 255}));
    EXPECT_EQ(thumb.Get(23, 47), (Bgra{255, 0, 0, 255}));
    EXPECT_EQ(thumb.Get(24, 47), (Bgra{0, 0, 255, 255}));
    EXPECT_TRUE(LayerThumbnail(LayerRecord{}, bg).Empty());
}

}  // namespace
}  // namespace brv
