#include "tools/clipboard.h"

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

class ClipboardTest : public ::testing::Test {
protected:
    void SetUp() override {
        state.Paths = ComputeAppPaths("/opt/brivandelle/");
        InitDocTable(state);
        host.clock = 5000.0;
        host.clockStep = 250.0;  // every document its own stamp
        source = New(8, 6);
        other = New(5, 4);
        state.ActiveFID = source;
        // Each pixel its own colour, alpha falling to the right.
        for (int32_t y = 0; y < 6; ++y)
            for (int32_t x = 0; x < 8; ++x)
                Layer(source).Pixels.Set(x, y,
                                         {static_cast<uint8_t>(x), static_cast<uint8_t>(y), 9,
                                          static_cast<uint8_t>(255 - 30 * x)});
    }
    int32_t New(int32_t w, int32_t h) { return NewDocument(state, host, w, h); }
    DocumentRecord& Doc(int32_t fid) { return state.Docs[static_cast<size_t>(fid)]; }
    LayerRecord& Layer(int32_t fid, int32_t lid = 1) {
        return Doc(fid).Layers[static_cast<size_t>(lid)];
    }
    ClipContext Ctx() { return ClipContext{state, host, clip}; }
    // Selects the document rectangle, inclusive, and counts the outline as a redraw would.
    void SelectRect(int32_t fid, int32_t l, int32_t t, int32_t r, int32_t b) {
        DocumentRecord& d = Doc(fid);
        std::fill(d.Selection.bytes.begin(), d.Selection.bytes.end(), uint8_t{0});
        for (int32_t y = t; y <= b; ++y)
            for (int32_t x = l; x <= r; ++x)
                d.Selection.bytes[static_cast<size_t>(y * d.Width + x)] = 1;
        BuildOutline(d);
    }
    std::vector<std::string> Lines() const {
        return {state.Recorder.ActionLines.begin() + 1, state.Recorder.ActionLines.end()};
    }

    FakeHost host;
    CoreState state;
    PrivateClipRecord clip;
    int32_t source = 0;
    int32_t other = 0;
};

TEST_F(ClipboardTest, ACopyGoesToTheClipboardInTransitAndToThePrivateCopyWithItsPlace) {
    StartActionRecording(state.Recorder, source, "t");
    SelectRect(source, 2, 1, 4, 2);
    ASSERT_EQ(CutOrCopy(Ctx(), source, 1, false, false), kClipOk);
    ASSERT_TRUE(host.clipboard);
    const PixelBuffer& c = *host.clipboard;
    ASSERT_EQ(c.Width(), 3);
    ASSERT_EQ(c.Height(), 2);
    // Rows bottom-up and the fourth byte a transparency: document (2, 2) comes first.
    EXPECT_EQ(*c.Get(0, 0), (Bgra{2, 2, 9, 60}));
    EXPECT_EQ(*c.Get(2, 1), (Bgra{4, 1, 9, 120}));
    EXPECT_EQ(clip.Pixels, c);
    EXPECT_EQ(clip.Left, 2);
    EXPECT_EQ(clip.Top, 1);
    EXPECT_EQ(clip.Width, 3);
    EXPECT_EQ(clip.Height, 2);
    EXPECT_EQ(clip.Valid, kYes);
    EXPECT_EQ(clip.OwnerStamp, Doc(source).Stamp);
    EXPECT_NE(Doc(source).Stamp, Doc(other).Stamp);
    // A copy leaves the document and the selection as they were.
    EXPECT_EQ(*Layer(source).Pixels.Get(2, 1), (Bgra{2, 1, 9, 195}));
    EXPECT_EQ(Doc(source).Selection.bytes[1 * 8 + 2], 1);
    EXPECT_EQ(Lines(), (std::vector<std::string>{"EditCutOrCopy,1,0"}));
}

