#include "app/edit_commands.h"

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

class EditCommandsTest : public ::testing::Test {
protected:
    void SetUp() override {
        app.Core.Paths = ComputeAppPaths("/opt/brivandelle/");
        InitDocTable(app.Core);
        host.clock = 1000.0;  // a stamp of 0 would belong to no document
        host.clockStep = 100.0;
        int32_t w = 6, h = 5;
        fid = NewDocument(app.Core, host, w, h);
        app.Core.ActiveFID = fid;
        for (int32_t y = 0; y < 5; ++y)
            for (int32_t x = 0; x < 6; ++x)
                Layer(1).Pixels.Set(x, y,
                                    {static_cast<uint8_t>(x), static_cast<uint8_t>(y), 1, 100});
    }
    DocumentRecord& Doc(int32_t f = 0) { return app.Core.Docs[static_cast<size_t>(f ? f : fid)]; }
    LayerRecord& Layer(int32_t lid, int32_t f = 0) {
        return Doc(f).Layers[static_cast<size_t>(lid)];
    }
    EditOutcome Run(Command c, int32_t f = 0) { return RunEditCommand(app, host, c, f ? f : fid); }
    void SelectRect(int32_t l, int32_t t, int32_t r, int32_t b) {
        std::fill(Doc().Selection.bytes.begin(), Doc().Selection.bytes.end(), uint8_t{0});
        for (int32_t y = t; y <= b; ++y)
            for (int32_t x = l; x <= r; ++x)
                Doc().Selection.bytes[static_cast<size_t>(y * Doc().Width + x)] = 1;
        BuildOutline(Doc());
    }
    int64_t SelectedCount() {
        return std::count(Doc().Selection.bytes.begin(), Doc().Selection.bytes.end(), 1);
    }
    std::vector<std::string> Lines() const {
        const auto& l = app.Core.Recorder.ActionLines;
        return {l.begin() + 1, l.end()};
    }

    FakeHost host;
    AppState app;
    int32_t fid = 0;
};

TEST_F(EditCommandsTest, OnlyWhatChangesTheDocumentTakesAnUndoStep) {
    SelectRect(1, 1, 2, 2);
    EditOutcome o = Run(Command::Copy);
    EXPECT_TRUE(o.FullRefresh);
    EXPECT_FALSE(o.SaveUndo);
    o = Run(Command::Cut);
    EXPECT_TRUE(o.FullRefresh);
    EXPECT_TRUE(o.SaveUndo);
    EXPECT_EQ(SelectedCount(), 0);
    // Nothing selected any more: nothing to cut, no step.
    EXPECT_FALSE(Run(Command::Delete).SaveUndo);
    EXPECT_TRUE(Run(Command::Paste).SaveUndo);
    host.clipboard.reset();
    app.Clip = PrivateClipRecord{};
    EXPECT_FALSE(Run(Command::Paste).SaveUndo);
    EXPECT_FALSE(Run(Command::Copy, 99).FullRefresh);  // no such document
}

TEST_F(EditCommandsTest, PastingIntoANewLayerMakesItActiveAndClearsTheSelection) {
    StartActionRecording(app.Core.Recorder, fid, "t");
    SelectRect(2, 1, 3, 1);
    Run(Command::Copy);
    const EditOutcome o = Run(Command::PasteNewLayer);
    EXPECT_TRUE(o.SaveUndo);
    ASSERT_EQ(Doc().LayerCount(), 2);
    EXPECT_EQ(Doc().ActiveLID, 2);
    EXPECT_EQ(SelectedCount(), 0);
    // Into its own document: where the piece was.
    EXPECT_EQ(*Layer(2).Pixels.Get(2, 1), (Bgra{2, 1, 1, 100}));
    EXPECT_EQ(*Layer(2).Pixels.Get(3, 1), (Bgra{3, 1, 1, 100}));
    EXPECT_EQ(*Layer(2).Pixels.Get(1, 1), (Bgra{}));
    EXPECT_EQ(Lines(),
              (std::vector<std::string>{"EditCutOrCopy,1,0", "LayerAdd,2,0", "EditPaste,2,2,1,0"}));
}

TEST_F(EditCommandsTest, PastingAtTheSelectionUsesItsCornerOrTheImagesWithoutOne) {
    SelectRect(0, 0, 1, 1);
    Run(Command::Copy);
    Layer(1).Pixels.Fill({});
    // A selection whose outline still counts but whose bytes are gone: (0, 0).
    std::fill(Doc().Selection.bytes.begin(), Doc().Selection.bytes.end(), uint8_t{0});
    Run(Command::PasteAtSelection);
    EXPECT_EQ(*Layer(1).Pixels.Get(0, 0), (Bgra{0, 0, 1, 100}));
    EXPECT_EQ(*Layer(1).Pixels.Get(1, 1), (Bgra{1, 1, 1, 100}));

    Layer(1).Pixels.Fill({});
    SelectRect(4, 2, 4, 3);
    Run(Command::PasteAtSelection);
    EXPECT_EQ(*Layer(1).Pixels.Get(4, 2), (Bgra{0, 0, 1, 100}));
    EXPECT_EQ(*Layer(1).Pixels.Get(5, 3), (Bgra{1, 1, 1, 100}));

    // Within the selection: only its own column.
    Layer(1).Pixels.Fill({});
    Run(Command::PasteInSelection);
    EXPECT_EQ(*Layer(1).Pixels.Get(4, 2), (Bgra{0, 0, 1, 100}));
    EXPECT_EQ(*Layer(1).Pixels.Get(4, 3), (Bgra{0, 1, 1, 100}));
    EXPECT_EQ(*Layer(1).Pixels.Get(5, 2), (Bgra{}));
}

TEST_F(EditCommandsTest, DeselectRecordsTheEmptyMaskAndOnlyWhenThereWasASelection) {
    StartActionRecording(app.Core.Recorder, fid, "t");
    EXPECT_FALSE(Run(Command::Deselect).SaveUndo);
    SelectRect(0, 0, 0, 0);
    const EditOutcome o = Run(Command::Deselect);
    EXPECT_TRUE(o.FullRefresh);
    EXPECT_TRUE(o.SaveUndo);
    EXPECT_EQ(SelectedCount(), 0);
    // "<u><w>" of 5 by 4 bounds, then thirty bytes of 00.
    EXPECT_EQ(Lines(), (std::vector<std::string>{"PenSelect,1,0504" + std::string(60, '0')}));
}

}  // namespace
}  // namespace brv
