#include "tools/tool_steps.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/documents.h"
#include "tests/support/fake_host.h"

namespace brv {
namespace {

using testing::FakeHost;

constexpr double kTwips = 15.0;

double Twips(int32_t px) {
    return px * kTwips + 7.0;
}

class ToolStepTest : public ::testing::Test {
protected:
    void SetUp() override {
        state.Paths = ComputeAppPaths("/opt/brivandelle/");
        InitDocTable(state);
        int32_t w = 20, h = 16;
        fid = NewDocument(state, host, w, h);
        state.ActiveFID = fid;
        Doc().Zoom = 1.0;
        Doc().WindowClient = {400, 300};
        Doc().ViewRight = 400;
        Doc().ViewBottom = 300;
        tiles.emplace_back();
        PixelBuffer tile(2, 1);
        tile.Set(0, 0, {1, 2, 3, 255});
        tile.Set(1, 0, {4, 5, 6, 255});
        tiles.push_back(tile);
        StartActionRecording(state.Recorder, fid, "t");
    }
    DocumentRecord& Doc() { return state.Docs[static_cast<size_t>(fid)]; }
    LayerRecord& Layer(int32_t lid = 1) { return Doc().Layers[static_cast<size_t>(lid)]; }
    LayerRecord& Pen() { return Layer(Doc().PenLID); }
    PaintContext Ctx() {
        return PaintContext(
            state, drag, nullptr,
            [this](int32_t i) -> const PixelBuffer* {
                if (i < 1 || static_cast<size_t>(i) >= tiles.size()) return nullptr;
                return &tiles[static_cast<size_t>(i)];
            },
            [](const PixelBuffer& p) {
                return "P" + std::to_string(p.Width()) + "x" + std::to_string(p.Height());
            });
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
    std::vector<std::string> Lines() const {
        return {state.Recorder.ActionLines.begin() + 1, state.Recorder.ActionLines.end()};
    }
    int32_t AddLayer() {
        const int32_t lid = AddLayerSlot(state, fid);
        Doc().ActiveLID = lid;
        return lid;
    }

    FakeHost host;
    CoreState state;
    FreehandState drag;
    std::vector<PixelBuffer> tiles;
    int32_t fid = 0;
};

TEST_F(ToolStepTest, AFillIsOnePressOneLineAndOneUndoStep) {
    Pen().Tool = 5;
    Pen().PenColor = 0x00FF00;
    Pen().PenParams(5, 1) = 0;
    Pen().PenParams(5, 2) = 30;
    Pen().PenParams(5, 3) = 0;
    const CanvasActions a = Press(3, 4, 100.0);
    EXPECT_TRUE(a.FullRefresh);
    // Blend 225 over nothing: sa = 30, the colour whole.
    EXPECT_EQ(*Layer().Pixels.Get(19, 15), (Bgra{0, 255, 0, 30}));
    Move(5, 5, 110.0);
    EXPECT_TRUE(Release(5, 5, 120.0).SaveUndo);
    // With a plain colour the blend field is the bar's value.
    EXPECT_EQ(Lines(), (std::vector<std::string>{"PenFill,1,3,4,P1x1,30,0,255,0"}));
}

TEST_F(ToolStepTest, ATileFillRecordsTheComplementOfTheBlendAndTilesFromTheCorner) {
    Pen().Tool = 5;
    Pen().PenParams(5, 2) = 255;
    Pen().PenParams(5, 3) = 1;
    Press(3, 4, 100.0);
    EXPECT_EQ(*Layer().Pixels.Get(0, 0), (Bgra{1, 2, 3, 255}));
    EXPECT_EQ(*Layer().Pixels.Get(3, 4), (Bgra{4, 5, 6, 255}));
    EXPECT_EQ(Lines(), (std::vector<std::string>{"PenFill,1,3,4,P2x1,0,20,255,0"}));
    // A point outside fills nothing, still one undo step at the release.
    const PixelBuffer before = Layer().Pixels;
    Layer().Pixels.Fill({});
    Press(25, 4, 200.0);
    EXPECT_EQ(Layer().Pixels, PixelBuffer(20, 16));
    EXPECT_TRUE(Release(25, 4, 210.0).SaveUndo);
}

TEST_F(ToolStepTest, TheLayerBelowGivesTheShapeAndTheFillLandsOnTheActiveLayer) {
    // A closed box on layer 1, a moved layer 2 on top.
    for (int i = 2; i <= 8; ++i)
        for (auto [x, y] : {std::pair{i, 2}, {i, 8}, {2, i}, {8, i}})
            Layer(1).Pixels.Set(x, y, {0, 0, 0, 255});
    const PixelBuffer lowerBefore = Layer(1).Pixels;
    const int32_t top = AddLayer();
    Layer(top).OffsetX = 1;
    Doc().PenLID = top;
    Pen().Tool = 5;
    Pen().PenColor = 0x0000FF;
    Pen().PenParams(5, 1) = 0;
    Pen().PenParams(5, 2) = 255;
    Pen().PenParams(5, 4) = 1;
    // Layer point (4, 5) is document (5, 5), inside the box.
    Press(5, 5, 100.0);
    EXPECT_EQ(Layer(1).Pixels, lowerBefore);
    EXPECT_EQ(*Layer(top).Pixels.Get(2, 5), (Bgra{0, 0, 255, 255}));  // document (3, 5)
    EXPECT_EQ(*Layer(top).Pixels.Get(6, 7), (Bgra{0, 0, 255, 255}));  // document (7, 7)
    EXPECT_EQ(Layer(top).Pixels.Get(7, 5)->a, 0);                     // the wall
    EXPECT_EQ(Layer(top).Pixels.Get(1, 5)->a, 0);                     // outside
    EXPECT_EQ(Lines(), (std::vector<std::string>{"PenFill,2,4,5,P1x1,255,0,255,1"}));
}

TEST_F(ToolStepTest, AStrokeToolWorksOncePerTickWhileHeldStill) {
    Pen().Tool = 15;
    Pen().PenParams(15, 1) = 100;
    Pen().PenParams(15, 2) = 1;
    Pen().PenParams(1, 4) = 1;
    Press(4, 4, 100.0);
    EXPECT_EQ(Layer().Pixels.Get(4, 4)->a, 100);
    const CanvasActions same = Move(4, 4, 100.2);  // rounds to the same tick
    EXPECT_FALSE(same.RefreshRect);
    EXPECT_EQ(Layer().Pixels.Get(4, 4)->a, 100);
    const CanvasActions next = Move(4, 4, 101.0);
    ASSERT_TRUE(next.RefreshRect);
    EXPECT_EQ(*next.RefreshRect, (RectI{3, 3, 5, 5}));
    EXPECT_EQ(Layer().Pixels.Get(4, 4)->a, 200);
    EXPECT_EQ(Lines(), (std::vector<std::string>{"PenAlpha,1,4,4,4,4,100,1,1,3,3,5,5",
                                                 "PenAlpha,1,4,4,4,4,100,1,1,3,3,5,5"}));
}

TEST_F(ToolStepTest, EachStrokeToolRecordsItsOwnLine) {
    Pen().PenFlag = -1;
    Pen().PenParams(11, 3) = 20;
    Pen().PenParams(11, 4) = 3;
    Pen().PenParams(12, 3) = -7;
    Pen().PenParams(12, 4) = 2;
    Pen().PenParams(13, 3) = 9;
    Pen().PenParams(13, 4) = 4;
    for (int32_t tool : {11, 12, 13}) {
        Pen().Tool = tool;
        Press(2, 3, 100.0 * tool);
        Move(6, 5, 100.0 * tool + 5);
        Release(6, 5, 100.0 * tool + 9);
    }
    EXPECT_EQ(Lines(), (std::vector<std::string>{
                           "PenBaking,1,2,3,2,3,3,20", "PenBaking,1,6,5,2,3,3,20",
                           "PenScumble,1,2,3,2,3,2,-7,True", "PenScumble,1,6,5,2,3,2,-7,True",
                           "PenFingerDraw,1,2,3,2,3,4,9", "PenFingerDraw,1,2,3,6,5,4,9"}));
}

TEST_F(ToolStepTest, ARectangleFollowsThePointerAndOnlyTheLastOneIsKept) {
    Pen().Tool = 10;
    Pen().PenParams(1, 1) = 1;
    Pen().PenParams(1, 4) = 0;
    Pen().PenColor = 0x0000FF;
    Pen().PenTransparency = 55;
    Press(2, 2, 100.0);
    const CanvasActions first = Move(9, 7, 110.0);
    ASSERT_TRUE(first.RefreshRect);
    EXPECT_EQ(Layer().Pixels.Get(9, 7)->a, 200);
    const CanvasActions second = Move(5, 4, 120.0);
    EXPECT_EQ(Layer().Pixels.Get(9, 7)->a, 0);  // the first shape is gone
    EXPECT_EQ(Layer().Pixels.Get(5, 4)->a, 200);
    // The refresh covers where the shape was and where it is.
    ASSERT_TRUE(second.RefreshRect);
    EXPECT_LE(second.RefreshRect->right, 10);
    EXPECT_GE(second.RefreshRect->right, 9);
    EXPECT_TRUE(Lines().empty());
    EXPECT_EQ(state.Recorder.PendingAction, "PenRect,1,2,2,5,4,1,255,200,0,0");
    const CanvasActions up = Release(5, 4, 130.0);
    EXPECT_TRUE(up.FullRefresh);
    EXPECT_TRUE(up.SaveUndo);
    EXPECT_EQ(Lines(), (std::vector<std::string>{"PenRect,1,2,2,5,4,1,255,200,0,0"}));
    EXPECT_TRUE(state.Recorder.PendingAction.empty());
}

TEST_F(ToolStepTest, TheRightButtonTakesAShapeBackAndTheNextMoveStartsAnew) {
    Pen().Tool = 4;
    Pen().PenParams(1, 1) = 1;
    Layer().Pixels.Set(0, 0, {9, 9, 9, 9});
    const PixelBuffer before = Layer().Pixels;
    Press(2, 2, 100.0);
    Move(8, 2, 110.0);
    EXPECT_EQ(Layer().Pixels.Get(5, 2)->a, 255);
    const CanvasActions cancel = Press(8, 2, 120.0, kRightButton);
    EXPECT_TRUE(cancel.RedrawAll);
    EXPECT_EQ(Layer().Pixels, before);
    Move(2, 6, 130.0);
    EXPECT_EQ(Layer().Pixels.Get(5, 2)->a, 0);
    EXPECT_EQ(Layer().Pixels.Get(2, 5)->a, 255);
}

TEST_F(ToolStepTest, ALineFromAPointToItselfIsOneStamp) {
    Pen().Tool = 4;
    Pen().PenParams(1, 1) = 1;
    Pen().PenTransparency = 100;
    Press(3, 3, 100.0);
    Move(3, 3, 110.0);
    int painted = 0;
    for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 20; ++x)
            painted += Layer().Pixels.Get(x, y)->a != 0;
    EXPECT_EQ(painted, 1);
    EXPECT_EQ(Layer().Pixels.Get(3, 3)->a, 155);
    Release(3, 3, 120.0);
    // The transparency as laid: AdjustTransparency(100, 1) = 100.
    EXPECT_EQ(Lines(), (std::vector<std::string>{"PenLine,1,3,3,3,3,1,0,100,1,0"}));
}

TEST_F(ToolStepTest, TheEllipsesLineTakesItsYByTheRulesOfX) {
    Layer().OffsetY = 3;
    Pen().Tool = 14;
    Pen().PenParams(1, 1) = 1;
    Press(4, 9, 100.0);   // layer (4, 6)
    Move(10, 13, 110.0);  // layer (10, 10); the line's y: 13 - OffsetX = 13
    Release(10, 13, 120.0);
    EXPECT_EQ(Lines(), (std::vector<std::string>{"PenElipse,1,10,13,4,6,1,0,0,1,0"}));
    EXPECT_EQ(Layer().Pixels.Get(10, 8)->a, 255);  // drawn with the true y
}

TEST_F(ToolStepTest, ALayerMoveSnapsToTheGrid) {
    Doc().GridSnap = kYes;
    Doc().GridSize = 4;
    Pen().Tool = 7;
    Press(3, 2, 100.0);  // the grip snaps to (0, 0)
    const CanvasActions a = Move(10, 13, 110.0);
    EXPECT_TRUE(a.RedrawAll);
    EXPECT_EQ(Layer().OffsetX, 8);
    EXPECT_EQ(Layer().OffsetY, 12);
    Release(10, 13, 120.0);
    EXPECT_EQ(Lines(), (std::vector<std::string>{"PenLayerMove,1,8,12"}));
}

TEST_F(ToolStepTest, APickFollowsThePointerAndIsNoUndoStep) {
    Pen().Tool = 8;
    Layer().Pixels.Set(2, 2, {30, 20, 10, 200});
    CanvasActions a = Press(1, 1, 100.0);
    EXPECT_TRUE(a.ShowPenState);
    EXPECT_EQ(Pen().PenTransparency, 255);  // nothing there
    a = Move(2, 2, 110.0);
    EXPECT_TRUE(a.ShowPenState);
    EXPECT_EQ(Pen().PenColor, 0x1E140A);
    EXPECT_EQ(Pen().PenTransparency, 55);
    EXPECT_FALSE(Release(2, 2, 120.0).SaveUndo);
}

TEST_F(ToolStepTest, TheHotSpotMovesOnTheReleaseInsideTheImageOnly) {
    Pen().Tool = 16;
    Doc().HotspotX = 1;
    Doc().HotspotY = 1;
    Press(30, 3, 100.0);
    Release(30, 3, 110.0);
    EXPECT_EQ(Doc().HotspotX, 1);
    EXPECT_TRUE(Lines().empty());
    Doc().ShowHotspot = kYes;
    Press(7, 5, 200.0);
    const CanvasActions up = Release(7, 5, 210.0);
    EXPECT_TRUE(up.RedrawAll);
    EXPECT_TRUE(up.ShowPenState);
    EXPECT_EQ(Doc().HotspotX, 7);
    EXPECT_EQ(Doc().HotspotY, 5);
    EXPECT_EQ(Lines(), (std::vector<std::string>{"PenHotspot,1,7,5"}));
}

TEST_F(ToolStepTest, ASelectionKeepsAShapeInsideOnEveryMove) {
    Doc().Selection.width = 20;
    Doc().Selection.height = 16;
    Doc().Selection.bytes.assign(20 * 16, 0);
    for (int x = 0; x < 6; ++x)
        Doc().Selection.bytes[static_cast<size_t>(2 * 20 + x)] = 1;
    Doc().OutlineCount = 1;
    Pen().Tool = 4;
    Pen().PenParams(1, 1) = 1;
    Press(2, 2, 100.0);
    Move(12, 2, 110.0);
    EXPECT_EQ(Layer().Pixels.Get(5, 2)->a, 255);
    EXPECT_EQ(Layer().Pixels.Get(6, 2)->a, 0);
    Move(2, 9, 120.0);
    EXPECT_EQ(Layer().Pixels.Get(5, 2)->a, 0);
    EXPECT_EQ(Layer().Pixels.Get(2, 5)->a, 0);
    EXPECT_EQ(Layer().Pixels.Get(2, 2)->a, 255);
}

}  // namespace
}  // namespace brv
