#include "core/undo_store.h"

#include <gtest/gtest.h>

#include "core/byte_io.h"
#include "core/documents.h"
#include "core/file_io.h"
#include "tests/support/fake_host.h"

namespace brv {
namespace {

using testing::FakeHost;
using testing::TempFolder;

class UndoTest : public ::testing::Test {
protected:
    void SetUp() override {
        state.Paths = ComputeAppPaths(dir.Path());
        EnsureDataFolders(state.Paths);
        InitDocTable(state);
    }
    int32_t New(int32_t w, int32_t h) {
        int32_t fid = NewDocument(state, host, w, h);
        state.ActiveFID = fid;
        return fid;
    }
    DocumentRecord& Doc(int32_t fid) { return state.Docs[static_cast<size_t>(fid)]; }
    void Paint(int32_t fid, uint8_t v) { Doc(fid).Layers[1].Pixels.Set(0, 0, {v, v, v, 255}); }
    uint8_t Painted(int32_t fid) { return Doc(fid).Layers[1].Pixels.Get(0, 0)->b; }

    TempFolder dir;
    CoreState state;
    FakeHost host;
};

TEST_F(UndoTest, SnapshotHasTheDescribedLayout) {
    int32_t fid = New(2, 1);
    DocumentRecord& d = Doc(fid);
    d.Selection.bytes = {1, 0};
    d.Layers[1].Pixels.Set(1, 0, {10, 20, 30, 40});
    d.Layers[1].OffsetX = -3;
    d.Layers[1].OffsetY = 7;
    d.Layers[1].Visible = 0;
    ASSERT_EQ(SaveUndo(state, host, fid), 0);
    auto bytes = ReadWholeFile(UndoFileName(state.Paths, fid, 1));
    ASSERT_TRUE(bytes);
    ASSERT_EQ(bytes->size(), 8u + 2u + 8u + 8u + 12u);
    ByteReader r(*bytes);
    EXPECT_EQ(r.I32LE(), 2);
    EXPECT_EQ(r.I32LE(), 1);
    EXPECT_EQ(r.U8(), 1);
    EXPECT_EQ(r.U8(), 0);
    EXPECT_EQ(r.I32LE(), 1);  // ActiveLID
    EXPECT_EQ(r.I32LE(), 1);  // layers
    r.Skip(4);
    EXPECT_EQ(r.U32LE(), 0x281E140Au);
    EXPECT_EQ(r.I32LE(), 0);  // Visible
    EXPECT_EQ(r.I32LE(), -3);
    EXPECT_EQ(r.I32LE(), 7);
    EXPECT_EQ(UndoFileName(state.Paths, 12, 3), state.Paths.TempDir + "undo12_3.undo");
}

TEST_F(UndoTest, BaseStateIsNeverUndoneAndANewChangeCutsRedo) {
    int32_t fid = New(4, 4);
    ASSERT_EQ(SaveUndo(state, host, fid), 0);  // the base state, as after loading
    EXPECT_EQ(Doc(fid).UndoPos, 1);
    EXPECT_EQ(Undo(state, fid), -1);

    for (uint8_t v : {10, 20, 30}) {
        Paint(fid, v);
        ASSERT_EQ(SaveUndo(state, host, fid), 0);
    }
    EXPECT_EQ(Undo(state, fid), 0);
    EXPECT_EQ(Undo(state, fid), 0);
    EXPECT_EQ(Painted(fid), 10);
    EXPECT_EQ(Redo(state, fid), 0);
    EXPECT_EQ(Painted(fid), 20);
    EXPECT_EQ(Doc(fid).UndoPos, 3);
    EXPECT_EQ(Doc(fid).UndoTop, 4);

    Paint(fid, 99);
    ASSERT_EQ(SaveUndo(state, host, fid), 0);
    EXPECT_EQ(Doc(fid).UndoTop, 4);
    EXPECT_EQ(Redo(state, fid), -1);
    // The overwritten file holds the new state; the number 5 file of the old branch is gone
    // only from the numbering.
    EXPECT_TRUE(FileExists(UndoFileName(state.Paths, fid, 4)));
    EXPECT_EQ(Undo(state, fid), 0);
    EXPECT_EQ(Painted(fid), 20);
}

TEST_F(UndoTest, SizeVisibilityAndOffsetsComeBackButPenSettingsNever) {
    int32_t fid = New(4, 3);
    ASSERT_EQ(SaveUndo(state, host, fid), 0);
    DocumentRecord& d = Doc(fid);
    // A canvas change: new size, a second layer, a hidden and moved first layer.
    d.Width = 8;
    d.Height = 2;
    d.Selection.bytes.assign(16, 0);
    for (int32_t lid = 1; lid <= 1; ++lid)
        d.Layers[1].Pixels = PixelBuffer(8, 2);
    AddLayerSlot(state, fid);
    d.Layers[1].Visible = 0;
    d.Layers[1].OffsetX = 5;
    d.Layers[1].PenColor = 0x123456;
    d.ActiveLID = 2;
    ASSERT_EQ(SaveUndo(state, host, fid), 0);

    ASSERT_EQ(Undo(state, fid), 0);
    EXPECT_EQ(d.Width, 4);
    EXPECT_EQ(d.Height, 3);
    EXPECT_EQ(d.Selection.bytes.size(), 12u);
    EXPECT_EQ(d.LayerCount(), 1);
    EXPECT_EQ(d.ActiveLID, 1);  // held to the count
    EXPECT_EQ(d.Layers[1].Visible, 1);
    EXPECT_EQ(d.Layers[1].OffsetX, 0);
    EXPECT_EQ(d.Layers[1].Pixels.Width(), 4);
    EXPECT_EQ(d.Layers[1].PenColor, 0x123456);  // pen settings stay as they are

    ASSERT_EQ(Redo(state, fid), 0);
    EXPECT_EQ(d.Width, 8);
    EXPECT_EQ(d.LayerCount(), 2);
    EXPECT_EQ(d.Layers[1].Visible, 0);
    EXPECT_EQ(d.Layers[1].OffsetX, 5);
}

TEST_F(UndoTest, DamagedSnapshotIsRefusedAndLeavesTheDocument) {
    int32_t fid = New(3, 3);
    ASSERT_EQ(SaveUndo(state, host, fid), 0);
    Paint(fid, 50);
    ASSERT_EQ(SaveUndo(state, host, fid), 0);
    const std::string first = UndoFileName(state.Paths, fid, 1);
    auto bytes = *ReadWholeFile(first);

    // Truncated in the last layer, a huge layer count, and an empty file.
    std::vector<std::vector<uint8_t>> damaged;
    damaged.emplace_back(bytes.begin(), bytes.end() - 5);
    auto huge = bytes;
    huge[8 + 9 + 4] = 0x7F;
    damaged.push_back(huge);
    auto negative = bytes;
    negative[0] = 0xFF;
    negative[3] = 0xFF;
    damaged.push_back(negative);
    for (const auto& d : damaged) {
        ASSERT_TRUE(WriteWholeFile(first, d));
        EXPECT_EQ(Undo(state, fid), -2);
        EXPECT_EQ(Doc(fid).UndoPos, 2);
        EXPECT_EQ(Doc(fid).Width, 3);
        EXPECT_EQ(Painted(fid), 50);
    }
    ASSERT_TRUE(WriteWholeFile(first, {}));
    DocumentRecord scratch;
    EXPECT_EQ(ReadSnapshot(first, scratch, state.Recorder), -1);
    EXPECT_EQ(ReadSnapshot(dir.File("missing.undo"), scratch, state.Recorder), -1);
}

TEST_F(UndoTest, RecordingKeepsCompanionLinesAndRedoWritesItsLine) {
    int32_t fid = New(2, 2);
    StartActionRecording(state.Recorder, fid, "default");
    ASSERT_EQ(SaveUndo(state, host, fid), 0);
    AppendActionLine(state.Recorder, fid, "LayerAdd,2,0");
    ASSERT_EQ(SaveUndo(state, host, fid), 0);
    auto companion = ReadTextFile(UndoFileName(state.Paths, fid, 2) + ".aundo");
    ASSERT_TRUE(companion);
    EXPECT_EQ(*companion, "default\r\nLayerAdd,2,0");

    ASSERT_EQ(Undo(state, fid), 0);
    EXPECT_EQ(state.Recorder.ActionLines, std::vector<std::string>{"default"});
    ASSERT_EQ(Redo(state, fid), 0);
    EXPECT_EQ(state.Recorder.ActionLines,
              (std::vector<std::string>{"default", "LayerAdd,2,0", "Redo,1,0"}));

    // A missing companion cuts the lines to the name.
    DeleteFile(UndoFileName(state.Paths, fid, 1) + ".aundo");
    ASSERT_EQ(Undo(state, fid), 0);
    EXPECT_EQ(state.Recorder.ActionLines.size(), 1u);
}

TEST_F(UndoTest, UnwritableCompanionShowsTheBoxAndTheSnapshotStands) {
    int32_t fid = New(2, 2);
    StartActionRecording(state.Recorder, fid, "default");
    // A folder where the companion file would go makes its write fail.
    ASSERT_TRUE(MakeDirectories(UndoFileName(state.Paths, fid, 1) + ".aundo"));
    EXPECT_EQ(SaveUndo(state, host, fid), 0);
    EXPECT_EQ(host.messages,
              std::vector<std::string>{"一時アクションファイルの書きこみに失敗しました"});
    EXPECT_EQ(Doc(fid).UndoPos, 1);
}

TEST_F(UndoTest, ClosingOneDocumentLeavesAnothersSnapshots) {
    int32_t a = New(2, 2), b = New(2, 2), c = New(2, 2);
    for (int32_t f : {a, b, c})
        ASSERT_EQ(SaveUndo(state, host, f), 0);
    CloseDocument(state, host, b, nullptr);
    EXPECT_TRUE(FileExists(UndoFileName(state.Paths, c, 1)));
    EXPECT_TRUE(FileExists(UndoFileName(state.Paths, a, 1)));
    EXPECT_FALSE(FileExists(UndoFileName(state.Paths, b, 1)));
}

TEST(Wildcards, MatchLikeTheFileListing) {
    EXPECT_TRUE(MatchesWildcard("undo*5_*.undo", "undo5_1.undo"));
    EXPECT_TRUE(MatchesWildcard("undo*5_*.undo", "undo125_10.undo"));
    EXPECT_FALSE(MatchesWildcard("undo*5_*.undo", "undo5_1.undo.aundo"));
    EXPECT_FALSE(MatchesWildcard("undo*5_*.undo", "undo51_1.undo"));
    EXPECT_TRUE(MatchesWildcard("*.undo", "UNDO3_2.UNDO"));
    EXPECT_TRUE(MatchesWildcard("*", ""));
    EXPECT_TRUE(MatchesWildcard("a?c", "abc"));
}

}  // namespace
}  // namespace brv
