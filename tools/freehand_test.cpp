#include "tools/freehand.h"

#include <gtest/gtest.h>

#include <vector>

#include "core/documents.h"
#include "tests/support/fake_host.h"
#include "tools/stamp.h"

namespace brv {
namespace {

using testing::FakeHost;

constexpr double kTwips = 15.0;

// The middle of a view pixel, in twips, at 100% with no scrolling.
double Twips(int32_t px) {
    return px * kTwips + 7.0;
}

class FreehandTest : public ::testing::Test {
protected:
    void SetUp() override {
        state.Paths = ComputeAppPaths("/opt/brivandelle/");
        InitDocTable(state);
        int32_t w = 40, h = 30;
        fid = NewDocument(state, host, w, h);
        state.ActiveFID = fid;
        Doc().Zoom = 1.0;
        Doc().WindowClient = {400, 300};
        Doc().ViewRight = 400;
        Doc().ViewBottom = 300;
        graphicPens.emplace_back();  // slot 0
    }
    DocumentRecord& Doc() { return state.Docs[static_cast<size_t>(fid)]; }
    LayerRecord& Layer(int32_t lid = 1) { return Doc().Layers[static_cast<size_t>(lid)]; }
    PaintContext Ctx() {
        return {state, drag, [this](int32_t i) -> const PixelBuffer* {
                    if (i < 1 || static_cast<size_t>(i) >= graphicPens.size()) return nullptr;
                    return &graphicPens[static_cast<size_t>(i)];
                }};
    }
    CanvasActions Press(int32_t x, int32_t y, double t, int32_t button = kLeftButton) {
        return PenStep(Ctx(), fid, button, 0, Twips(x), Twips(y), t);
    }
    CanvasActions Move(int32_t x, int32_t y, double t, int32_t button = kLeftButton) {
        return CanvasDrag(Ctx(), fid, button, 0, Twips(x), Twips(y), t);
    }
    CanvasActions Release(int32_t x, int32_t y, double t, int32_t button = kLeftButton) {
        return CanvasUp(Ctx(), fid, button, 0, Twips(x), Twips(y), t);
    }
    void UsePen(int32_t size, int32_t soft, int32_t color, int32_t transparency) {
        Layer().Tool = 1;
        Layer().PenParams(1, 1) = size;
        Layer().PenParams(1, 4) = soft;
        Layer().PenColor = color;
        Layer().PenTransparency = transparency;
    }
    std::vector<std::string> Lines() const {
        return {state.Recorder.ActionLines.begin() + 1, state.Recorder.ActionLines.end()};
    }

