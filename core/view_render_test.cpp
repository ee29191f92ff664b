#include "core/view_render.h"

#include <gtest/gtest.h>

#include <cmath>

#include "core/compositor.h"
#include "core/documents.h"
#include "core/sprites.h"
#include "core/startup.h"
#include "core/view_test_document.h"
#include "tests/support/fake_host.h"

namespace brv {
namespace {

using testing::FakeHost;

// A document of opaque layers whose pixel (x, y) is (x, y, lid) in blue, green, red.
DocumentRecord Doc(int32_t w, int32_t h, int32_t layers, double zoom) {
    DocumentRecord doc = testing::MakeViewTestDocument(w, h, layers, zoom);
    for (int32_t lid = 1; lid <= layers; ++lid) {
        PixelBuffer& p = doc.Layers[static_cast<size_t>(lid)].Pixels;
        for (int32_t y = 0; y < h; ++y)
            for (int32_t x = 0; x < w; ++x)
                p.Set(x, y,
                      {static_cast<uint8_t>(x), static_cast<uint8_t>(y), static_cast<uint8_t>(lid),
                       255});
    }
    return doc;
}

// The block pixel at (i, j) counted from the top of the view.
Bgra BlockAt(const DocumentRecord& doc, int32_t i, int32_t j) {
    return *doc.ViewPixels.Get(i, doc.ViewPixels.Height() - 1 - j);
}

class ViewRenderTest : public ::testing::Test {
protected:
    PixelBuffer bg = MakeBackgroundTile(320, 240);
    FakeHost host;
};

TEST_F(ViewRenderTest, AllLayersHiddenOnlyClears) {
    DocumentRecord doc = Doc(8, 8, 2, 1.0);
    doc.Layers[1].Visible = 0;
    doc.Layers[2].Visible = 0;
    doc.ViewPixels = PixelBuffer(3, 3);
    doc.ViewPixels.Fill({1, 2, 3, 4});
    const PixelBuffer before = doc.ViewPixels;
    doc.ViewLeft = 77;

    EXPECT_EQ(RedrawAll(doc, {40, 40}, bg, 0).Action, ViewAction::Clear);
    RectI dirty{0, 0, 7, 7};
    EXPECT_EQ(RedrawDirty(doc, host, {40, 40}, bg, 0, dirty).Action, ViewAction::Clear);
    // Nothing was composited or recorded.
    EXPECT_EQ(doc.ViewPixels, before);
    EXPECT_EQ(doc.ViewLeft, 77);
    EXPECT_TRUE(host.messages.empty());

    DocumentRecord closed = Doc(8, 8, 1, 1.0);
    closed.InUse = kNo;
    EXPECT_EQ(RedrawAll(closed, {40, 40}, bg, 0).Action, ViewAction::Keep);
}

TEST_F(ViewRenderTest, SmallImageIsCentred) {
    DocumentRecord doc = Doc(10, 6, 1, 1.0);
    // Zoomed width 9 (the last column index): the block is min(40, 9 - 1) + 1 = 9 wide, one
    // column short of the image, as the view arithmetic has it.
    ViewFrame frame = RedrawAll(doc, {40, 20}, bg, 0);
    ASSERT_EQ(frame.Action, ViewAction::Paint);
    EXPECT_EQ(frame.BlockWidth, 9);
    EXPECT_EQ(frame.BlockHeight, 5);
    // (40 - 9) / 2 = 15.5 and (20 - 5) / 2 = 7.5 are stored rounded to even: 16 and 8.
    EXPECT_EQ(frame.BlockOrigin, (PointI{16, 8}));
    EXPECT_EQ((RectI{doc.ViewLeft, doc.ViewTop, doc.ViewRight, doc.ViewBottom}),
              (RectI{0, 0, 8, 4}));
    EXPECT_EQ(doc.ViewOffsetX, 16);
    EXPECT_EQ(doc.ViewOffsetY, 8);
    EXPECT_EQ(BlockAt(doc, 0, 0), (Bgra{0, 0, 1, 255}));
    EXPECT_EQ(BlockAt(doc, 8, 4), (Bgra{8, 4, 1, 255}));
    EXPECT_EQ(frame.Changed, (RectI{0, 0, 40, 20}));

    // Scrolled to the end the one spare column moves the view by one.
    doc.HScrollPos = 32767;
    RedrawAll(doc, {40, 20}, bg, 0);
    EXPECT_EQ(doc.ViewLeft, 1);
    EXPECT_EQ(BlockAt(doc, 8, 0), (Bgra{9, 0, 1, 255}));
}

TEST_F(ViewRenderTest, LargeImageFollowsTheScrollBars) {
    DocumentRecord doc = Doc(100, 80, 1, 2.0);
    doc.HScrollPos = 16384;
    doc.VScrollPos = 32767;
    ViewFrame frame = RedrawAll(doc, {50, 40}, bg, 0);
    // Zoomed 199 by 159; left = round((199 - 50) * 16384 / 32767) = round(74.502) = 75,
    // top = 159 - 40 = 119.
    EXPECT_EQ(frame.BlockWidth, 51);
    EXPECT_EQ(frame.BlockHeight, 41);
    EXPECT_EQ(frame.BlockOrigin, (PointI{0, 0}));
    EXPECT_EQ((RectI{doc.ViewLeft, doc.ViewTop, doc.ViewRight, doc.ViewBottom}),
              (RectI{75, 119, 125, 159}));
    // Block column i shows document column (75 + i) / 2.
    EXPECT_EQ(BlockAt(doc, 0, 0), (Bgra{37, 59, 1, 255}));
    EXPECT_EQ(BlockAt(doc, 1, 1), (Bgra{38, 60, 1, 255}));
    EXPECT_EQ(BlockAt(doc, 50, 40), (Bgra{62, 79, 1, 255}));
}

TEST_F(ViewRenderTest, OneByOneDocument) {
    DocumentRecord doc = Doc(1, 1, 1, 1.0);
    EXPECT_EQ(ZoomedWidth(doc), 0);
    doc.Zoom = 5.0;
    EXPECT_EQ(ZoomedWidth(doc), 4);
    doc.Zoom = 0.5;
    EXPECT_EQ(ZoomedWidth(doc), -1);

    doc.Zoom = 1.0;
    ViewFrame frame = RedrawAll(doc, {30, 30}, bg, 0);
    EXPECT_EQ(frame.BlockWidth, 1);
    EXPECT_EQ(doc.ViewRight, -1);  // left + vw before vw is held at 0
    EXPECT_EQ(BlockAt(doc, 0, 0), (Bgra{0, 0, 1, 255}));
    EXPECT_EQ(frame.BlockOrigin, (PointI{14, 14}));  // 29 / 2 = 14.5, to even
}

TEST_F(ViewRenderTest, DirtyRedrawWritesOnlyTheRectangle) {
    DocumentRecord doc = Doc(16, 16, 2, 2.0);
    ASSERT_EQ(RedrawAll(doc, {100, 100}, bg, 0).Action, ViewAction::Paint);
    const PixelBuffer before = doc.ViewPixels;
    doc.Layers[2].Pixels.Fill({200, 201, 202, 255});

    RectI dirty{5, 7, 3, 4};  // inverted both ways
    ViewFrame frame = RedrawDirty(doc, host, {100, 100}, bg, 0, dirty);
    ASSERT_EQ(frame.Action, ViewAction::Paint);
    EXPECT_EQ(dirty, (RectI{3, 4, 5, 7}));
    EXPECT_TRUE(host.messages.empty());
    // Document 3..5 by 4..7 at 200% is block 6..11 by 8..15; the block sits at (34, 34).
    EXPECT_EQ(frame.Changed, (RectI{34 + 6, 34 + 8, 34 + 12, 34 + 16}));
    int changed = 0;
    for (int32_t j = 0; j < frame.BlockHeight; ++j) {
        for (int32_t i = 0; i < frame.BlockWidth; ++i) {
            const bool inside = i >= 6 && i <= 11 && j >= 8 && j <= 15;
            const Bgra was = *before.Get(i, before.Height() - 1 - j);
            if (inside) {
                EXPECT_EQ(BlockAt(doc, i, j), (Bgra{200, 201, 202, 255})) << i << "," << j;
                ++changed;
            } else {
                EXPECT_EQ(BlockAt(doc, i, j), was) << i << "," << j;
            }
        }
    }
    EXPECT_EQ(changed, 48);
}

TEST_F(ViewRenderTest, CompositorFailureShowsKRDErrOnlyOnTheDirtyRoad) {
    DocumentRecord doc = Doc(16, 16, 1, 1.0);
    RedrawAll(doc, {100, 100}, bg, 0);
    const PixelBuffer before = doc.ViewPixels;
    // A client that shrank since: the block no longer fits the view it would be asked for.
    RectI dirty{0, 0, 3, 3};
    ViewFrame frame = RedrawDirty(doc, host, {8, 8}, bg, 0, dirty);
    EXPECT_EQ(frame.Action, ViewAction::Keep);
    EXPECT_EQ(host.messages, std::vector<std::string>{"KRDErr"});
    EXPECT_EQ(doc.ViewPixels, before);

    // The full redraw makes a block of the right size and says nothing.
    host.messages.clear();
    EXPECT_EQ(RedrawAll(doc, {8, 8}, bg, 0).Action, ViewAction::Paint);
    EXPECT_TRUE(host.messages.empty());
}

TEST_F(ViewRenderTest, ZoomChangeHoldsItsLimits) {
    DocumentRecord doc = Doc(4, 4, 1, 1.0);
    EXPECT_EQ(ZoomChange(doc, 1000.0, false), 500.0);
    EXPECT_EQ(doc.Zoom, 500.0);
    EXPECT_EQ(ZoomChange(doc, 0.01, false), 0.1);
    EXPECT_EQ(ZoomChange(doc, 500.0, false), 500.0);
    EXPECT_EQ(ZoomChange(doc, 0.1, false), 0.1);
    // Relative values multiply the present zoom before the limits apply.
    doc.Zoom = 300.0;
    EXPECT_EQ(ZoomChange(doc, 2.0, true), 500.0);
    doc.Zoom = 0.15;
    EXPECT_EQ(ZoomChange(doc, 0.5, true), 0.1);
    doc.Zoom = 4.0;
    EXPECT_EQ(ZoomChange(doc, 1.25, true), 5.0);
    EXPECT_EQ(ZoomChange(doc, std::nan(""), false), 5.0);
}

TEST_F(ViewRenderTest, GridLinesEveryGridSize) {
    DocumentRecord doc = Doc(10, 6, 1, 2.0);
    doc.GridSize = 4;
    doc.ViewOffsetX = 3;
    doc.ViewOffsetY = 1;
    doc.ViewLeft = 2;
    PolyPolyline grid = DrawGrid(doc);
    EXPECT_EQ(grid.Style, PenStyle::Solid);
    EXPECT_EQ(grid.Color, 0);
    EXPECT_EQ(grid.Counts, (std::vector<int32_t>{2, 2, 2, 2, 2}));
    // Columns 0, 4, 8 at 2 * x + 3 - 2 from row 0 (y 1) to row 6 (y 13); rows 0 and 4 from
    // x 1 to x 21.
    const std::vector<PointI> want{{1, 1},   {1, 13}, {9, 1},  {9, 13}, {17, 1},
                                   {17, 13}, {1, 1},  {21, 1}, {1, 9},  {21, 9}};
    EXPECT_EQ(grid.Points, want);

    doc.GridSize = 0;
    EXPECT_TRUE(DrawGrid(doc).Points.empty());
    doc.GridSize = 4;
    doc.GridVisible = kYes;
    EXPECT_TRUE(RedrawAll(doc, {100, 100}, bg, 0).Grid.has_value());
    doc.GridVisible = kNo;
    EXPECT_FALSE(RedrawAll(doc, {100, 100}, bg, 0).Grid.has_value());
}

TEST_F(ViewRenderTest, OutlineOfATwoPixelSelection) {
    DocumentRecord doc = Doc(4, 3, 1, 4.0);
    doc.Selection = {4, 3, std::vector<uint8_t>(12, 0)};
    doc.Selection.bytes[1 * 4 + 1] = 1;
    doc.Selection.bytes[1 * 4 + 2] = 255;
    doc.ViewOffsetX = 10;
    doc.ViewOffsetY = 20;
    BuildOutline(doc);
    ASSERT_EQ(doc.OutlineCount, 6);
    EXPECT_EQ(doc.OutlineLengths, std::vector<int32_t>(6, 2));
    // Pixel (1,1) spans 14..18 by 24..28, pixel (2,1) 18..22 by 24..28: top, bottom and left of
    // the first, then top, right and bottom of the second.
    const std::vector<PointI> want{{14, 24}, {18, 24}, {14, 28}, {18, 28}, {14, 24}, {14, 28},
                                   {18, 24}, {22, 24}, {22, 24}, {22, 28}, {18, 28}, {22, 28}};
    EXPECT_EQ(doc.OutlinePoints, want);
    ASSERT_EQ(doc.OutlineShadow.size(), want.size());
    for (size_t i = 0; i < want.size(); ++i)
        EXPECT_EQ(doc.OutlineShadow[i], (PointI{want[i].x + 1, want[i].y + 1}));

    // Edges of the document count as unselected; an emptied mask clears the outline.
    doc.Selection.bytes.assign(12, 1);
    BuildOutline(doc);
    EXPECT_EQ(doc.OutlineCount, 2 * 4 + 2 * 3);
    doc.Selection.bytes.assign(12, 0);
    BuildOutline(doc);
    EXPECT_EQ(doc.OutlineCount, 0);
    EXPECT_TRUE(doc.OutlinePoints.empty());
    EXPECT_TRUE(doc.OutlineShadow.empty());
}

TEST_F(ViewRenderTest, MarchingAntsAlternate) {
    DocumentRecord doc = Doc(4, 4, 1, 1.0);
    int32_t phase = 0;
    EXPECT_TRUE(DrawMarchingAnts(doc, phase, false).empty());
    EXPECT_EQ(phase, 0);  // no selection: no flip either

    doc.OutlineCount = 4;
    auto passes = DrawMarchingAnts(doc, phase, false);
    EXPECT_EQ(phase, 1);
    ASSERT_EQ(passes.size(), 2u);
    EXPECT_EQ(passes[0].Style, PenStyle::Solid);
    EXPECT_EQ(passes[0].Color, 0xFFFFFF);
    EXPECT_EQ(passes[1].Style, PenStyle::Dot);
    EXPECT_EQ(passes[1].Color, 0);
    passes = DrawMarchingAnts(doc, phase, true);
    EXPECT_EQ(phase, 1);
    passes = DrawMarchingAnts(doc, phase, false);
    EXPECT_EQ(phase, 0);
    EXPECT_EQ(passes[0].Color, 0);
    EXPECT_EQ(passes[1].Color, 0xFFFFFF);
}

TEST_F(ViewRenderTest, HotspotMarkerSitsOnThePixelCentre) {
    DocumentRecord doc = Doc(32, 32, 1, 8.0);
    EXPECT_FALSE(DrawHotspot(doc, 0).has_value());
    doc.ShowHotspot = kYes;
    doc.HotspotX = 2;
    doc.HotspotY = 3;
    doc.ViewOffsetX = 5;
    doc.ViewTop = 4;
    // x: 16 + 5 + 4 = 25, y: 24 - 4 + 4 = 24; the corner 16 up and left.
    auto mark = DrawHotspot(doc, 9);
    ASSERT_TRUE(mark.has_value());
    EXPECT_EQ(mark->Corner, (PointI{9, 8}));
    EXPECT_EQ(mark->SpriteX, HotspotSpriteX(9));
    EXPECT_EQ(mark->SpriteX, 32);

    // At 100% the half pixel is rounded to even: 3.5 gives 4 and 4.5 gives 4 as well.
    doc.Zoom = 1.0;
    doc.ViewOffsetX = 0;
    doc.HotspotX = 3;
    EXPECT_EQ(DrawHotspot(doc, 0)->Corner.x, 4 - 16);
    doc.HotspotX = 4;
    EXPECT_EQ(DrawHotspot(doc, 0)->Corner.x, 4 - 16);
}

TEST_F(ViewRenderTest, TimerMovesAntsAndHotspotFrames) {
    DocumentRecord doc = Doc(8, 8, 1, 1.0);
    ViewTimer timer;
    TimerFrame none = TimerTick(timer, nullptr);
    EXPECT_EQ(timer.Counter, 1);
    EXPECT_TRUE(none.Ants.empty());
    EXPECT_FALSE(none.Hotspot.has_value());

    doc.OutlineCount = 1;
    doc.ShowHotspot = kYes;
    const int32_t frames = HotspotSprites().FrameCount;
    std::vector<int32_t> seen;
    for (int i = 0; i < frames + 1; ++i) {
        TimerFrame f = TimerTick(timer, &doc);
        ASSERT_TRUE(f.Hotspot.has_value());
        ASSERT_EQ(f.Ants.size(), 2u);
        EXPECT_EQ(f.Ants[0].Color, timer.AntsPhase * 0xFFFFFF);
        seen.push_back(f.Hotspot->SpriteX);
    }
    EXPECT_EQ(timer.Counter, frames + 2);
    EXPECT_EQ(seen.front(), seen.back());  // the frames come round again
    EXPECT_NE(seen[0], seen[1]);
}

}  // namespace
}  // namespace brv
