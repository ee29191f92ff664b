#include "actions/action_file.h"

#include <gtest/gtest.h>

#include <random>

#include "actions/action_codec.h"
#include "core/file_io.h"
#include "tests/support/fake_host.h"

namespace brv {
namespace {

using testing::TempFolder;

std::vector<uint8_t> Bytes(std::string_view s) {
    return {s.begin(), s.end()};
}

class ActionFileTest : public ::testing::Test {
protected:
    void Record(const std::vector<std::string>& lines) {
        StartActionRecording(recorder, 1, "default");
        for (const std::string& line : lines)
            AppendActionLine(recorder, 1, line);
    }
    TempFolder dir;
    ActionRecorder recorder;
};

TEST_F(ActionFileTest, LinesAreWrittenInTheCodePageAndReadBackUnchanged) {
    const std::string fnm = dir.File("take.KRA");
    const std::vector<std::string> lines = {
        "DrawPen,1,1,21,15,0,255,5,18,14,1,0,0,0,0,0,0",
        "PenSelect,1," + EncodeNumber(256) + "00FF",
        "Effectテキスト,1,記録",
    };
    Record(lines);
    ASSERT_EQ(EndActionRecording(recorder, fnm), kActionFileOk);
    // The katakana of the alphabet are one byte each on disk, the kanji two.
    const std::string_view expected =
        "DrawPen,1,1,21,15,0,255,5,18,14,1,0,0,0,0,0,0\r\n"
        "PenSelect,1,\xB5\xB1"
        "00FF\r\n"
        "Effect\x83\x65\x83\x4C\x83\x58\x83\x67,1,\x8B\x4C\x98\x5E\r\n";
    EXPECT_EQ(ReadWholeFile(fnm), Bytes(expected));
    EXPECT_EQ(recorder.ActionRecording, 0);
    EXPECT_EQ(recorder.ActionLines.size(), 1u);

    std::vector<std::string> back;
    ASSERT_EQ(ReadActionFile(fnm, back), kActionFileOk);
    EXPECT_EQ(back, lines);
    EXPECT_EQ(DecodeNumber(back[1].substr(12, 6)), 256);
}

TEST_F(ActionFileTest, EveryLetterOfTheAlphabetSurvivesTheFile) {
    const std::string fnm = dir.File("alphabet.KRA");
    std::string all;
    int32_t values = 0;
    for (int32_t v = 256; v <= 4095; v += 65, ++values)
        all += EncodeNumber(v);
    Record({std::string(kActionAlphabet), all});
    ASSERT_EQ(EndActionRecording(recorder, fnm), kActionFileOk);
    // One byte a letter on disk.
    EXPECT_EQ(FileSize(fnm), uint64_t{64 + 2} + uint64_t(2 * values) + 2u);
    std::vector<std::string> back;
    ASSERT_EQ(ReadActionFile(fnm, back), kActionFileOk);
    ASSERT_EQ(back.size(), 2u);
    EXPECT_EQ(back[0], kActionAlphabet);
    EXPECT_EQ(back[1], all);
}

TEST_F(ActionFileTest, NoLineLeavesTheOldFileAndARecordingReplacesIt) {
    const std::string fnm = dir.File("_default_.act");
    ASSERT_TRUE(WriteTextFile(fnm, "old\r\nlines\r\n"));
    Record({});
    EXPECT_EQ(EndActionRecording(recorder, fnm), kActionFileOk);
    EXPECT_EQ(ReadTextFile(fnm), "old\r\nlines\r\n");
    EXPECT_EQ(recorder.ActionRecording, 0);

    Record({"LayerAdd,1,0"});
    EXPECT_EQ(EndActionRecording(recorder, fnm), kActionFileOk);
    EXPECT_EQ(ReadTextFile(fnm), "LayerAdd,1,0\r\n");
}

TEST_F(ActionFileTest, AnUnwritableFileEndsTheSavingButStillClears) {
    Record({"LayerAdd,1,0"});
    EXPECT_EQ(EndActionRecording(recorder, dir.File("missing/folder/x.KRA")),
              kActionFileWriteFailed);
    EXPECT_EQ(recorder.ActionRecording, 0);
    std::vector<std::string> lines;
    EXPECT_EQ(ReadActionFile(dir.File("nothing.KRA"), lines), kActionFileUnreadable);
}

TEST(SplitActionLines, EachLineEndingEndsALine) {
    using V = std::vector<std::string>;
    EXPECT_EQ(SplitActionLines(""), V{});
    EXPECT_EQ(SplitActionLines("a\r\n"), V{"a"});
    EXPECT_EQ(SplitActionLines("a\r\n\r\nb"), (V{"a", "", "b"}));
    EXPECT_EQ(SplitActionLines("a\rb\nc\r\n"), (V{"a", "b", "c"}));
    EXPECT_EQ(SplitActionLines("\n"), V{""});
}

TEST(CodePage, WhatHasNoCodeBecomesAQuestionMark) {
    EXPECT_EQ(Utf8ToCodePage("ｱ"), "\xB1");
    EXPECT_EQ(Utf8ToCodePage("a\xF0\x9F\x98\x80"
                             "b"),
              "a?b");  // an emoji
    EXPECT_EQ(Utf8ToCodePage("a\xFF"
                             "b"),
              "a?b");  // no UTF-8 at all
    EXPECT_EQ(CodePageToUtf8("\xB1\xB2"), "ｱｲ");
    EXPECT_EQ(CodePageToUtf8("a\x81"), "a?");     // a lead byte cut short
    EXPECT_EQ(CodePageToUtf8("\x85\x40"), "?@");  // an unassigned pair
}

TEST(CodePage, TruncatedAndFlippedFilesDecodeToValidText) {
    const std::string good = Utf8ToCodePage("PenSelect,1,ｵｱ00FF,記録,ﾃｽﾄ\r\nDrawPen,1\r\n");
    std::mt19937 rng(3);
    for (int round = 0; round < 3000; ++round) {
        std::string s = good.substr(0, rng() % (good.size() + 1));
        if (!s.empty()) s[rng() % s.size()] ^= static_cast<char>(1 << (rng() % 8));
        const std::string text = CodePageToUtf8(s);
        for (size_t i = 0; i < text.size(); i += Utf8CharLength(text, i))
            ASSERT_TRUE(static_cast<unsigned char>(text[i]) < 0x80 || Utf8CharLength(text, i) > 1);
        SplitActionLines(text);
    }
}

TEST(ActionSaveAsName, AddsTheExtensionUnlessItIsKra) {
    EXPECT_EQ(ActionSaveAsName("/a/b.txt"), "/a/b.txt.KRA");
    EXPECT_EQ(ActionSaveAsName("/a/b"), "/a/b.KRA");
    EXPECT_EQ(ActionSaveAsName("/a/b.kra"), "/a/b.kra");
    EXPECT_EQ(ActionSaveAsName("/a/b.KrA"), "/a/b.KrA");
    EXPECT_EQ(ActionSaveAsName("/a.kra/b"), "/a.kra/b.KRA");
    EXPECT_EQ(ActionSaveAsName("C:\\x.kra\\y"), "C:\\x.kra\\y.KRA");
    EXPECT_EQ(ActionSaveAsName("bkra"), "bkra.KRA");
}

TEST_F(ActionFileTest, SaveAsCopiesTheDefaultFile) {
    const std::string from = dir.File("_default_.act");
    ASSERT_TRUE(WriteTextFile(from, "LayerAdd,1,0\r\n"));
    const std::string to = ActionSaveAsName(dir.File("mine"));
    EXPECT_EQ(CopyActionFile(from, to), kActionFileOk);
    EXPECT_EQ(ReadTextFile(dir.File("mine.KRA")), "LayerAdd,1,0\r\n");
    EXPECT_EQ(CopyActionFile(dir.File("none"), to), kActionFileUnreadable);
}

}  // namespace
}  // namespace brv
