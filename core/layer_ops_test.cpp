#include "core/layer_ops.h"

#include <gtest/gtest.h>

#include "core/documents.h"
#include "tests/support/fake_host.h"

namespace brv {
namespace {

using testing::FakeHost;
using testing::TempFolder;

class LayerOpsTest : public ::testing::Test {
protected:
    void SetUp() override {
        state.Paths = ComputeAppPaths(dir.Path());
        EnsureDataFolders(state.Paths);
        InitDocTable(state);
        int32_t w = 4, h = 4;
        fid = NewDocument(state, host, w, h);
        state.ActiveFID = fid;
    }
    DocumentRecord& Doc() { return state.Docs[static_cast<size_t>(fid)]; }
    LayerRecord& L(int32_t lid) { return Doc().Layers[static_cast<size_t>(lid)]; }
    // Marks a layer so that it can be recognised after moves.
    void Mark(int32_t lid, uint8_t v) { L(lid).Pixels.Set(3, 3, {v, 0, 0, 1}); }
    uint8_t MarkOf(int32_t lid) { return L(lid).Pixels.Get(3, 3)->b; }

    TempFolder dir;
    CoreState state;
    FakeHost host;
    int32_t fid = 0;
};

TEST_F(LayerOpsTest, CopyOfTheBottomLayerLandsOnTop) {
    LayerAdd(state, fid);
    LayerAdd(state, fid);
    Mark(1, 11);
    L(1).OffsetX = 2;
    L(1).PenColor = 0xABCDEF;
    Doc().ActiveLID = 1;
    EXPECT_EQ(LayerCopy(state, fid), 4);
    EXPECT_EQ(Doc().ActiveLID, 4);
    EXPECT_EQ(MarkOf(4), 11);
    EXPECT_EQ(L(4).OffsetX, 2);
    EXPECT_EQ(L(4).PenColor, 0xABCDEF);
}

TEST_F(LayerOpsTest, DeletingTheActiveTopLayerMovesToTheNewTop) {
    LayerAdd(state, fid);
    LayerAdd(state, fid);
    Mark(1, 1);
    Mark(2, 2);
    ASSERT_EQ(Doc().ActiveLID, 3);
    EXPECT_EQ(LayerDelete(state, fid), 0);
    EXPECT_EQ(Doc().LayerCount(), 2);
    EXPECT_EQ(Doc().ActiveLID, 2);
    EXPECT_EQ(MarkOf(2), 2);
}

TEST_F(LayerOpsTest, PenSettingsOutliveTheirLayer) {
    LayerAdd(state, fid);
    L(1).Tool = 7;
    L(1).PenColor = 0x0000FF;
    L(1).PenTransparency = 9;
    L(1).PenParams(4, 2) = 42;
    L(2).PenFlag = 1;
    EXPECT_EQ(LayerDelete(state, fid, 1), 0);
    ASSERT_EQ(Doc().LayerCount(), 1);
    EXPECT_EQ(L(1).Tool, 7);
    EXPECT_EQ(L(1).PenColor, 0x0000FF);
    EXPECT_EQ(L(1).PenTransparency, 9);
    EXPECT_EQ(L(1).PenParams(4, 2), 42);
    EXPECT_EQ(L(1).PenFlag, 1);  // not part of what is carried over
}

TEST_F(LayerOpsTest, OneLayerIsNeitherDeletedNorCombined) {
    Mark(1, 5);
    EXPECT_EQ(LayerDelete(state, fid), -1);
    EXPECT_EQ(LayerCombine(state, host, fid, 0, true), -1);
    EXPECT_EQ(host.messages, std::vector<std::string>{"レイヤーの合成に失敗しました。"});
    EXPECT_EQ(Doc().LayerCount(), 1);
    EXPECT_EQ(MarkOf(1), 5);
}

TEST_F(LayerOpsTest, ChangePosClosesUpAndTakesAnUndoPoint) {
    LayerAdd(state, fid);
    LayerAdd(state, fid);
    for (int32_t lid = 1; lid <= 3; ++lid)
        Mark(lid, static_cast<uint8_t>(lid));
    EXPECT_EQ(LayerChangePos(state, host, fid, 3, 1, false), 0);
    EXPECT_EQ(MarkOf(1), 3);
    EXPECT_EQ(MarkOf(2), 1);
    EXPECT_EQ(MarkOf(3), 2);
    EXPECT_EQ(Doc().ActiveLID, 1);
    EXPECT_EQ(Doc().UndoPos, 1);
    EXPECT_EQ(LayerChangePos(state, host, fid, 1, 2, true), 0);
    EXPECT_EQ(MarkOf(1), 1);
    EXPECT_EQ(MarkOf(2), 3);
    EXPECT_EQ(Doc().UndoPos, 1);
    EXPECT_EQ(LayerChangePos(state, host, fid, 0, 2, true), -1);
    EXPECT_EQ(LayerUpTarget(Doc()), 3);
    Doc().ActiveLID = 1;
    EXPECT_EQ(LayerDownTarget(Doc()), 0);
}

TEST_F(LayerOpsTest, CombineAddsAlphaToACeilingWithTruncatingShares) {
    LayerAdd(state, fid);
    L(1).Pixels.Set(0, 0, {100, 0, 255, 200});
    L(2).Pixels.Set(0, 0, {200, 255, 0, 200});
    L(2).Pixels.Set(1, 0, {10, 20, 30, 0});  // nothing above: the lower pixel shows through
    L(1).Pixels.Set(1, 0, {40, 50, 60, 70});
    EXPECT_EQ(LayerCombine(state, host, fid, 2, true), 0);
    ASSERT_EQ(Doc().LayerCount(), 1);
    // The upper keeps 200, the lower is limited to 55: (200*200)/255 + (100*55)/255 = 156 + 21.
    EXPECT_EQ(*L(1).Pixels.Get(0, 0), (Bgra{177, 200, 55, 255}));
    EXPECT_EQ(*L(1).Pixels.Get(1, 0), (Bgra{40, 50, 60, 70}));
}

TEST_F(LayerOpsTest, CombineFollowsOffsetsAndKeepsTheUpperOnes) {
    LayerAdd(state, fid);
    L(2).OffsetX = 1;
    L(1).Pixels.Set(1, 0, {0, 0, 90, 255});  // under the upper's (0,0)
    L(2).Pixels.Set(0, 0, {90, 0, 0, 0});
    EXPECT_EQ(LayerCombine(state, host, fid, 2, true), 0);
    EXPECT_EQ(L(1).OffsetX, 1);
    EXPECT_EQ(*L(1).Pixels.Get(0, 0), (Bgra{0, 0, 90, 255}));
}

TEST_F(LayerOpsTest, HiddenLowerLayerIsThrownAway) {
    LayerAdd(state, fid);
    L(1).Visible = 0;
    L(1).Pixels.Fill({1, 2, 3, 255});
    Mark(2, 77);
    PixelBuffer before = L(2).Pixels;
    EXPECT_EQ(LayerCombine(state, host, fid, 2, true), 0);
    EXPECT_EQ(Doc().LayerCount(), 1);
    EXPECT_EQ(L(1).Pixels, before);
}

TEST_F(LayerOpsTest, CombineAllKeepsTheTopOffsets) {
    LayerAdd(state, fid);
    LayerAdd(state, fid);
    L(3).OffsetY = -1;
    L(2).Visible = 0;
    L(1).Pixels.Fill({9, 9, 9, 255});
    EXPECT_EQ(LayerCombineAll(state, host, fid), 0);
    EXPECT_EQ(Doc().LayerCount(), 1);
    EXPECT_EQ(L(1).OffsetY, -1);
    // The hidden middle layer took the bottom one with it.
    EXPECT_EQ(L(1).Pixels.Get(0, 0)->a, 0);
}

TEST_F(LayerOpsTest, ReflectBakesTheOffset) {
    L(1).Pixels.Set(0, 0, {1, 2, 3, 4});
    L(1).OffsetX = 2;
    L(1).OffsetY = 1;
    EXPECT_EQ(ReflectLayerPos(state, fid, 1), 0);
    EXPECT_EQ(*L(1).Pixels.Get(2, 1), (Bgra{1, 2, 3, 4}));
    EXPECT_EQ(L(1).Pixels.Get(0, 0)->a, 0);
    EXPECT_EQ(L(1).OffsetX, 0);

    L(1).OffsetX = 40;  // entirely out of the document
    EXPECT_EQ(ReflectLayerPos(state, fid, 1), 0);
    for (uint8_t b : L(1).Pixels.Bytes())
        ASSERT_EQ(b, 0);
}

TEST_F(LayerOpsTest, RecordsTheirWordsWhileRecording) {
    StartActionRecording(state.Recorder, fid, "default");
    LayerAdd(state, fid);
    LayerAdd(state, fid);
    LayerChangePos(state, host, fid, 3, 1, true);
    LayerCombine(state, host, fid, 2, true);
    LayerDelete(state, fid, 9);
    EXPECT_EQ(
        state.Recorder.ActionLines,
        (std::vector<std::string>{"default", "LayerAdd,2,0", "LayerAdd,3,0", "LayerChangePos,3,1",
                                  "LayerCombine,2,0", "LayerDelete,9,0"}));
}

}  // namespace
}  // namespace brv