    FakeHost host;
    CoreState state;
    FreehandState drag;
    std::vector<PixelBuffer> graphicPens;
    int32_t fid = 0;
};

TEST_F(FreehandTest, AStrokeRecordsOneLineAStepInTheExactFormat) {
    UsePen(5, 1, 255, 0);
    StartActionRecording(state.Recorder, fid, "default");
    Press(18, 14, 1000.0);
    CanvasActions step = Move(21, 15, 1016.0);
    EXPECT_EQ(drag.DragState, 1);
    CanvasActions up = Release(21, 15, 1030.0);
    EXPECT_EQ(Lines(),
              (std::vector<std::string>{"DrawPen,1,1,18,14,0,255,5,-32767,-32767,1,0,0,0,0,0,0",
                                        "DrawPen,1,1,21,15,0,255,5,18,14,1,0,0,0,0,0,0"}));
    ASSERT_TRUE(step.RefreshRect);
    EXPECT_EQ(*step.RefreshRect, (RectI{15, 11, 24, 18}));
    EXPECT_TRUE(up.SaveUndo);
    EXPECT_TRUE(up.RefreshLayerWindow);
    EXPECT_EQ(drag.DragState, 0);
    EXPECT_EQ(drag.LastStampTime, 0);
    EXPECT_EQ(Doc().PenLastX, -32767.0f);

    // The same pixels as the two kernel calls the stroke stands for.
    PixelBuffer ref(40, 30);
    RectI rect;
    DrawLineStamps(ref, 18, 14, 18, 14, 5, 255, 0.0, rect, false, 1, 0, false);
    DrawLineStamps(ref, 21, 15, 18, 14, 5, 255, 0.0, rect, false, 1, 5, false);
    EXPECT_EQ(Layer().Pixels, ref);
}

TEST_F(FreehandTest, AMovedLayerTakesLayerPointsAndRefreshesDocumentPixels) {
    UsePen(1, 0, 0, 0);
    Layer().OffsetX = 3;
    Layer().OffsetY = -2;
    CanvasActions a = Press(10, 10, 1000.0);
    EXPECT_EQ(Layer().Pixels.Get(7, 12)->a, 255);
    ASSERT_TRUE(a.RefreshRect);
    EXPECT_EQ(*a.RefreshRect, (RectI{6 + 3, 11 - 2, 8 + 3, 13 - 2}));
}

TEST_F(FreehandTest, AStillPenStampsAgainEvery200Ms) {
    UsePen(1, 0, 0, 0);
    StartActionRecording(state.Recorder, fid, "default");
    Press(5, 5, 1000.0);
    EXPECT_FALSE(Move(5, 5, 1100.0).RefreshRect);
    EXPECT_FALSE(Move(5, 5, 1199.9).RefreshRect);
    EXPECT_EQ(Lines().size(), 1u);
    EXPECT_TRUE(Move(5, 5, 1200.0).RefreshRect);
    EXPECT_EQ(drag.LastStampTime, 1200);
    EXPECT_TRUE(Move(6, 5, 1201.0).RefreshRect);  // any movement stamps at once
    EXPECT_EQ(Lines().size(), 3u);
}

TEST_F(FreehandTest, TheEraserBitesOncePerMillisecond) {
    Layer().Tool = 2;
    Layer().PenParams(2, 1) = 100;
    Layer().PenParams(2, 2) = 1;
    Layer().Pixels.Fill({9, 9, 9, 255});
    Press(5, 5, 1000.2);
    EXPECT_EQ(Layer().Pixels.Get(5, 5)->a, 0);
    EXPECT_FALSE(Move(6, 5, 1000.4).RefreshRect);  // same tick
    EXPECT_EQ(Doc().PenLastX, static_cast<float>(Twips(5)));
    EXPECT_TRUE(Move(6, 5, 1001.0).RefreshRect);
    EXPECT_EQ(Doc().PenLastX, static_cast<float>(Twips(6)));
    EXPECT_EQ(*Layer().Pixels.Get(6, 5), (Bgra{9, 9, 9, 255}));  // the new point comes next
}

TEST_F(FreehandTest, EraserStrengthFollowsItsExponentAndZeroDoesNothing) {
    Layer().Tool = 2;
    Layer().PenParams(1, 4) = 0;  // the pen's box makes the eraser hard
    Layer().PenParams(2, 1) = 30;
    Layer().PenParams(2, 2) = 3;
    Layer().Pixels.Fill({9, 9, 9, 255});
    Press(5, 5, 1000.0);
    // t = 0.3 ^ ((3 - 1) / 5 + 1) * 255 = 47.26, not rounded: 255 - 47.
    for (int32_t y = 4; y <= 6; ++y)
        for (int32_t x = 4; x <= 6; ++x)
            EXPECT_EQ(Layer().Pixels.Get(x, y)->a, 208);
    EXPECT_EQ(Layer().Pixels.Get(3, 5)->a, 255);

    Release(5, 5, 1001.0);
    Layer().PenParams(2, 1) = 0;
    Layer().Pixels.Fill({9, 9, 9, 255});
    Press(5, 5, 2000.0);
    EXPECT_EQ(Layer().Pixels.Get(5, 5)->a, 255);
}

TEST_F(FreehandTest, ProtectIsReadFromThePenLayer) {
    AddLayerSlot(state, fid);
    Doc().ActiveLID = 2;
    UsePen(3, 1, 0x00FF00, 0);
    Layer(1).PenFlag = kYes;
    Press(5, 5, 1000.0);
    Move(9, 6, 1010.0);
    const PixelBuffer& p = Layer(2).Pixels;
    EXPECT_EQ(p.Get(5, 5)->g, 255);
    EXPECT_EQ(p.Get(8, 6)->g, 255);
    for (int32_t y = 0; y < 30; ++y)
        for (int32_t x = 0; x < 40; ++x)
            ASSERT_EQ(p.Get(x, y)->a, 0);
}

class GraphicPenTest : public FreehandTest {
protected:
    void SetUp() override {
        FreehandTest::SetUp();
        PixelBuffer pattern(4, 4);
        for (int32_t y = 0; y < 4; ++y)
            for (int32_t x = 0; x < 4; ++x)
                pattern.Set(x, y, {static_cast<uint8_t>(x * 4 + y), 50, 60, 255});
        graphicPens.push_back(pattern);
        Layer().Tool = 3;
        Layer().PenParams(3, 1) = 1;
        Layer().PenParams(3, 4) = 0;
        Layer().PenParams(3, 5) = 100;
        Layer().PenParams(3, 6) = 0;
        Layer().PenColor = 7;
    }
};

TEST_F(GraphicPenTest, SpacingIsMeasuredAlongTheAxesFromTheLastStamp) {
    StartActionRecording(state.Recorder, fid, "default");
    EXPECT_TRUE(Press(10, 10, 1000.0).RefreshRect);
    EXPECT_FALSE(Move(13, 10, 1010.0).RefreshRect);
    EXPECT_EQ(Doc().PenLastX, static_cast<float>(Twips(10)));
    EXPECT_FALSE(Move(13, 13, 1020.0).RefreshRect);  // 4.2 along the path, 3 on each axis
    CanvasActions a = Move(14, 10, 1030.0);
    ASSERT_TRUE(a.RefreshRect);
    EXPECT_EQ(*a.RefreshRect, (RectI{12, 8, 15, 11}));
    // Without turning, the stamp is its own last position; Transparency is the opacity.
    EXPECT_EQ(Lines().back(), "DrawPen,1,3,14,10,255,7,1,14,10,0,100,0,0,0,0,0");
    EXPECT_EQ(Lines().size(), 2u);
}

TEST_F(GraphicPenTest, ATurningPenStartsAtItsSecondPointAndFollowsTheStroke) {
    Layer().PenParams(3, 6) = 1;
    Layer().OffsetX = 2;
    EXPECT_FALSE(Press(10, 10, 1000.0).RefreshRect);
    EXPECT_EQ(Doc().PenLastX, static_cast<float>(Twips(10)));
    EXPECT_EQ(Layer().Pixels, PixelBuffer(40, 30));
    CanvasActions a = Move(10, 20, 1010.0);  // layer points (8,10) -> (8,20): straight down
    PixelBuffer ref(40, 30);
    RectI rect;
    StampPattern(ref, 8, 20, graphicPens[1], 255, 0.0, 1.0, rect);
    EXPECT_EQ(Layer().Pixels, ref);
    ASSERT_TRUE(a.RefreshRect);
    EXPECT_EQ(*a.RefreshRect, (RectI{6 + 2, 18, 9 + 2, 21}));
}

TEST_F(GraphicPenTest, ANumberBeyondTheListDrawsNothing) {
    Layer().PenParams(3, 1) = 5;
    StartActionRecording(state.Recorder, fid, "default");
    CanvasActions a = Press(10, 10, 1000.0);
    EXPECT_FALSE(a.RefreshRect);
    EXPECT_TRUE(Lines().empty());
    RectI rect;
    DrawPenArgs args;
    args.Params(3, 1) = 5;
    EXPECT_EQ(DrawPen(state, fid, 1, 3, args, Ctx().GraphicPens, rect), kDrawPenNoPattern);
}

// A selection limits every step; only the step's rectangle is copied and restored, and Backup
// still ends up as a whole copy taken before the last step.
TEST_F(FreehandTest, ASelectionKeepsTheStrokeInsideAndBackupIsTheLayerBeforeTheStep) {
    UsePen(5, 1, 0x3366CC, 40);
    Layer().Pixels.Fill({1, 2, 3, 4});
    const PixelBuffer original = Layer().Pixels;
    for (int32_t y = 0; y < 30; ++y)
        for (int32_t x = 0; x < 20; ++x)
            Doc().Selection.bytes[static_cast<size_t>(y * 40 + x)] = 1;

    // The same stroke with no selection, then masked by hand.
    const int32_t path[][2] = {{5, 10}, {12, 12}, {19, 9}, {26, 14}, {35, 10}};
    Press(path[0][0], path[0][1], 1000.0);
    for (int i = 1; i < 5; ++i)
        Move(path[i][0], path[i][1], 1000.0 + 10 * i);
    Release(35, 10, 1100.0);
    PixelBuffer expected = Layer().Pixels;
    for (int32_t y = 0; y < 30; ++y)
        for (int32_t x = 20; x < 40; ++x)
            expected.Set(x, y, *original.Get(x, y));

    Layer().Pixels = original;
    Doc().OutlineCount = 1;
    Press(path[0][0], path[0][1], 2000.0);
    for (int i = 1; i < 5; ++i) {
        const PixelBuffer before = Layer().Pixels;
        Move(path[i][0], path[i][1], 2000.0 + 10 * i);
        ASSERT_EQ(Layer().Backup, before) << "step " << i;
    }
    Release(35, 10, 2100.0);
    EXPECT_EQ(Layer().Pixels, expected);
}

TEST(RestoreUnselected, TheRectangleFormAgreesWithTheWholeScan) {
    DocumentRecord doc;
    doc.Layers.resize(2);
    doc.OutlineCount = 1;
    doc.Selection = {8, 6, std::vector<uint8_t>(48, 0)};
    for (size_t i = 0; i < 48; i += 3)
        doc.Selection.bytes[i] = 1;
    LayerRecord& layer = doc.Layers[1];
    layer.Pixels = PixelBuffer(8, 6);
    BackupForStroke(doc, 1);
    for (int32_t y = 1; y <= 3; ++y)
        for (int32_t x = 2; x <= 5; ++x)
            layer.Pixels.Set(x, y, {1, 1, 1, 1});
    DocumentRecord whole = doc;
    RestoreUnselected(whole, 1);
    RestoreUnselected(doc, 1, RectI{2, 1, 5, 3});
    EXPECT_EQ(doc.Layers[1].Pixels, whole.Layers[1].Pixels);
    EXPECT_NE(doc.Layers[1].Pixels, layer.Backup);
    // Without a selection nothing is backed up or restored.
    doc.OutlineCount = 0;
    layer.Backup.Clear();
    BackupForStroke(doc, 1);
    EXPECT_TRUE(layer.Backup.Empty());
}

TEST_F(FreehandTest, TheRightButtonCancelsADragButAFreehandStrokeStays) {
    UsePen(1, 0, 0, 0);
    Press(5, 5, 1000.0);
    Move(8, 5, 1010.0);
    const PixelBuffer stroke = Layer().Pixels;
    Press(8, 5, 1020.0, kRightButton);
    EXPECT_EQ(drag.DragState, 2);
    EXPECT_EQ(Layer().Pixels, stroke);
    // Both buttons held: nothing happens until a move with the left alone.
    EXPECT_FALSE(Move(12, 5, 1030.0, kLeftButton | kRightButton).RefreshRect);
    CanvasActions up = Release(12, 5, 1040.0, kRightButton);
    EXPECT_FALSE(up.OpenContextMenu);
    EXPECT_EQ(drag.DragState, 0);
}

TEST_F(FreehandTest, TheRightButtonPutsAShapeBack) {
    Layer().Tool = 4;
    Layer().Backup = PixelBuffer(40, 30);
    Layer().Pixels.Fill({5, 5, 5, 5});
    drag.DragState = 1;
    Press(8, 5, 1020.0, kRightButton);
    EXPECT_EQ(Layer().Pixels, PixelBuffer(40, 30));
    EXPECT_EQ(drag.DragState, 2);
}

TEST_F(FreehandTest, ARightClickOpensTheMenuWithin400MsAnd8Pixels) {
    CanvasActions down = Press(10, 10, 5000.0, kRightButton);
    EXPECT_EQ(down.CursorFile, state.Paths.CursorsDir + "Move.cur");
    EXPECT_EQ(Doc().CursorName, "Move");
    EXPECT_EQ(Doc().CursorBase, "Normal");
    CanvasActions up = Release(18, 2, 5399.0, kRightButton);
    EXPECT_TRUE(up.OpenContextMenu);
    EXPECT_TRUE(up.DefaultCursor);

    Press(10, 10, 6000.0, kRightButton);
    EXPECT_FALSE(Release(10, 10, 6400.0, kRightButton).OpenContextMenu);
    Press(10, 10, 7000.0, kRightButton);
    EXPECT_FALSE(Release(19, 10, 7010.0, kRightButton).OpenContextMenu);
}

TEST_F(FreehandTest, TheRightButtonPansAViewLargerThanTheWindow) {
    Doc().Zoom = 20.0;  // 800 by 600 pixels in a window of 400 by 300: f = 0.5
    Doc().HScrollPos = 1000;
    Doc().VScrollPos = 500;
    Press(100, 100, 1000.0, kRightButton);
    CanvasActions a = Move(90, 100, 1100.0, kRightButton);
    EXPECT_TRUE(a.RedrawAll);
    // 1000 + 0.5 / 0.5 * 32767 * 10 / 400 = 1819.175.
    EXPECT_EQ(Doc().HScrollPos, 1819);
    EXPECT_EQ(Doc().VScrollPos, 500);

    Doc().Zoom = 1.0;  // the whole image fits: nothing moves
    Move(0, 0, 1200.0, kRightButton);
    EXPECT_EQ(Doc().HScrollPos, 1819);
}

TEST_F(FreehandTest, AFreehandDragNeverScrollsButAMoveDragDoes) {
    UsePen(1, 0, 0, 0);
    Doc().HScrollPos = 200;
    Press(5, 5, 1000.0);
    CanvasActions a = CanvasDrag(Ctx(), fid, kLeftButton, 0, 400 * kTwips + 100, Twips(5), 1010.0);
    EXPECT_EQ(Doc().HScrollPos, 200);
    EXPECT_FALSE(a.UpdateScrollBars);
    Release(5, 5, 1020.0);

    Layer().Tool = 7;
    a = CanvasDrag(Ctx(), fid, kLeftButton, 0, 400 * kTwips + 100, Twips(5), 2000.0);
    // The layer move follows the pointer, and the view scrolls.
    EXPECT_TRUE(a.UpdateScrollBars);
    EXPECT_EQ(Doc().HScrollPos, 300);
}

TEST(FreehandRules, GraphicPenSpacingEdges) {
    EXPECT_TRUE(GraphicPenStampDue(-1, 5, 5, 5, 10, 10, 100));  // any negative is no position
    EXPECT_TRUE(GraphicPenStampDue(5, 5, 5, 5, 10, 10, 0));     // no spacing: every step
    EXPECT_FALSE(GraphicPenStampDue(5, 5, 7, 7, 5, 5, 50));     // 2.5 is not reached by 2
}

TEST(FreehandRules, ScrollingAndTheContextMenu) {
    // f = 400 / 800; (-(900 - 1050) / 15) = 10 pixels to the left.
    EXPECT_EQ(PanScrollPos(1000, 900.0, 1050.0, 6000.0, 15.0, 800.0), 1000 + 819);
    EXPECT_EQ(PanScrollPos(10, 15000.0, 0.0, 6000.0, 15.0, 800.0), 0);
    EXPECT_EQ(PanScrollPos(1000, 900.0, 1050.0, 6000.0, 15.0, 404.0), std::nullopt);
    EXPECT_EQ(PanScrollPos(1000, 900.0, 1050.0, 0.0, 15.0, 800.0), std::nullopt);

    EXPECT_EQ(EdgeScrollPos(1600.0, 200, 100, 15.0), 300);
    EXPECT_EQ(EdgeScrollPos(-30.0, 200, 100, 15.0), 170);
    EXPECT_EQ(EdgeScrollPos(-300.0, 100, 100, 15.0), 0);
    EXPECT_EQ(EdgeScrollPos(1500.0, 40000, 100, 15.0), 40000);  // inside: untouched
    EXPECT_EQ(EdgeScrollPos(99999.0, 32000, 100, 15.0), 32767);

    EXPECT_TRUE(OpensContextMenu(399.0, 0, 120.0, -120.0, 0.0, 0.0, 15.0, 15.0));
    EXPECT_FALSE(OpensContextMenu(400.0, 0, 0.0, 0.0, 0.0, 0.0, 15.0, 15.0));
    EXPECT_FALSE(OpensContextMenu(10.0, 0, 121.0, 0.0, 0.0, 0.0, 15.0, 15.0));
}

TEST_F(FreehandTest, PlayedLinesDrawThroughTheSameKernel) {
    StartActionRecording(state.Recorder, fid, "default");
    DrawPenArgs args;
    args.X = 3;
    args.Y = 4;
    args.Params(2, 1) = 100;
    args.Params(2, 2) = 2;
    args.Params(2, 3) = kNoPoint;
    args.Params(2, 4) = 7;
    Layer().Pixels.Fill({0, 0, 0, 255});
    RectI rect;
    EXPECT_EQ(DrawPen(state, fid, 1, kPenKindEraser, args, nullptr, rect), kDrawPenOk);
    // No soft box in a played row: the eraser is hard, all four pixels cleared.
    EXPECT_EQ(Layer().Pixels.Get(2, 3)->a, 0);
    EXPECT_EQ(Layer().Pixels.Get(3, 4)->a, 0);
    EXPECT_EQ(Layer().Pixels.Get(4, 4)->a, 255);
    EXPECT_EQ(Lines().back(), "DrawPen,1,2,3,4,0,0,100,2,-32767,7,0,0,0,0,0,0");

    // An unknown kind draws nothing, is still recorded, and reads its row as zeros.
    const PixelBuffer before = Layer().Pixels;
    EXPECT_EQ(DrawPen(state, fid, 1, 99, args, nullptr, rect), kDrawPenOk);
    EXPECT_EQ(Layer().Pixels, before);
    EXPECT_EQ(Lines().back(), "DrawPen,1,99,3,4,0,0,0,0,0,0,0,0,0,0,0,0");
    EXPECT_EQ(DrawPen(state, fid, 9, 1, args, nullptr, rect), kDrawPenNoLayer);
    EXPECT_EQ(DrawPen(state, fid + 5, 1, 1, args, nullptr, rect), kDrawPenNoLayer);
}

}  // namespace
}  // namespace brv