TEST_F(ClipboardTest, CutClearsThePixelsAndTheWholeSelectionDeleteSparesTheClipboard) {
    StartActionRecording(state.Recorder, source, "t");
    SelectRect(source, 0, 0, 1, 0);
    ASSERT_EQ(CutOrCopy(Ctx(), source, 1, true, false), kClipOk);
    EXPECT_EQ(*Layer(source).Pixels.Get(0, 0), (Bgra{}));
    EXPECT_EQ(*Layer(source).Pixels.Get(1, 0), (Bgra{}));
    EXPECT_EQ(*Layer(source).Pixels.Get(2, 0), (Bgra{2, 0, 9, 195}));
    EXPECT_EQ(std::count(Doc(source).Selection.bytes.begin(), Doc(source).Selection.bytes.end(),
                         uint8_t{1}),
              0);
    const PixelBuffer held = *host.clipboard;
    const PrivateClipRecord kept = clip;

    SelectRect(source, 5, 5, 6, 5);
    ASSERT_EQ(CutOrCopy(Ctx(), source, 1, true, true), kClipOk);
    EXPECT_EQ(*Layer(source).Pixels.Get(5, 5), (Bgra{}));
    EXPECT_EQ(host.clipboardPuts, 1);
    EXPECT_EQ(*host.clipboard, held);
    EXPECT_EQ(clip.Left, kept.Left);
    EXPECT_EQ(clip.Pixels, kept.Pixels);
    // Delete records the same line as a cut.
    EXPECT_EQ(Lines(), (std::vector<std::string>{"EditCutOrCopy,1,-1", "EditCutOrCopy,1,-1"}));
}

TEST_F(ClipboardTest, NothingSelectedDoesNothingAndSaysNothing) {
    StartActionRecording(state.Recorder, source, "t");
    const PixelBuffer before = Layer(source).Pixels;
    EXPECT_EQ(CutOrCopy(Ctx(), source, 1, true, false), kClipNothing);
    EXPECT_EQ(Layer(source).Pixels, before);
    EXPECT_EQ(host.clipboardPuts, 0);
    EXPECT_TRUE(host.messages.empty());
    EXPECT_TRUE(Lines().empty());
    // An empty clipboard: the paste does nothing either.
    EXPECT_EQ(Paste(Ctx(), source, 1, 0, 0, false), kClipNothing);
    EXPECT_EQ(Layer(source).Pixels, before);
    EXPECT_TRUE(Lines().empty());
}

TEST_F(ClipboardTest, APasteLandsWhereThePieceWasInItsDocumentAndAtTheCornerElsewhere) {
    StartActionRecording(state.Recorder, source, "t");
    SelectRect(source, 2, 1, 4, 2);
    CutOrCopy(Ctx(), source, 1, true, false);
    ASSERT_EQ(Paste(Ctx(), source, 1, kPasteSentinel, kPasteSentinel, false), kClipOk);
    // Back in place, alpha and all.
    EXPECT_EQ(*Layer(source).Pixels.Get(2, 1), (Bgra{2, 1, 9, 195}));
    EXPECT_EQ(*Layer(source).Pixels.Get(4, 2), (Bgra{4, 2, 9, 135}));

    ASSERT_EQ(Paste(Ctx(), other, 1, kPasteSentinel, kPasteSentinel, false), kClipOk);
    EXPECT_EQ(*Layer(other).Pixels.Get(0, 0), (Bgra{2, 1, 9, 195}));
    EXPECT_EQ(*Layer(other).Pixels.Get(2, 1), (Bgra{4, 2, 9, 135}));
    EXPECT_EQ(*Layer(other).Pixels.Get(3, 0), (Bgra{}));
    // The place resolved is the one written.
    EXPECT_EQ(Lines(), (std::vector<std::string>{"EditCutOrCopy,1,-1", "EditPaste,1,2,1,0",
                                                 "EditPaste,1,0,0,0"}));
}

TEST_F(ClipboardTest, APasteReplacesWhatIsThereAndDropsWhatFallsOffRightOrBelow) {
    Layer(other).Pixels.Fill({7, 7, 7, 7});
    SelectRect(source, 0, 0, 2, 2);
    Doc(source).Selection.bytes[1 * 8 + 1] = 0;  // a hole: a transparent pixel in the piece
    CutOrCopy(Ctx(), source, 1, false, false);
    ASSERT_EQ(Paste(Ctx(), other, 1, 3, 2, false), kClipOk);
    EXPECT_EQ(*Layer(other).Pixels.Get(3, 2), (Bgra{0, 0, 9, 255}));
    EXPECT_EQ(*Layer(other).Pixels.Get(3, 3), (Bgra{0, 1, 9, 255}));
    EXPECT_EQ(*Layer(other).Pixels.Get(4, 2), (Bgra{1, 0, 9, 225}));
    // The hole replaced the pixel under it with four zero bytes.
    EXPECT_EQ(*Layer(other).Pixels.Get(4, 3), (Bgra{}));
    EXPECT_EQ(*Layer(other).Pixels.Get(2, 2), (Bgra{7, 7, 7, 7}));
    // A place left of or above the layer is where the paste stops.
    EXPECT_EQ(Paste(Ctx(), other, 1, -1, 0, false), kClipOutsideLayer);
    EXPECT_EQ(Paste(Ctx(), other, 1, 0, -3, false), kClipOutsideLayer);
    // Entirely beyond the right edge: every pixel dropped before any test of the left.
    EXPECT_EQ(Paste(Ctx(), other, 1, 5, -3, false), kClipOk);
    EXPECT_EQ(Paste(Ctx(), other, 7, 0, 0, false), kClipOutsideLayer);
}

