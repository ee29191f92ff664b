#include "core/documents.h"

#include <gtest/gtest.h>

#include "core/file_io.h"
#include "core/undo_store.h"
#include "tests/support/fake_host.h"

namespace brv {
namespace {

using testing::FakeHost;
using testing::TempFolder;

class DocumentsTest : public ::testing::Test {
protected:
    void SetUp() override {
        state.Paths = ComputeAppPaths(dir.Path());
        EnsureDataFolders(state.Paths);
        InitDocTable(state);
    }
    int32_t New(int32_t w, int32_t h) { return NewDocument(state, host, w, h); }

    TempFolder dir;
    CoreState state;
    FakeHost host;
};

TEST_F(DocumentsTest, SizesDefaultAndClamp) {
    state.Settings.DefaultWidth = 48;
    state.Settings.DefaultHeight = 16;
    int32_t w = 0, h = 0;
    int32_t fid = NewDocument(state, host, w, h);
    EXPECT_EQ(fid, 1);
    EXPECT_EQ(w, 48);
    EXPECT_EQ(h, 16);

    w = 40000;
    h = -5;
    fid = NewDocument(state, host, w, h);
    EXPECT_EQ(w, 32767);
    EXPECT_EQ(h, 1);
    ASSERT_NE(state.Doc(fid), nullptr);
    EXPECT_EQ(state.Doc(fid)->Width, 32767);
    EXPECT_EQ(state.Doc(fid)->Layers[1].Pixels.ByteSize(), 4u * 32767u);
}

TEST_F(DocumentsTest, ClosedSlotIsReusedFirst) {
    int32_t a = New(8, 8), b = New(8, 8);
    EXPECT_EQ(a, 1);
    EXPECT_EQ(b, 2);
    CloseDocument(state, host, a, nullptr);
    EXPECT_EQ(state.Doc(a), nullptr);
    EXPECT_EQ(New(4, 4), 1);
    EXPECT_EQ(New(4, 4), 3);
    EXPECT_EQ(state.Docs.size(), 4u);  // slot 0 plus three
}

TEST_F(DocumentsTest, NewDocumentDefaults) {
    state.Settings.GridDefault = 5;
    int32_t fid = New(10, 20);
    const DocumentRecord& d = *state.Doc(fid);
    EXPECT_EQ(d.LayerCount(), 1);
    EXPECT_EQ(d.ActiveLID, 1);
    EXPECT_EQ(d.PenLID, 1);
    EXPECT_EQ(d.GridSize, 5);
    EXPECT_EQ(d.GridVisible, -1);
    EXPECT_EQ(d.GridSnap, 0);
    EXPECT_EQ(d.PreviewZoom, 1);
    EXPECT_EQ(d.PenLastX, -32767.0f);
    EXPECT_EQ(d.Selection.bytes.size(), 200u);
    EXPECT_EQ(d.Layers[0].Visible, 0);  // the scratch slot stays out of compositing
    // A fresh layer is black and fully transparent: invisible on any background.
    for (uint8_t b : d.Layers[1].Pixels.Bytes())
        ASSERT_EQ(b, 0);
    EXPECT_EQ(host.createdWindows, std::vector<int32_t>{fid});
}

TEST_F(DocumentsTest, WindowIsAScaledSquareAndZoomFitsIt) {
    host.frameClient = {1000, 600};
    host.captionHeight = 22;
    state.Settings.WindowScale = 50;  // 600 * (0.45 + 0.1) = 330
    int32_t fid = New(33, 11);
    const DocumentRecord& d = *state.Doc(fid);
    EXPECT_EQ(d.WindowClient, (Size{330, 330}));
    EXPECT_DOUBLE_EQ(d.Zoom, 10.0);  // min(330/33, 330/11)
    EXPECT_EQ(DocumentWindowOuterSize({1000, 600}, 100, 22), (Size{600, 622}));
    EXPECT_EQ(DocumentWindowOuterSize({1000, 600}, 0, 0), (Size{60, 60}));
}

TEST_F(DocumentsTest, InitLayerWritesThePenDefaults) {
    int32_t fid = New(2, 2);
    LayerRecord& layer = state.Docs[fid].Layers[1];
    const PenParamTable& p = layer.PenParams;
    EXPECT_EQ(layer.Tool, 1);
    EXPECT_EQ(p(2, 1), 100);
    EXPECT_EQ(p(5, 2), 255);
    EXPECT_EQ(p(13, 3), 48);
    EXPECT_EQ(p(11, 4), 5);
    EXPECT_EQ(p(3, 5), 25);
    EXPECT_EQ(p(3, 6), 1);
    EXPECT_EQ(p.Flat()[3 + 21 * 5], 25);  // flat position a + 21 * b
    int nonZero = 0;
    for (int32_t v : p.Flat())
        nonZero += v != 0;
    EXPECT_EQ(nonZero, 25);  // the 27 named defaults less (5,3) and (3,4), which are 0

    // Keeping the pixels still resets tool, visibility, flag and the named parameters, but
    // offsets, colour, transparency and the unnamed parameters survive.
    layer.Pixels.Set(0, 0, {1, 2, 3, 4});
    layer.Tool = 7;
    layer.Visible = 0;
    layer.OffsetX = 9;
    layer.PenColor = 0x123456;
    layer.PenTransparency = 30;
    layer.PenParams(2, 1) = 55;
    layer.PenParams(20, 10) = 77;
    InitLayer(state.Docs[fid], 1, -1);
    EXPECT_EQ(layer.Pixels.Get(0, 0)->a, 4);
    EXPECT_EQ(layer.Tool, 1);
    EXPECT_EQ(layer.Visible, 1);
    EXPECT_EQ(layer.OffsetX, 9);
    EXPECT_EQ(layer.PenColor, 0x123456);
    EXPECT_EQ(layer.PenTransparency, 30);
    EXPECT_EQ(layer.PenParams(2, 1), 100);
    EXPECT_EQ(layer.PenParams(20, 10), 77);

    InitLayer(state.Docs[fid], 1, 0);
    EXPECT_EQ(layer.Pixels.Get(0, 0)->a, 0);
}

TEST_F(DocumentsTest, AddLayerSlotKeepsActiveLayer) {
    int32_t fid = New(2, 2);
    state.Docs[fid].Layers[1].PenColor = 5;
    EXPECT_EQ(AddLayerSlot(state, fid), 2);
    EXPECT_EQ(state.Docs[fid].ActiveLID, 1);
    EXPECT_EQ(state.Docs[fid].Layers[1].PenColor, 5);
    EXPECT_EQ(state.Docs[fid].Layers[2].Pixels.Width(), 2);
}

TEST_F(DocumentsTest, CloseAsksOnlyForAChangedDocument) {
    int32_t fid = New(4, 3);
    CloseDocument(state, host, fid, nullptr);
    EXPECT_TRUE(host.questions.empty());

    fid = New(4, 3);
    state.Docs[fid].Modified = kYes;
    int saved = 0;
    host.answers.push_back(Answer::Yes);
    CloseDocument(state, host, fid, [&](int32_t f) { saved = f; });
    ASSERT_EQ(host.questions.size(), 1u);
    EXPECT_EQ(host.questions[0], "新規ファイル[4 x 3]は操作されています。\n保存しますか？");
    EXPECT_EQ(saved, fid);
    EXPECT_EQ(host.focusedWindows.back(), fid);
    EXPECT_EQ(host.destroyedWindows.back(), fid);
    EXPECT_EQ(state.Doc(fid), nullptr);

    fid = New(4, 3);
    state.Docs[fid].Modified = kYes;
    state.Settings.AskOnClose = 0;
    CloseDocument(state, host, fid, [&](int32_t) { FAIL(); });
    EXPECT_EQ(host.questions.size(), 1u);
}

TEST_F(DocumentsTest, CloseDeletesItsSnapshotsAndThoseOfLikeNumberedDocuments) {
    int32_t fid = 5;
    for (const char* name : {"undo5_1.undo", "undo15_2.undo", "undo25_1.undo", "undo2_1.undo",
                             "undo6_1.undo", "tempdat.nedat"})
        ASSERT_TRUE(WriteTextFile(state.Paths.TempDir + name, "x"));
    EXPECT_EQ(DeleteUndoFiles(state.Paths, fid), 3);
    EXPECT_FALSE(FileExists(state.Paths.TempDir + "undo15_2.undo"));
    EXPECT_TRUE(FileExists(state.Paths.TempDir + "undo2_1.undo"));
    EXPECT_TRUE(FileExists(state.Paths.TempDir + "undo6_1.undo"));
    EXPECT_EQ(DeleteUndoFiles(state.Paths, 7), -1);
    ASSERT_TRUE(WriteTextFile(state.Paths.TempDir + "fontcach.nedat", "x"));
    EXPECT_EQ(DeleteUndoFiles(state.Paths, -1), 4);
    EXPECT_TRUE(FileExists(state.Paths.TempDir + "tempdat.nedat"));
    EXPECT_TRUE(FileExists(state.Paths.TempDir + "fontcach.nedat"));
    EXPECT_FALSE(FileExists(state.Paths.TempDir + "undo2_1.undo"));
}

TEST_F(DocumentsTest, TitleShowsShortNameAndSize) {
    int32_t fid = New(16, 24);
    state.Docs[fid].Modified = kYes;
    SetDocumentTitle(state, host, fid, "", 0);
    EXPECT_EQ(host.captions[fid], "新規ファイル [16 x 24]");
    EXPECT_EQ(state.Docs[fid].Modified, kYes);

    const std::string file = dir.File("pic.ico");
    ASSERT_TRUE(WriteTextFile(file, "data"));
    SetDocumentTitle(state, host, fid, file, -1);
    EXPECT_EQ(host.captions[fid], "pic.ico [16 x 24]");
    EXPECT_EQ(host.statusTexts.back(), "pic.icoを保存しました");
    EXPECT_EQ(state.Docs[fid].Modified, kNo);
    EXPECT_EQ(RecentFiles(state.Paths.UseFileList), std::vector<std::string>{file});

    // A missing file is named but not remembered.
    SetDocumentTitle(state, host, fid, dir.File("gone.ico"), 0);
    EXPECT_EQ(RecentFiles(state.Paths.UseFileList).size(), 1u);
}

class ViewMappingTest : public DocumentsTest {
protected:
    void SetUp() override {
        DocumentsTest::SetUp();
        fid = New(64, 64);
        doc = &state.Docs[fid];
        doc->Zoom = 1.0;
        doc->ViewOffsetX = doc->ViewOffsetY = 0;
        doc->ViewLeft = doc->ViewTop = 0;
    }
    int32_t fid = 0;
    DocumentRecord* doc = nullptr;
};

TEST_F(ViewMappingTest, SnapDividesTowardZero) {
    doc->GridSnap = kYes;
    doc->GridSize = 8;
    // x = -3 (pointer left of the image) snaps to 0, x = 13 to 8: twips are 15 a pixel.
    EXPECT_EQ(ViewToImageX(state, fid, -3 * 15.0), 0);
    EXPECT_EQ(ViewToImageX(state, fid, 13 * 15.0), 8);
    EXPECT_EQ(ViewToImageX(state, fid, -9 * 15.0), -8);
    EXPECT_EQ(ViewToImageXEx(state, fid, 13 * 15.0, 0, -1), 13);
}

TEST_F(ViewMappingTest, LayerOffsetAndZoomTruncation) {
    doc->Zoom = 2.999;  // 299%
    doc->Layers[1].OffsetX = 5;
    doc->Layers[1].OffsetY = -2;
    doc->ViewOffsetX = 10;
    doc->ViewLeft = 30;
    // u = 100 - 10 + 30 = 120; 120 / 2.99 = 40.13 -> 40; minus the offset 5.
    EXPECT_EQ(ViewToImageX(state, fid, 100 * 15.0), 35);
    EXPECT_EQ(ViewToImageXEx(state, fid, 100 * 15.0, -1, 0), 40);
    EXPECT_EQ(ViewToImageY(state, fid, 0.0), 2);
    EXPECT_EQ(MapXToView(*doc, 40), 119 + 10 - 30);  // Int(2.99 * 40) = 119
    EXPECT_EQ(MapYToView(*doc, 3), 8);
}

TEST_F(ViewMappingTest, ZoomedExtents) {
    doc->Width = 1;
    doc->Height = 1;
    for (double z : {1.0, 1.5, 7.0, 20.0}) {
        doc->Zoom = z;
        EXPECT_GE(ZoomedWidth(*doc), 0) << z;
    }
    doc->Zoom = 0.5;
    EXPECT_EQ(ZoomedWidth(*doc), -1);  // Int(50 / 100) - 1
    doc->Width = 33;
    doc->Height = 7;
    doc->Zoom = 1.5;
    EXPECT_EQ(ZoomedWidth(*doc), 48);  // Int(4950 / 100) - 1
    EXPECT_EQ(ZoomedHeight(*doc), 9);  // Int(1050 / 100) - 1
    EXPECT_EQ(LargestSide(*doc), 33);
}

}  // namespace
}  // namespace brv
