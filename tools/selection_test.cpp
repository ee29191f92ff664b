#include "tools/selection.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "core/documents.h"
#include "core/view_render.h"
#include "tests/support/fake_host.h"

namespace brv {
namespace {

using testing::FakeHost;

constexpr double kTwips = 15.0;

double Twips(int32_t px) {
    return px * kTwips + 7.0;
}

// The mask as rows of '#' (1), '.' (0) and '?' (anything else), for readable expectations.
std::vector<std::string> Picture(const SelectionMask& m) {
    std::vector<std::string> rows;
    for (int32_t y = 0; y < m.height; ++y) {
        std::string row;
        for (int32_t x = 0; x < m.width; ++x) {
            const uint8_t b = m.bytes[static_cast<size_t>(y * m.width + x)];
            row += b == 1 ? '#' : b == 0 ? '.' : '?';
        }
        rows.push_back(row);
    }
    return rows;
}

class SelectionTest : public ::testing::Test {
protected:
    void SetUp() override { MakeDocument(9, 7); }
    void MakeDocument(int32_t w, int32_t h) {
        state = CoreState{};
        state.Paths = ComputeAppPaths("/opt/brivandelle/");
        InitDocTable(state);
        fid = NewDocument(state, host, w, h);
        state.ActiveFID = fid;
        Doc().Zoom = 1.0;
        Doc().WindowClient = {400, 300};
        Doc().ViewRight = 400;
        Doc().ViewBottom = 300;
    }
    DocumentRecord& Doc() { return state.Docs[static_cast<size_t>(fid)]; }
    LayerRecord& Layer(int32_t lid = 1) { return Doc().Layers[static_cast<size_t>(lid)]; }
    PaintContext Ctx() {
        return PaintContext(state, drag, nullptr, nullptr, nullptr, [](const SelectionMask& m) {
            return "mask" + std::to_string(m.width) + "x" + std::to_string(m.height);
        });
    }
    void Polygon(std::vector<PointF> points, bool add = false) {
        points.push_back(points.front());
        MakeSelection(Doc(), points, add);
    }
    void Select(std::vector<std::string> rows) {
        for (int32_t y = 0; y < Doc().Height; ++y)
            for (int32_t x = 0; x < Doc().Width; ++x)
                Doc().Selection.bytes[static_cast<size_t>(y * Doc().Width + x)] =
                    rows[static_cast<size_t>(y)][static_cast<size_t>(x)] == '#' ? 1 : 0;
        BuildOutline(Doc());
    }
    int32_t AddLayer() {
        const int32_t lid = AddLayerSlot(state, fid);
        Doc().ActiveLID = lid;
        return lid;
    }
    std::vector<std::string> Lines() const {
        return {state.Recorder.ActionLines.begin() + 1, state.Recorder.ActionLines.end()};
    }

