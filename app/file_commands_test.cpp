#include "app/file_commands.h"
#include "app/file_commands_test.h"

#include <gtest/gtest.h>

#include "app/icon_set_save.h"
#include "core/byte_io.h"
#include "core/compositor.h"
#include "core/documents.h"
#include "core/file_io.h"
#include "formats/ico_codec.h"
#include "tests/support/fake_host.h"

namespace brv {
namespace {

using testing::FakeHost;
using testing::TempFolder;

// A layer picture (top-down, straight alpha) with a different value in every pixel.
PixelBuffer Gradient(int32_t w, int32_t h, uint8_t seed) {
    PixelBuffer p(w, h);
    for (int32_t y = 0; y < h; ++y)
        for (int32_t x = 0; x < w; ++x)
            p.Set(x, y,
                  {static_cast<uint8_t>(seed + x), static_cast<uint8_t>(y * 9), seed,
                   static_cast<uint8_t>(x == 0 ? 0 : 40 + x * 3 + y)});
    return p;
}

// Writes a layer picture as image `index` of an icon file at 32 bits.
void WriteIcon(const std::string& fnm, const PixelBuffer& layerPicture, int32_t index,
               int32_t hotX = 1, int32_t hotY = 32) {
    PixelBuffer fileOrder = layerPicture;
    FlipAndInvert(fileOrder, true, false);
    ASSERT_EQ(IconC().SaveIcon(fnm, fileOrder, index, hotX, hotY, 0, 32), 0);
}

using FileCommandsTest = testing::FileCommandsFixture;

// ---------------------------------------------------------------------------------------------
// The sniffer.

TEST_F(FileCommandsTest, SnifferJudgesByContentAndFollowsLinks) {
    std::string kindWord;
    int32_t count = -5;
    EXPECT_EQ(SniffFile(dir.File("missing.ico"), kindWord, count), -2);
    ASSERT_TRUE(WriteWholeFile(dir.File("empty.ico"), {}));
    EXPECT_EQ(SniffFile(dir.File("empty.ico"), kindWord, count), -2);
    EXPECT_EQ(SniffFile(dir.Path(), kindWord, count), -2);
    ASSERT_TRUE(WriteTextFile(dir.File("text.ico"), "hello"));
    EXPECT_EQ(SniffFile(dir.File("text.ico"), kindWord, count), -1);
    EXPECT_EQ(kindWord, "");

    // An icon under another name is still an icon.
    WriteIcon(dir.File("icon.png"), Gradient(4, 4, 1), 0);
    WriteIcon(dir.File("icon.png"), Gradient(8, 8, 2), -1);
    EXPECT_EQ(SniffFile(dir.File("icon.png"), kindWord, count), 0);
    EXPECT_EQ(kindWord, "ico");
    EXPECT_EQ(count, 2);

    // A header with no images is no icon for the sniffer.
    ASSERT_TRUE(WriteWholeFile(dir.File("none.cur"), std::vector<uint8_t>{0, 0, 2, 0, 0, 0}));
    EXPECT_EQ(SniffFile(dir.File("none.cur"), kindWord, count), -1);

    // A shell link with the icon as its target path.
    ByteWriter lnk;
    lnk.U32LE(0x4C);
    lnk.Bytes(std::vector<uint8_t>{1, 0x14, 2, 0, 0, 0, 0, 0, 0xC0, 0, 0, 0, 0, 0, 0, 0x46});
    lnk.U32LE(0x02);  // LinkInfo only
    lnk.Zeros(0x4C - lnk.Size());
    const std::string target = dir.File("icon.png");
    lnk.U32LE(static_cast<uint32_t>(28 + target.size() + 2));
    for (uint32_t v : {28u, 1u, 0u, 28u, 0u, static_cast<uint32_t>(28 + target.size() + 1)})
        lnk.U32LE(v);
    lnk.Text(target);
    lnk.Zeros(2);
    ASSERT_TRUE(WriteWholeFile(dir.File("shortcut.lnk"), lnk.Data()));
    std::string resolved;
    EXPECT_EQ(SniffFileTarget(dir.File("shortcut.lnk"), kindWord, count, resolved), 0);
    EXPECT_EQ(kindWord, "ico");
    EXPECT_EQ(resolved, target);
    ASSERT_TRUE(WriteTextFile(dir.File("broken.lnk"), "not a link"));
    EXPECT_EQ(SniffFile(dir.File("broken.lnk"), kindWord, count), -1);
}

TEST(FileCommandTables, TraitsExtensionsFiltersAndPreviewZoom) {
    int32_t options = 7, icon = 7;
    ExtensionTraits("cur", options, icon);
    EXPECT_EQ(options, 0);
    EXPECT_EQ(icon, -1);
    ExtensionTraits("psd", options, icon);
    EXPECT_EQ(icon, 0);
    ExtensionTraits("jpe", options, icon);
    EXPECT_EQ(options, -1);
    options = icon = 7;
    ExtensionTraits("icl", options, icon);  // others leave both
    EXPECT_EQ(options, 7);
    EXPECT_EQ(icon, 7);

    EXPECT_EQ(LowerExtension("/a.b/C.ICO"), "ico");
    EXPECT_EQ(LowerExtension("/a.b/noext"), "");

    EXPECT_NE(kOpenFilter.find("*.jpg;*.jpe;*.jpg;"), std::string_view::npos);
    EXPECT_NE(kOpenFilter.find("|PNG(*png)|*.png|"), std::string_view::npos);
    EXPECT_TRUE(kSaveFilter.starts_with("Icon(*.ico)|*.ico|Brivandelle形式(*.BVD)|*.BVD|"));
    EXPECT_TRUE(kSaveFilter.ends_with("|ビットマップ(*.bmp)|*.bmp"));

    EXPECT_EQ(ChoosePreviewZoom(256, 256), 0);
    EXPECT_EQ(ChoosePreviewZoom(32, 32), 2);  // 1 * 32 is above 31
    EXPECT_EQ(ChoosePreviewZoom(31, 31), 3);  // 1 * 31 is not
    EXPECT_EQ(ChoosePreviewZoom(1, 1), 10);   // nothing reaches: the last
}

// ---------------------------------------------------------------------------------------------
// Opening.

TEST_F(FileCommandsTest, RefusedFilesGiveTheirMessageAndNoChooser) {
    ASSERT_TRUE(WriteWholeFile(dir.File("empty.ico"), {}));
    ASSERT_TRUE(WriteTextFile(dir.File("text.ico"), "hello"));
    EXPECT_EQ(files.OpenFile(dir.File("empty.ico"), 0), 0);
    EXPECT_EQ(files.OpenFile(dir.File("missing.ico"), 0), 0);
    EXPECT_EQ(files.OpenFile(dir.File("text.ico"), 0), 0);
    EXPECT_EQ(files.OpenFile(dir.Path(), 0), 0);
    EXPECT_EQ(files.OpenFile("無し", 0), 0);
    ASSERT_EQ(host.messages.size(), 4u);
    EXPECT_EQ(host.messages[0], "ファイルが存在しないか、サイズが0です。");
    EXPECT_EQ(host.messages[1], "そのファイルは存在しません。");
    EXPECT_EQ(host.messages[2], "対応していないファイルです。");
    EXPECT_EQ(host.messages[3], "フォルダのドロップには対応していません。");
    EXPECT_TRUE(host.pictureRequests.empty());
    EXPECT_TRUE(host.createdWindows.empty());
}

TEST_F(FileCommandsTest, OneImageOpensWithoutTheChooserInLayerOrder) {
    const PixelBuffer picture = Gradient(6, 5, 30);
    const std::string fnm = dir.File("one.cur");
    WriteIcon(fnm, picture, 0, 4, 2);
    const int32_t fid = files.OpenFile(fnm, 0);
    ASSERT_GE(fid, 1);
    EXPECT_TRUE(host.pictureRequests.empty());
    const DocumentRecord& doc = Doc(fid);
    EXPECT_EQ(doc.Width, 6);
    EXPECT_EQ(doc.Height, 5);
    ASSERT_EQ(doc.LayerCount(), 1);
    EXPECT_EQ(doc.Layers[1].Pixels, picture);
    EXPECT_EQ(doc.HotspotX, 4);
    EXPECT_EQ(doc.HotspotY, 2);
    EXPECT_EQ(doc.FileName, fnm);
    EXPECT_EQ(doc.ActiveLID, 1);
    EXPECT_EQ(doc.Modified, kNo);
    EXPECT_EQ(doc.UndoPos, 1);      // the base state
    EXPECT_EQ(doc.PreviewZoom, 7);  // factor 5 gives 27.5, factor 6 gives 33
    EXPECT_EQ(app.Core.ActiveFID, fid);
    EXPECT_EQ(host.captions[fid], "one.cur [6 x 5]");
    ASSERT_EQ(host.shownWindows.size(), 1u);
    EXPECT_EQ(host.shownWindows[0], std::make_pair(fid, false));
}

TEST_F(FileCommandsTest, SeveralImagesGoThroughTheChooser) {
    const std::string fnm = dir.File("three.ico");
    WriteIcon(fnm, Gradient(4, 4, 1), 0);
    WriteIcon(fnm, Gradient(8, 6, 2), -1);
    WriteIcon(fnm, Gradient(3, 3, 3), -1);
    // Make image 2 unreadable: its header size is no longer 40.
    auto bytes = ReadWholeFile(fnm).value();
    ByteReader r(bytes);
    r.Seek(6 + 16 + 12);
    const uint32_t second = r.U32LE();
    bytes[second] = 41;
    ASSERT_TRUE(WriteWholeFile(fnm, bytes));

    host.pictureAnswers.push_back(3);
    const int32_t fid = files.OpenFile(fnm, 0);
    ASSERT_GE(fid, 1);
    EXPECT_EQ(Doc(fid).Layers[1].Pixels, Gradient(3, 3, 3));

    ASSERT_EQ(host.pictureRequests.size(), 1u);
    const auto& shown = host.pictureRequests[0];
    ASSERT_EQ(shown.size(), 3u);
    EXPECT_EQ(shown[0], Gradient(4, 4, 1));  // thumbnails in layer order
    EXPECT_TRUE(shown[1].Empty());
    ASSERT_EQ(host.progressBoxes.size(), 3u);
    EXPECT_EQ(std::get<0>(host.progressBoxes[0]), "画像取得中");
    EXPECT_EQ(std::get<2>(host.progressBoxes[0]), 3);
    EXPECT_EQ(host.progressBoxCloses, 1);
    ASSERT_EQ(host.messages.size(), 1u);
    EXPECT_EQ(host.messages[0], fnm + "Index2にエラー：アイコンの画像の設定が不正です。");

    // Cancel in the chooser opens nothing.
    EXPECT_EQ(files.OpenFile(fnm, 0), 0);
    EXPECT_EQ(host.createdWindows.size(), 1u);
}

TEST_F(FileCommandsTest, LoadFailuresNameTheFile) {
    const std::string fnm = dir.File("a.ico");
    WriteIcon(fnm, Gradient(2, 2, 1), 0);
    std::string message;
    EXPECT_EQ(files.LoadIntoDocument(fnm, 0, 4, message, true), 0);
    EXPECT_EQ(message, fnm + "を開く時のエラー：アイコンインデックスが範囲外です。");
    EXPECT_TRUE(host.messages.empty());  // silent
    EXPECT_EQ(files.LoadIntoDocument(dir.File("nothing"), 0, 1, message, false), 0);
    EXPECT_EQ(message, "画像が存在しないか、壊れているファイルです。");
    EXPECT_EQ(host.messages.size(), 1u);
    EXPECT_TRUE(host.createdWindows.empty());
}

TEST_F(FileCommandsTest, DroppedFilesAskBeforeOpeningSeveral) {
    WriteIcon(dir.File("a.ico"), Gradient(2, 2, 1), 0);
    WriteIcon(dir.File("b.ico"), Gradient(2, 2, 2), 0);
    files.OpenDroppedFiles({dir.File("a.ico"), dir.File("b.ico")});
    ASSERT_EQ(host.questions.size(), 1u);
    EXPECT_EQ(host.questions[0], "複数のファイルがドロップされました。\nすべて開きますか？");
    EXPECT_TRUE(host.createdWindows.empty());
    host.answers.push_back(Answer::Yes);
    files.OpenDroppedFiles({dir.File("a.ico"), dir.File("b.ico")});
    EXPECT_EQ(host.createdWindows.size(), 2u);
    files.OpenDroppedFiles({dir.File("a.ico")});
    EXPECT_EQ(host.questions.size(), 2u);
    EXPECT_EQ(host.createdWindows.size(), 3u);
}

// ---------------------------------------------------------------------------------------------
// Saving.

TEST_F(FileCommandsTest, SaveAsAddsIcoAndAsksTheKind) {
    WriteIcon(dir.File("src.ico"), Gradient(5, 4, 9), 0);
    const int32_t fid = files.OpenFile(dir.File("src.ico"), 0);
    ASSERT_GE(fid, 1);
    host.fileAnswers.push_back(dir.File("out"));
    host.choiceAnswers.push_back(3);
    files.SaveAs(fid);
    ASSERT_EQ(host.choiceRequests.size(), 1u);
    EXPECT_EQ(host.choiceRequests[0],
              (std::vector<std::string>{"2色+2段階アルファ", "16色+2段階アルファ",
                                        "256色+2段階アルファ", "16777216色+256段階アルファ"}));
    const std::string out = dir.File("out.ico");
    PixelBuffer back;
    int32_t hx = 0, hy = 0;
    ASSERT_EQ(IconC().LoadIcon(out, 1, back, hx, hy, false), 32);
    FlipAndInvert(back, true, false);
    PixelBuffer flat;
    ASSERT_EQ(FlattenLayers(Doc(fid), flat, 0, -1), 0);
    EXPECT_EQ(back, flat);
    EXPECT_EQ(hx, 1);  // the opened icon's planes and bit count, kept as its hot spot
    EXPECT_EQ(hy, 32);
    EXPECT_EQ(Doc(fid).FileName, out);
    EXPECT_EQ(Doc(fid).Modified, kNo);
    EXPECT_EQ(host.statusTexts.back(), "out.icoを保存しました");
}

TEST_F(FileCommandsTest, ExistingIconFileOverwriteAddOrCancel) {
    const std::string out = dir.File("set.ico");
    WriteIcon(out, Gradient(3, 3, 1), 0);
    WriteIcon(out, Gradient(3, 3, 2), -1);
    const auto before = ReadWholeFile(out).value();
    WriteIcon(dir.File("src.ico"), Gradient(2, 2, 7), 0);
    const int32_t fid = files.OpenFile(dir.File("src.ico"), 0);
    const IconC ico;

    host.answers.push_back(Answer::Cancel);
    EXPECT_EQ(files.SaveAsTo(fid, out, -2), kSaveNothing);
    EXPECT_EQ(host.questions.back(),
              out +
                  "上書きするなら「はい」、追加するなら「いいえ」、中止するなら「キャンセル」を選"
                  "んで下さい｡ ");
    EXPECT_EQ(ReadWholeFile(out).value(), before);

    // Overwrite, then cancel the kind: the old file is moved back.
    host.answers.push_back(Answer::Yes);
    EXPECT_EQ(files.SaveAsTo(fid, out, -2), kSaveNothing);
    EXPECT_EQ(ReadWholeFile(out).value(), before);

    // Add: the file's images stay in front of the document's picture.
    host.answers.push_back(Answer::No);
    EXPECT_EQ(files.SaveAsTo(fid, out, 8), kSaveDone);
    EXPECT_EQ(ico.IconCount(out), 3);
    PixelBuffer third;
    int32_t hx = 0, hy = 0;
    EXPECT_EQ(ico.LoadIcon(out, 3, third, hx, hy, false), 8);

    // Overwrite: only the document's picture.
    host.answers.push_back(Answer::Yes);
    EXPECT_EQ(files.SaveAsTo(fid, out, 32), kSaveDone);
    EXPECT_EQ(ico.IconCount(out), 1);
}

TEST_F(FileCommandsTest, CursorIsWrittenAsTheFirstKindWithItsHotSpot) {
    WriteIcon(dir.File("src.ico"), Gradient(4, 4, 3), 0, 2, 3);
    const int32_t fid = files.OpenFile(dir.File("src.ico"), 0);
    const std::string out = dir.File("c.cur");
    EXPECT_EQ(files.SaveAsTo(fid, out, -2), kSaveDone);
    EXPECT_TRUE(host.choiceRequests.empty());
    const auto bytes = ReadWholeFile(out).value();
    ByteReader r(bytes);
    r.Skip(2);
    EXPECT_EQ(r.U16LE(), 1);  // type word 1 for a cursor too
    r.Skip(2 + 4);
    EXPECT_EQ(r.U16LE(), 2);
    EXPECT_EQ(r.U16LE(), 3);
    PixelBuffer back;
    int32_t hx = 0, hy = 0;
    EXPECT_EQ(IconC().LoadIcon(out, 1, back, hx, hy, false), 4);
}

TEST_F(FileCommandsTest, OverwriteSaveOfAVanishedFileAsksFirst) {
    const std::string fnm = dir.File("gone.ico");
    WriteIcon(fnm, Gradient(2, 2, 5), 0);
    const int32_t fid = files.OpenFile(fnm, 0);
    ASSERT_TRUE(DeleteFile(fnm));
    files.SaveFile(fid);
    ASSERT_EQ(host.questions.size(), 1u);
    EXPECT_EQ(host.questions[0],
              "上書きファイルが存在しません。\n" + fnm + "\nに保存して宜しいですか？");
    EXPECT_FALSE(FileExists(fnm));
    host.answers.push_back(Answer::Yes);
    host.choiceAnswers.push_back(1);
    files.SaveFile(fid);
    PixelBuffer back;
    int32_t hx = 0, hy = 0;
    EXPECT_EQ(IconC().LoadIcon(fnm, 1, back, hx, hy, false), 4);

    // A document never saved goes to the file dialog.
    int32_t w = 3, h = 3;
    const int32_t fresh = NewDocument(app.Core, host, w, h);
    host.fileAnswers.push_back(std::nullopt);
    files.SaveFile(fresh);
    EXPECT_TRUE(host.fileAnswers.empty());
}

TEST_F(FileCommandsTest, OtherExtensionsAskBeforeOverwriting) {
    WriteIcon(dir.File("src.ico"), Gradient(2, 2, 5), 0);
    const int32_t fid = files.OpenFile(dir.File("src.ico"), 0);
    ASSERT_TRUE(WriteTextFile(dir.File("x.png"), "old"));
    host.answers.push_back(Answer::No);
    EXPECT_EQ(files.SaveAsTo(fid, dir.File("x.png"), -2), kSaveNothing);
    EXPECT_EQ(host.questions.back(), "ファイルは存在しています。上書きして宜しいですか？");
    EXPECT_EQ(ReadTextFile(dir.File("x.png")).value(), "old");
    int32_t mode = -1;
    EXPECT_EQ(files.SaveByExtension(dir.File("y.ico"), fid, mode), kSaveNothing);
    EXPECT_EQ(mode, -1);
    EXPECT_FALSE(FileExists(dir.File("y.ico")));
}

}  // namespace
}  // namespace brv