TEST_F(ClipboardTest, AMaskedPasteKeepsToTheSelection) {
    SelectRect(source, 0, 0, 1, 1);
    CutOrCopy(Ctx(), source, 1, false, false);
    SelectRect(other, 1, 1, 1, 2);
    ASSERT_EQ(Paste(Ctx(), other, 1, 0, 1, true), kClipOk);
    EXPECT_EQ(*Layer(other).Pixels.Get(0, 1), (Bgra{}));
    EXPECT_EQ(*Layer(other).Pixels.Get(1, 1), (Bgra{1, 0, 9, 225}));
    EXPECT_EQ(*Layer(other).Pixels.Get(1, 2), (Bgra{1, 1, 9, 225}));
    EXPECT_EQ(*Layer(other).Pixels.Get(0, 2), (Bgra{}));
}

TEST_F(ClipboardTest, TheSizeAloneDecidesBetweenThePrivateCopyAndTheClipboard) {
    SelectRect(source, 1, 1, 2, 1);
    CutOrCopy(Ctx(), source, 1, false, false);
    Layer(source).Pixels.Fill({});
    // Another program's picture of the same size: the private copy comes back, with its place.
    PixelBuffer foreign(2, 1);
    foreign.Fill({50, 60, 70, 0});
    host.clipboard = foreign;
    ASSERT_EQ(Paste(Ctx(), source, 1, kPasteSentinel, kPasteSentinel, false), kClipOk);
    EXPECT_EQ(*Layer(source).Pixels.Get(1, 1), (Bgra{1, 1, 9, 225}));
    EXPECT_EQ(*Layer(source).Pixels.Get(2, 1), (Bgra{2, 1, 9, 195}));
    // Of another size: that picture at the corner, its fourth byte a transparency.
    PixelBuffer bigger(3, 1);
    bigger.Fill({50, 60, 70, 0});
    bigger.Set(2, 0, {1, 2, 3, 200});
    host.clipboard = bigger;
    ASSERT_EQ(Paste(Ctx(), source, 1, kPasteSentinel, kPasteSentinel, false), kClipOk);
    EXPECT_EQ(*Layer(source).Pixels.Get(0, 0), (Bgra{50, 60, 70, 255}));
    EXPECT_EQ(*Layer(source).Pixels.Get(2, 0), (Bgra{1, 2, 3, 55}));

    PixelBuffer got;
    int32_t left = 9, top = 9, owner = 9;
    EXPECT_EQ(GetClipSource(host, clip, got, left, top, owner, true), kClipOk);
    EXPECT_EQ(left, 9);  // the size alone was asked for
    EXPECT_EQ(GetClipSource(host, clip, got, left, top, owner, false), kClipOk);
    EXPECT_EQ(left, 0);
    EXPECT_EQ(owner, 0);
    host.clipboard.reset();
    EXPECT_EQ(GetClipSource(host, clip, got, left, top, owner, true), kClipNothing);
}

TEST_F(ClipboardTest, ARefusingPlatformGetsAMessageAndThePrivateCopyIsMadeAnyway) {
    host.clipboardRefuses = true;
    SelectRect(source, 0, 0, 0, 0);
    EXPECT_EQ(CutOrCopy(Ctx(), source, 1, false, false), kClipOk);
    ASSERT_EQ(host.messages.size(), 1u);
    EXPECT_EQ(host.messages[0], kClipboardRefused);
    EXPECT_EQ(clip.Width, 1);
    EXPECT_EQ(clip.Valid, kYes);
}

}  // namespace
}  // namespace brv