    FakeHost host;
    CoreState state;
    FreehandState drag;
    int32_t fid = 0;
};

TEST_F(SelectionTest, BoundsFindTheOnesOnly) {
    RectI r{7, 7, 7, 7};
    EXPECT_EQ(SelectionBounds(Doc(), r), kNoSelection);
    EXPECT_EQ(r, (RectI{7, 7, 7, 7}));
    // Bytes that are not 1 (a played line may bring them) count for nothing here.
    Doc().Selection.bytes[10] = 2;
    EXPECT_EQ(SelectionBounds(Doc(), r), kNoSelection);
    Select({".........", "......#..", ".........", "..#......", ".........", "....#....",
            "........."});
    ASSERT_EQ(SelectionBounds(Doc(), r), 0);
    EXPECT_EQ(r, (RectI{2, 1, 6, 5}));
    Select({".........", ".........", ".........", ".........", ".........", ".........",
            "........#"});
    ASSERT_EQ(SelectionBounds(Doc(), r), 0);
    EXPECT_EQ(r, (RectI{8, 6, 8, 6}));
}

TEST_F(SelectionTest, APolygonSelectsItsEdgesAndInside) {
    Polygon({{2, 1}, {6, 1}, {6, 4}, {2, 4}});
    EXPECT_EQ(Picture(Doc().Selection),
              (std::vector<std::string>{".........", "..#####..", "..#####..", "..#####..",
                                        "..#####..", ".........", "........."}));
    // Two equal points, which a click of the free tool gives: one pixel.
    Polygon({{5, 5}});
    EXPECT_EQ(Picture(Doc().Selection),
              (std::vector<std::string>{".........", ".........", ".........", ".........",
                                        ".........", ".....#...", "........."}));
    // No points at all leaves the mask alone.
    MakeSelection(Doc(), {}, false);
    EXPECT_EQ(Picture(Doc().Selection)[5], ".....#...");
}

TEST_F(SelectionTest, ASelfCrossingPolygonSelectsEveryInnerArea) {
    // A bow tie: the two diagonals and the left and right sides. Its two lobes are inside;
    // the wedges above and below the crossing open to the outside.
    MakeDocument(9, 9);
    Polygon({{0, 0}, {8, 8}, {8, 0}, {0, 8}});
    std::vector<std::string> expected;
    for (int32_t y = 0; y < 9; ++y) {
        std::string row;
        for (int32_t x = 0; x < 9; ++x)
            row += x <= std::min(y, 8 - y) || x >= std::max(y, 8 - y) ? '#' : '.';
        expected.push_back(row);
    }
    EXPECT_EQ(Picture(Doc().Selection), expected);

    // A pentagram: an even-odd rule would leave its centre out; here it is enclosed.
    MakeDocument(21, 21);
    Polygon({{10, 0}, {16, 20}, {0, 7}, {20, 7}, {4, 20}});
    EXPECT_EQ(Doc().Selection.bytes[10 * 21 + 10], 1);
    EXPECT_EQ(Doc().Selection.bytes[0], 0);
    EXPECT_EQ(Doc().Selection.bytes[20 * 21 + 10], 0);  // between the two lower points
}

TEST_F(SelectionTest, PointsBeyondTheImageAreHeldToIt) {
    Polygon({{-5, -5}, {40, -5}, {40, 2}, {-5, 2}});
    EXPECT_EQ(Picture(Doc().Selection),
              (std::vector<std::string>{"#########", "#########", "#########", ".........",
                                        ".........", ".........", "........."}));
}

TEST_F(SelectionTest, AddingKeepsWhatWasThereAndReplacingDoesNot) {
    Polygon({{0, 0}, {1, 0}, {1, 1}, {0, 1}});
    Polygon({{7, 5}, {8, 5}, {8, 6}, {7, 6}}, true);
    EXPECT_EQ(Picture(Doc().Selection),
              (std::vector<std::string>{"##.......", "##.......", ".........", ".........",
                                        ".........", ".......##", ".......##"}));
    Polygon({{4, 3}});
    EXPECT_EQ(Picture(Doc().Selection),
              (std::vector<std::string>{".........", ".........", ".........", "....#....",
                                        ".........", ".........", "........."}));
}

TEST_F(SelectionTest, TheRectangleToolDragsARubberBandAndSelectsOnRelease) {
    Layer().Tool = 9;
    StartActionRecording(state.Recorder, fid, "t");
    CanvasActions a = PenStep(Ctx(), fid, kLeftButton, 0, Twips(2), Twips(3), 100.0);
    EXPECT_TRUE(a.RedrawAll);
    EXPECT_FALSE(a.RubberBand);
    a = CanvasDrag(Ctx(), fid, kLeftButton, 0, Twips(4), Twips(4), 120.0);
    a = CanvasDrag(Ctx(), fid, kLeftButton, 0, Twips(6), Twips(5), 140.0);
    EXPECT_TRUE(a.RedrawAll);
    ASSERT_TRUE(a.RubberBand);
    EXPECT_EQ(*a.RubberBand, (std::vector<PointI>{{2, 3}, {6, 3}, {6, 5}, {2, 5}, {2, 3}}));
    // The mask is untouched until the release.
    EXPECT_EQ(std::count(Doc().Selection.bytes.begin(), Doc().Selection.bytes.end(), 1), 0);
    a = CanvasUp(Ctx(), fid, kLeftButton, 0, Twips(6), Twips(5), 160.0);
    EXPECT_TRUE(a.RedrawAll);
    EXPECT_TRUE(a.SaveUndo);
    EXPECT_TRUE(drag.SelectPoints.empty());
    EXPECT_EQ(Picture(Doc().Selection),
              (std::vector<std::string>{".........", ".........", ".........", "..#####..",
                                        "..#####..", "..#####..", "........."}));
    EXPECT_EQ(Lines(), (std::vector<std::string>{"PenSelect,1,mask9x7"}));
}

TEST_F(SelectionTest, ARectangleClickedWithoutAMoveSelectsTheLineToTheCorner) {
    // The four corners not yet set stand at (0, 0). Intended. The line is laid in the
    // bordered scratch picture, one pixel down and right, so its tie at x = 2 rounds
    // 2.5 to 2 there (not 1.5 to 2): document row 1.
    Layer().Tool = 9;
    PenStep(Ctx(), fid, kLeftButton, 0, Twips(4), Twips(3), 100.0);
    CanvasUp(Ctx(), fid, kLeftButton, 0, Twips(4), Twips(3), 110.0);
    EXPECT_EQ(Picture(Doc().Selection),
              (std::vector<std::string>{"#........", ".##......", "...#.....", "....#....",
                                        ".........", ".........", "........."}));
}

TEST_F(SelectionTest, TheFreeToolFollowsThePointer) {
    Layer().Tool = 6;
    PenStep(Ctx(), fid, kLeftButton, 0, Twips(1), Twips(1), 100.0);
    CanvasActions a = CanvasDrag(Ctx(), fid, kLeftButton, 0, Twips(7), Twips(1), 110.0);
    EXPECT_FALSE(a.RedrawAll);  // the view did not scroll
    ASSERT_TRUE(a.RubberBand);
    EXPECT_EQ(*a.RubberBand, (std::vector<PointI>{{1, 1}, {7, 1}}));
    a = CanvasDrag(Ctx(), fid, kLeftButton, 0, Twips(1), Twips(5), 120.0);
    EXPECT_EQ(a.RubberBand->size(), 3u);
    CanvasUp(Ctx(), fid, kLeftButton, 0, Twips(1), Twips(5), 130.0);
    EXPECT_EQ(Picture(Doc().Selection),
              (std::vector<std::string>{".........", ".#######.", ".######..", ".####....",
                                        ".###.....", ".#.......", "........."}));
}

TEST_F(SelectionTest, OnlyTheLeftShiftKeyAdds) {
    Layer().Tool = 9;
    auto rect = [&](int32_t x0, int32_t y0, int32_t x1, int32_t y1, int32_t shift) {
        PenStep(Ctx(), fid, kLeftButton, shift, Twips(x0), Twips(y0), 100.0);
        CanvasDrag(Ctx(), fid, kLeftButton, shift, Twips(x1), Twips(y1), 110.0);
        CanvasUp(Ctx(), fid, kLeftButton, shift, Twips(x1), Twips(y1), 120.0);
    };
    rect(0, 0, 1, 1, 0);
    rect(7, 5, 8, 6, kShiftKey | kLeftShiftKey);
    EXPECT_EQ(Picture(Doc().Selection)[0], "##.......");
    EXPECT_EQ(Picture(Doc().Selection)[6], ".......##");
    // Shift from the right key alone replaces.
    rect(4, 3, 4, 3, kShiftKey);
    EXPECT_EQ(Picture(Doc().Selection),
              (std::vector<std::string>{".........", ".........", ".........", "....#....",
                                        ".........", ".........", "........."}));
}

TEST_F(SelectionTest, TheRightButtonCancelsTheDragAndKeepsTheMask) {
    Select({"##.......", "##.......", ".........", ".........", ".........", ".........",
            "........."});
    const std::vector<std::string> before = Picture(Doc().Selection);
    Layer().Tool = 9;
    for (bool rightFirst : {true, false}) {
        PenStep(Ctx(), fid, kLeftButton, 0, Twips(3), Twips(3), 100.0);
        CanvasDrag(Ctx(), fid, kLeftButton, 0, Twips(6), Twips(5), 110.0);
        const CanvasActions a = PenStep(Ctx(), fid, kRightButton, 0, Twips(6), Twips(5), 120.0);
        EXPECT_TRUE(a.RedrawAll);
        // Whichever button comes up first ends the gesture; the canvas ignores the other.
        CanvasUp(Ctx(), fid, rightFirst ? kRightButton : kLeftButton, 0, Twips(6), Twips(5), 130.0);
        EXPECT_EQ(Picture(Doc().Selection), before);
        EXPECT_EQ(drag.DragState, 0);
    }
}

TEST_F(SelectionTest, PointsSnapToTheGridAndTheBandStaysInTheView) {
    Doc().GridSnap = kYes;
    Doc().GridSize = 4;
    Layer().Tool = 9;
    PenStep(Ctx(), fid, kLeftButton, 0, Twips(3), Twips(2), 100.0);
    CanvasDrag(Ctx(), fid, kLeftButton, 0, Twips(6), Twips(6), 110.0);
    EXPECT_EQ(drag.SelectPoints[0], (PointF{0, 0}));
    EXPECT_EQ(drag.SelectPoints[2], (PointF{4, 4}));
    // A point beyond the block is drawn on its edge.
    Doc().ViewRight = 5;
    Doc().ViewBottom = 3;
    Doc().ViewOffsetX = 10;
    Doc().ViewOffsetY = 20;
    EXPECT_EQ(RubberBandPoints(Doc(), {{0, 0}, {8, 2}, {-3, 9}}),
              (std::vector<PointI>{{10, 20}, {15, 22}, {10, 23}}));
}

TEST_F(SelectionTest, TakingCopiesTheSelectedPixelsOfALayerFromItsOwnPlace) {
    for (int32_t y = 0; y < 7; ++y)
        for (int32_t x = 0; x < 9; ++x)
            Layer().Pixels.Set(x, y, {static_cast<uint8_t>(x), static_cast<uint8_t>(y), 50, 200});
    Layer().OffsetX = 2;
    Layer().OffsetY = 1;
    Select({"##.......", ".........", "...#.#...", "...###...", ".........", ".........",
            "........."});
    PixelBuffer piece;
    RectI r;
    ASSERT_EQ(TakeSelection(Doc(), piece, 1, false, &r), 0);
    EXPECT_EQ(r, (RectI{0, 0, 5, 3}));
    ASSERT_EQ(piece.Width(), 6);
    ASSERT_EQ(piece.Height(), 4);
    // Document (3, 2) is layer (1, 1).
    EXPECT_EQ(*piece.Get(3, 2), (Bgra{1, 1, 50, 200}));
    EXPECT_EQ(*piece.Get(5, 3), (Bgra{3, 2, 50, 200}));
    // Selected but off the moved layer: left as the new picture was made.
    EXPECT_EQ(*piece.Get(0, 0), (Bgra{}));
    // Not selected: zero.
    EXPECT_EQ(*piece.Get(4, 2), (Bgra{}));
    // A copy changes nothing.
    EXPECT_EQ(*Layer().Pixels.Get(1, 1), (Bgra{1, 1, 50, 200}));
    EXPECT_EQ(Doc().Selection.bytes[2 * 9 + 3], 1);

    // The cut clears where it took, and those mask bytes; the bytes off the layer stay.
    ASSERT_EQ(TakeSelection(Doc(), piece, 1, true, nullptr), 0);
    EXPECT_EQ(*piece.Get(3, 2), (Bgra{1, 1, 50, 200}));
    EXPECT_EQ(*Layer().Pixels.Get(1, 1), (Bgra{}));
    EXPECT_EQ(*Layer().Pixels.Get(3, 1), (Bgra{}));
    EXPECT_EQ(*Layer().Pixels.Get(2, 1), (Bgra{2, 1, 50, 200}));
    EXPECT_EQ(Picture(Doc().Selection)[0], "##.......");
    EXPECT_EQ(Picture(Doc().Selection)[2], ".........");
    // Nothing left that is 1 but off the layer: taking again still gives their bounds.
    ASSERT_EQ(TakeSelection(Doc(), piece, 1, false, &r), 0);
    EXPECT_EQ(r, (RectI{0, 0, 1, 0}));
}

TEST_F(SelectionTest, TakingAllLayersFlattensButTheCutIgnoresTheOffsets) {
    Layer(1).Pixels.Fill({10, 10, 10, 255});
    const int32_t top = AddLayer();
    Layer(top).Pixels.Fill({0, 0, 200, 255});
    Layer(top).OffsetX = 5;  // the top layer covers document columns 5 .. 8
    const int32_t hidden = AddLayer();
    Layer(hidden).Pixels.Fill({1, 2, 3, 4});
    Layer(hidden).Visible = 0;
    Select({".........", "....##...", ".........", ".........", ".........", ".........",
            "........."});
    PixelBuffer piece;
    RectI r;
    // A LID that is no layer stands for all of them.
    ASSERT_EQ(TakeSelection(Doc(), piece, 9, true, &r), 0);
    EXPECT_EQ(r, (RectI{4, 1, 5, 1}));
    EXPECT_EQ(*piece.Get(0, 0), (Bgra{10, 10, 10, 255}));
    EXPECT_EQ(*piece.Get(1, 0), (Bgra{0, 0, 200, 255}));
    // Document (4, 1) and (5, 1) are cleared in every layer at those very places, hidden or
    // moved: the top layer loses its own (4, 1) and (5, 1), which lie at document 9 and 10.
    // Intended.
    for (int32_t lid : {1, top, hidden}) {
        EXPECT_EQ(*Layer(lid).Pixels.Get(4, 1), (Bgra{})) << lid;
        EXPECT_EQ(*Layer(lid).Pixels.Get(5, 1), (Bgra{})) << lid;
    }
    EXPECT_EQ(*Layer(top).Pixels.Get(0, 1), (Bgra{0, 0, 200, 255}));
    EXPECT_EQ(Picture(Doc().Selection)[1], ".........");
    EXPECT_EQ(TakeSelection(Doc(), piece, 0, false, &r), kNoSelection);
}

TEST_F(SelectionTest, DeselectClearsOnlyAnExistingSelectionAndRecordsIt) {
    StartActionRecording(state.Recorder, fid, "t");
    EXPECT_FALSE(ClearSelection(state, fid, {}));
    Select({"#........", ".........", ".........", ".........", ".........", ".........",
            "........."});
    ASSERT_TRUE(ClearSelection(state, fid, [](const SelectionMask& m) {
        return std::to_string(std::count(m.bytes.begin(), m.bytes.end(), 0));
    }));
    EXPECT_EQ(std::count(Doc().Selection.bytes.begin(), Doc().Selection.bytes.end(), 0), 63);
    EXPECT_EQ(Lines(), (std::vector<std::string>{"PenSelect,1,63"}));
}

}  // namespace
}  // namespace brv
