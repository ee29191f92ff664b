#include "app/action_player.h"
#include "app/edit_commands.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "actions/action_codec.h"
#include "actions/action_file.h"
#include "core/documents.h"
#include "core/file_io.h"
#include "core/layer_ops.h"
#include "core/view_render.h"
#include "tests/support/fake_host.h"
#include "tools/flood_fill.h"
#include "tools/retouch.h"
#include "tools/stamp.h"
#include "tools/tool_steps.h"

namespace brv {
namespace {

using testing::FakeHost;
using testing::TempFolder;

// The fields of a line as numbers.
std::vector<int32_t> Numbers(const std::string& line) {
    std::vector<int32_t> numbers;
    size_t start = 0;
    while (true) {
        const size_t comma = line.find(',', start);
        numbers.push_back(LenientInt(line.substr(start, comma - start)));
        if (comma == std::string::npos) return numbers;
        start = comma + 1;
    }
}

double Twips(int32_t px) {
    return px * 15.0 + 7.0;
}

// Everything a hook was called with, one text a call.
struct HookLog {
    std::vector<std::string> calls;
    ActionPlayerHooks Hooks() {
        ActionPlayerHooks h;
        h.SubEffect = [this](int32_t, int32_t lid, std::string_view name,
                             const std::vector<int32_t>& args) {
            std::string s = "sub " + std::to_string(lid) + " " + std::string(name);
            for (int32_t v : args)
                s += " " + std::to_string(v);
            calls.push_back(s);
            return 0;
        };
        h.NamedCommand = [this](int32_t, int32_t lid, std::string_view name,
                                const std::vector<std::string>& values) {
            std::string s = "se " + std::to_string(lid) + " " + std::string(name);
            for (const std::string& v : values)
                s += " [" + v + "]";
            calls.push_back(s);
            return 0;
        };
        h.PaletteRefresh = [this](int32_t, int32_t lid, const std::vector<uint8_t>& palette) {
            std::string s = "palette " + std::to_string(lid);
            for (uint8_t v : palette)
                s += " " + std::to_string(v);
            calls.push_back(s);
            return 0;
        };
        return h;
    }
};

class ActionPlayerTest : public ::testing::Test {
protected:
    void SetUp() override {
        app.Core.Paths = ComputeAppPaths(dir.Path());
        MakeDirectories(app.Core.Paths.TempDir);
        InitDocTable(app.Core);
        host.tempFolder = dir.Path();
        int32_t w = 24, h = 20;
        fid = NewDocument(app.Core, host, w, h);
        app.Core.ActiveFID = fid;
        Doc().Zoom = 1.0;
        Doc().WindowClient = {400, 300};
        Doc().ViewRight = 400;
        Doc().ViewBottom = 300;
        // Something for the retouch tools to work on: a colour ramp, half of it opaque.
        for (int32_t y = 0; y < 20; ++y)
            for (int32_t x = 0; x < 24; ++x)
                Layer(1).Pixels.Set(
                    x, y,
                    {static_cast<uint8_t>(10 * x), static_cast<uint8_t>(12 * y),
                     static_cast<uint8_t>(x * y), static_cast<uint8_t>(x < 12 ? 255 : 128)});
    }
    DocumentRecord& Doc(int32_t f = 0) { return app.Core.Docs[static_cast<size_t>(f ? f : fid)]; }
    LayerRecord& Layer(int32_t lid, int32_t f = 0) {
        return Doc(f).Layers[static_cast<size_t>(lid)];
    }
    LayerRecord& Pen() { return Layer(Doc().PenLID); }

    PaintContext Ctx() {
        return PaintContext(
            app.Core, app.Freehand, nullptr, nullptr,
            [](const PixelBuffer& p) { return EncodeByteImage(p); },
            [](const SelectionMask& m) { return EncodeByteImage(m); });
    }
    // One stroke of the current tool through the canvas routines: a press, moves, a release.
    void Stroke(std::vector<std::pair<int32_t, int32_t>> points) {
        const PaintContext ctx = Ctx();
        clock += 50.0;
        PenStep(ctx, fid, kLeftButton, 0, Twips(points[0].first), Twips(points[0].second), clock);
        for (size_t i = 1; i < points.size(); ++i) {
            clock += 50.0;
            CanvasDrag(ctx, fid, kLeftButton, 0, Twips(points[i].first), Twips(points[i].second),
                       clock);
        }
        clock += 50.0;
        CanvasUp(ctx, fid, kLeftButton, 0, Twips(points.back().first), Twips(points.back().second),
                 clock);
    }
    // A document made as a copy of the given one, in a new slot.
    int32_t CopyOf(const DocumentRecord& source) {
        int32_t w = source.Width, h = source.Height;
        const int32_t f = NewDocument(app.Core, host, w, h);
        app.Core.Docs[static_cast<size_t>(f)] = source;
        return f;
    }
    std::string WriteAction(const std::string& text, const std::string& name = "a.KRA") {
        const std::string fnm = dir.File(name);
        EXPECT_TRUE(WriteWholeFile(fnm, std::vector<uint8_t>(text.begin(), text.end())));
        return fnm;
    }
    int32_t Play(const std::string& fnm, int32_t f, std::string& result) {
        ActionContext ctx{app, host, hooks};
        return RunActionFile(ctx, f, fnm, result);
    }
    int32_t Line(std::string_view line, int32_t f = 0) {
        ActionContext ctx{app, host, hooks};
        return RunActionLine(ctx, f ? f : fid, line);
    }

    TempFolder dir;
    FakeHost host;
    AppState app;
    ActionPlayerHooks hooks;
    int32_t fid = 0;
    double clock = 1000.0;
};

TEST(LenientNumbers, StopAtTheFirstCharacterThatDoesNotFit) {
    EXPECT_EQ(LenientNumber("12abc"), 12.0);
    EXPECT_EQ(LenientNumber("  -3.5,"), -3.5);
    EXPECT_EQ(LenientNumber("1e3"), 1000.0);
    EXPECT_EQ(LenientNumber("2E"), 2.0);
    EXPECT_EQ(LenientNumber(".5"), 0.5);
    EXPECT_EQ(LenientNumber("True"), 0.0);
    EXPECT_EQ(LenientNumber("-"), 0.0);
    EXPECT_EQ(LenientNumber(""), 0.0);
    EXPECT_EQ(LenientNumber("1e999"), 0.0);
    // Rounded to even; beyond 32 bits it stays 0.
    EXPECT_EQ(LenientInt("2.5"), 2);
    EXPECT_EQ(LenientInt("3.5"), 4);
    EXPECT_EQ(LenientInt("-2147483648"), INT32_MIN);
    EXPECT_EQ(LenientInt("2147483648"), 0);
}

TEST(ActionErrorTexts, OneForEachCodeAndNoneForOthers) {
    EXPECT_EQ(ActionErrorText(0), "");
    EXPECT_EQ(ActionErrorText(-1), "アクション文字列の引数が足りません。");
    EXPECT_EQ(ActionErrorText(-2), "DrawPenの引数が足りません。");
    EXPECT_EQ(ActionErrorText(-3), "未定義のアクションです。");
    EXPECT_EQ(ActionErrorText(-4),
              "エフェクトの引数が不正です。このエフェクトを使用できる画像でない可能性があります。");
    EXPECT_EQ(ActionErrorText(-5), "エフェクトの引数が不正か範囲外です。処理は行いませんでした。");
    EXPECT_EQ(ActionErrorText(-6), "");
    EXPECT_EQ(ActionErrorText(kActionLineFault), "");
}

// A session painted live through the canvas routines with the recorder on, played back on a
// copy of the document it started from, gives the same document.
TEST_F(ActionPlayerTest, ARecordedSessionPlaysBackToTheSamePixels) {
    const DocumentRecord start = Doc();
    StartActionRecording(app.Core.Recorder, fid, kDefaultActionName);

    Pen().Tool = 1;
    Pen().PenColor = 0x2040F0;
    Pen().PenTransparency = 40;
    Pen().PenParams(1, 1) = 3;
    Pen().PenParams(1, 4) = 1;
    Stroke({{2, 2}, {6, 3}, {10, 7}, {11, 12}});
    // The eraser with the soft box off, which is how every played eraser line runs.
    Pen().PenParams(1, 4) = 0;
    Pen().Tool = 2;
    Pen().PenParams(2, 1) = 60;
    Pen().PenParams(2, 2) = 2;
    Stroke({{4, 2}, {8, 6}, {9, 9}});
    Pen().PenParams(1, 4) = 1;
    Pen().PenParams(1, 1) = 2;
    for (int32_t tool : {4, 10, 14}) {
        Pen().Tool = tool;
        Stroke({{3, 10}, {7, 13}, {14, 17}});
    }
    Pen().Tool = 5;
    Pen().PenParams(5, 1) = 20;
    Pen().PenParams(5, 2) = 200;
    Stroke({{20, 18}});
    Pen().PenParams(11, 3) = 40;
    Pen().PenParams(11, 4) = 3;
    Pen().PenParams(12, 3) = 60;
    Pen().PenParams(12, 4) = 3;
    Pen().PenParams(13, 3) = 30;
    Pen().PenParams(13, 4) = 3;
    Pen().PenParams(15, 1) = -90;
    Pen().PenParams(15, 2) = 3;
    for (int32_t tool : {11, 12, 13, 15}) {
        Pen().Tool = tool;
        Stroke({{13, 4}, {16, 6}, {19, 11}});
    }
    // A second layer: a stroke, a fill of the layer below's shape, a move and the merge.
    LayerAdd(app.Core, fid);
    Pen().Tool = 1;
    Stroke({{1, 18}, {22, 18}});
    Pen().Tool = 5;
    Pen().PenParams(5, 4) = 1;
    Stroke({{22, 1}});
    Pen().Tool = 7;
    Stroke({{5, 5}, {7, 6}});
    LayerCombine(app.Core, host, fid, 0, true);
    Pen().Tool = 16;
    Stroke({{17, 3}});
    EffectHooks effectHooks;
    ASSERT_EQ(RunEffect(app.Core, host, app.Effects, effectHooks, fid, 1, "ef_rev",
                        EffectArgs{-1, 0, -1, 0}),
              0);
    const std::string fnm = app.Core.Paths.DefaultActionFile;
    ASSERT_EQ(EndActionRecording(app.Core.Recorder, fnm), kActionFileOk);

    std::vector<std::string> lines;
    ASSERT_EQ(ReadActionFile(fnm, lines), kActionFileOk);
    auto count = [&](std::string_view verb) {
        return std::count_if(lines.begin(), lines.end(), [&](const std::string& l) {
            return l.rfind(std::string(verb) + ",", 0) == 0;
        });
    };
    for (const char* verb : {"DrawPen", "PenLine", "PenRect", "PenElipse", "PenFill", "PenBaking",
                             "PenScumble", "PenFingerDraw", "PenAlpha", "LayerAdd", "PenLayerMove",
                             "LayerCombine", "PenHotspot", "Effectef_rev"})
        EXPECT_GE(count(verb), 1) << verb;

    const int32_t copy = CopyOf(start);
    std::string result;
    EXPECT_EQ(Play(fnm, copy, result), 0);
    EXPECT_EQ(result, "エラー数 0/" + std::to_string(lines.size()) + " ");
    EXPECT_TRUE(host.messages.empty());
    ASSERT_EQ(Doc(copy).LayerCount(), Doc().LayerCount());
    EXPECT_NE(Layer(1).Pixels, start.Layers[1].Pixels);
    EXPECT_EQ(Layer(1, copy).Pixels, Layer(1).Pixels);
    EXPECT_EQ(Layer(1, copy).OffsetX, Layer(1).OffsetX);
    // The hot spot is taken on the merged layer, which kept the moved layer's offset.
    EXPECT_EQ(Doc(copy).HotspotX, 15);
    EXPECT_EQ(Doc(copy).HotspotY, 2);
    EXPECT_EQ(Doc(copy).HotspotX, Doc().HotspotX);
}

// Selections made with both tools, cut, copy and every paste, recorded live and played on a
// copy of the starting document: the same layers and the same mask.
TEST_F(ActionPlayerTest, ASelectionAndClipboardSessionPlaysBackToTheSamePixels) {
    const DocumentRecord start = Doc();
    StartActionRecording(app.Core.Recorder, fid, kDefaultActionName);
    auto edit = [&](Command c) {
        RunEditCommand(app, host, c, fid);
        BuildOutline(Doc());  // the full refresh
    };
    Pen().Tool = 9;
    Stroke({{2, 2}, {5, 4}, {7, 6}});
    BuildOutline(Doc());
    edit(Command::Cut);
    Pen().Tool = 6;
    Stroke({{14, 3}, {20, 3}, {20, 9}, {15, 12}});
    BuildOutline(Doc());
    edit(Command::PasteAtSelection);
    edit(Command::PasteInSelection);
    edit(Command::Copy);
    edit(Command::PasteNewLayer);
    Pen().Tool = 9;
    Stroke({{1, 14}, {6, 18}});
    BuildOutline(Doc());
    edit(Command::Delete);
    Stroke({{10, 10}, {12, 12}});
    BuildOutline(Doc());
    edit(Command::Deselect);
    const std::string fnm = app.Core.Paths.DefaultActionFile;
    ASSERT_EQ(EndActionRecording(app.Core.Recorder, fnm), kActionFileOk);

    const int32_t copy = CopyOf(start);
    std::string result;
    EXPECT_EQ(Play(fnm, copy, result), 0);
    EXPECT_EQ(result.rfind("エラー数 0/", 0), 0u) << result;
    ASSERT_EQ(Doc(copy).LayerCount(), 2);
    EXPECT_NE(Layer(1).Pixels, start.Layers[1].Pixels);
    EXPECT_EQ(Layer(1, copy).Pixels, Layer(1).Pixels);
    EXPECT_EQ(Layer(2, copy).Pixels, Layer(2).Pixels);
    EXPECT_EQ(Doc(copy).Selection.bytes, Doc().Selection.bytes);
}

// What a played line does differently from the live step, by design.
TEST_F(ActionPlayerTest, PlayedErasersAreHardAndPlayedScumblesUnprotected) {
    const DocumentRecord start = Doc();
    StartActionRecording(app.Core.Recorder, fid, kDefaultActionName);
    Pen().PenFlag = -1;
    Pen().Tool = 12;
    Pen().PenParams(12, 3) = 80;
    Pen().PenParams(12, 4) = 3;
    Stroke({{10, 4}, {14, 8}});
    Pen().PenFlag = 0;
    Pen().PenParams(1, 4) = 1;
    Pen().Tool = 2;
    Pen().PenParams(2, 1) = 50;
    Pen().PenParams(2, 2) = 4;
    Stroke({{3, 14}, {9, 16}});
    const std::vector<std::string> lines(app.Core.Recorder.ActionLines.begin() + 1,
                                         app.Core.Recorder.ActionLines.end());
    EndActionRecording(app.Core.Recorder, app.Core.Paths.DefaultActionFile);

    // The same steps by hand: the scumble without protection, the eraser without soft.
    DocumentRecord expected = start;
    PixelBuffer& px = expected.Layers[1].Pixels;
    RectI r;
    ScumbleStroke(px, 10, 4, 10, 4, 3, 80, r, false);
    ScumbleStroke(px, 14, 8, 10, 4, 3, 80, r, false);
    for (const std::string& l : lines) {
        if (l.rfind("DrawPen,", 0) != 0) continue;
        const std::vector<int32_t> f = Numbers(l);
        const int32_t size = f[8], x0 = f[9] == kNoPoint ? f[3] : f[9],
                      y0 = f[10] == kNoPoint ? f[4] : f[10];
        const double t = std::pow(50 / 100.0, (size - 1.0) / 5.0 + 1.0) * 255.0;
        DrawLineStamps(px, f[3], f[4], x0, y0, size, 0, t, r, true, 0,
                       (x0 == f[3] && y0 == f[4]) ? 0 : size, false);
    }
    const int32_t copy = CopyOf(start);
    std::string result;
    EXPECT_EQ(Play(app.Core.Paths.DefaultActionFile, copy, result), 0);
    EXPECT_EQ(Layer(1, copy).Pixels, expected.Layers[1].Pixels);
    EXPECT_NE(Layer(1, copy).Pixels, Layer(1).Pixels);
}

TEST_F(ActionPlayerTest, EachMalformedLineGetsItsCodeAndTheRunGoesOn) {
    const PixelBuffer before = Layer(1).Pixels;
    EXPECT_EQ(Line(""), 0);
    EXPECT_EQ(Line("PenRect"), -1);
    EXPECT_EQ(Line("DrawPen,1,1"), -2);
    EXPECT_EQ(Line("DrawPen,1,1,5,5,0,255,3,-32767,-32767,1,0,0,0,0,0"), -2);  // 16 fields
    EXPECT_EQ(Line("Frobnicate,1,2"), -3);
    EXPECT_EQ(Line("Redo,1,0"), -3);
    EXPECT_EQ(Line("PenWhatever,1,2,3"), 0);
    EXPECT_EQ(Line("LayerWhatever,1,0"), 0);
    EXPECT_EQ(Line("EditWhatever,1,0"), 0);
    EXPECT_EQ(Line("SubEffectsef_other,1,0"), 0);
    EXPECT_EQ(Layer(1).Pixels, before);
    EXPECT_EQ(Doc().LayerCount(), 1);

    // An effect that cannot read its arguments, then a line that still runs; a blank line
    // in the middle is counted; the last line has no line break.
    const std::string fnm =
        WriteAction("Effectef_rev,1,x,x,x,x\r\n\r\nOops\r\nDrawPen,1,1\r\nPenHotspot,1,5,6");
    std::string result;
    EXPECT_EQ(Play(fnm, fid, result), -1);
    EXPECT_EQ(Doc().HotspotX, 5);
    EXPECT_EQ(Doc().HotspotY, 6);
    const std::string log =
        "1行目 / 5行 Effectef_rev\n"
        "エフェクトの引数が不正です。このエフェクトを使用できる画像でない可能性があります。\n"
        "\nアクション文字列の引数が足りません。\n"
        "4行目 / 5行 DrawPen\nDrawPenの引数が足りません。\n";
    EXPECT_EQ(result, "エラー数 3/5 " + log);
    ASSERT_EQ(host.messages.size(), 1u);
    EXPECT_EQ(host.messages[0], "5つ中3つのエラーが発生\n\n" + log);
    EXPECT_EQ(Layer(1).Pixels, before);
}

TEST_F(ActionPlayerTest, AnEmptyFileRunsNothingAndShowsNoBox) {
    std::string result;
    EXPECT_EQ(Play(WriteAction(""), fid, result), 0);
    EXPECT_EQ(result, "エラー数 0/0 ");
    EXPECT_TRUE(host.messages.empty());
    // A file that is not there does nothing at all.
    result = "untouched";
    EXPECT_EQ(Play(dir.File("missing.KRA"), fid, result), 0);
    EXPECT_EQ(result, "untouched");
}

TEST_F(ActionPlayerTest, TheOptionsAskAtEachLineWarnAtEachErrorOrKeepQuiet) {
    app.Core.Settings.ActionStepMessage = 1;
    app.Core.Settings.ActionErrorWarn = 1;
    int32_t redraws = 0;
    hooks.Effects.RedrawDocument = [&](int32_t f) {
        EXPECT_EQ(f, fid);
        ++redraws;
    };
    host.answers = {Answer::Yes, Answer::No};
    const std::string fnm = WriteAction("PenHotspot,1,1,1\nNope,1\nPenHotspot,1,2,2\n");
    std::string result;
    EXPECT_EQ(Play(fnm, fid, result), -1);
    const std::string tail =
        "\n\n（次からメッセージをスキップする時は「いいえ」を選択してください。）";
    EXPECT_EQ(host.questions, (std::vector<std::string>{"1行目 / 3行 PenHotspot" + tail,
                                                        "2行目 / 3行 Nope" + tail}));
    EXPECT_EQ(redraws, 2);
    // "No" skips the questions from then on, but every line still runs.
    EXPECT_EQ(Doc().HotspotX, 2);
    ASSERT_EQ(host.messages.size(), 2u);
    EXPECT_EQ(host.messages[0], "2行目 / 3行 Nopeを実行時にエラー\n\n未定義のアクションです。");
    EXPECT_EQ(host.messages[1].rfind("3つ中1つのエラーが発生\n\n", 0), 0u);

    host.messages.clear();
    app.Core.Settings = SettingsRecord{};
    app.Player.ActionQuietEnd = true;
    EXPECT_EQ(Play(fnm, fid, result), -1);
    EXPECT_TRUE(host.messages.empty());
    EXPECT_EQ(result, "エラー数 1/3 2行目 / 3行 Nope\n未定義のアクションです。\n");
}

TEST_F(ActionPlayerTest, TheStatusLineShowsTheLineAfterTheFirstSecondAtMostEvery100ms) {
    // Each clock reading is 40 ms on: the first drawing comes once a second has passed, the
    // next ones no sooner than 100 ms after the last.
    host.clockStep = 40.0;
    std::vector<bool> playing;
    hooks.NamedCommand = [&](int32_t, int32_t, std::string_view, const std::vector<std::string>&) {
        playing.push_back(app.Player.Playing);
        host.clock += 300.0;
        return 0;
    };
    std::string text;
    for (int i = 0; i < 6; ++i)
        text += "se_x,1,0\n";
    std::string result;
    EXPECT_EQ(Play(WriteAction(text), fid, result), 0);
    EXPECT_EQ(playing, std::vector<bool>(6, true));
    EXPECT_FALSE(app.Player.Playing);
    // Readings: start 0; line i is read at 40 + 340 (i - 1): 40, 380, 720, 1060, 1400, 1740.
    EXPECT_EQ(host.progress, (std::vector<std::pair<int32_t, int32_t>>{{4, 6}, {5, 6}, {6, 6}}));
    EXPECT_EQ(host.statusTexts, (std::vector<std::string>{"4行目 / 6行 se_x", "5行目 / 6行 se_x",
                                                          "6行目 / 6行 se_x", ""}));
}

TEST_F(ActionPlayerTest, ACancelRequestEndsTheRunAfterTheLine) {
    int32_t calls = 0;
    hooks.NamedCommand = [&](int32_t, int32_t, std::string_view, const std::vector<std::string>&) {
        if (++calls == 2) app.Player.CancelRequest = -1;
        return 0;
    };
    app.Player.CancelRequest = -1;  // left over from before: cleared at the start
    std::string result;
    EXPECT_EQ(Play(WriteAction("se_a,1,0\nse_b,1,0\nse_c,1,0\n"), fid, result), -1);
    EXPECT_EQ(calls, 2);
    EXPECT_EQ(result, "エラー数 0/3 ユーザーによりキャンセルしました。\n");
}

TEST_F(ActionPlayerTest, ALineOnALayerThatIsNotThereEndsTheRun) {
    std::string result;
    const std::string fnm = WriteAction(
        "PenHotspot,1,1,1\nPenBaking,3,1,1,1,1,3,20\n"
        "PenHotspot,1,9,9\n");
    EXPECT_EQ(Play(fnm, fid, result), -1);
    EXPECT_EQ(Doc().HotspotX, 1);
    EXPECT_EQ(result,
              "エラー数 1/3 2行目 / 3行 PenBaking\n" + std::string(kActionFaultText) + "\n");
    // So does a line too short for the numbers its word reads, and a graphic pen beyond the
    // list.
    EXPECT_EQ(Line("PenRect,1,2,3"), kActionLineFault);
    EXPECT_EQ(Line("DrawPen,1,3,5,5,0,255,7,0,0,0,0,0,0,0,0,0"), kActionLineFault);
    EXPECT_EQ(Line("DrawPen,1,99,5,5,0,255,7,0,0,0,0,0,0,0,0,0"), kActionLineFault);
    EXPECT_EQ(Line("PenSelect,1,"), kActionLineFault);
}

TEST_F(ActionPlayerTest, PenLinesReadTheirNumbersLeniently) {
    Layer(1).Pixels.Fill({});
    // Fill: the blend is 255 minus the field; a hexadecimal-looking pattern field and a
    // decimal point in the seed are no trouble.
    PixelBuffer tile(1, 1);
    tile.Set(0, 0, {0, 0, 255, 255});
    ASSERT_EQ(Line("PenFill,1,3.4,2abc," + EncodeByteImage(tile) + ",55,0,255,0"), 0);
    EXPECT_EQ(*Layer(1).Pixels.Get(0, 0), (Bgra{0, 0, 255, 55}));
    // A DrawPen line's kind row alone is filled: the pen's size 1 dot, opaque.
    ASSERT_EQ(Line("DrawPen,1,1,5,6,0,16711680,1,-32767,-32767,0,0,0,0,0,0,0"), 0);
    EXPECT_EQ(*Layer(1).Pixels.Get(5, 6), (Bgra{255, 0, 0, 255}));
    // The layer move and the selection.
    ASSERT_EQ(Line("PenLayerMove,1,-3,4e0"), 0);
    EXPECT_EQ(Layer(1).OffsetX, -3);
    EXPECT_EQ(Layer(1).OffsetY, 4);
    ASSERT_EQ(Line("PenLayerMove,1,True,99999999999"), 0);
    EXPECT_EQ(Layer(1).OffsetX, 0);
    EXPECT_EQ(Layer(1).OffsetY, 0);
    SelectionMask mask{3, 2, {1, 0, 1, 0, 1, 0}};
    ByteImage image{3, 2, mask.bytes};
    ASSERT_EQ(Line("PenSelect,1," + EncodeByteImage(image.Bytes, 3, 2)), 0);
    EXPECT_EQ(Doc().Selection.width, 24);
    EXPECT_EQ(Doc().Selection.bytes.size(), 24u * 20u);
    EXPECT_EQ(Doc().Selection.bytes[0], 1);
    EXPECT_EQ(Doc().Selection.bytes[1], 0);
    EXPECT_EQ(Doc().Selection.bytes[24 + 1], 1);
    EXPECT_EQ(Doc().Selection.bytes[24 + 2], 0);
}

TEST_F(ActionPlayerTest, TheFillOfTheLayerBelowLandsOnTheLinesLayer) {
    Layer(1).Pixels.Fill({});
    for (int32_t i = 0; i < 24; ++i)
        Layer(1).Pixels.Set(i, 5, {0, 0, 0, 255});  // a wall across the lower layer
    const PixelBuffer lower = Layer(1).Pixels;
    LayerAdd(app.Core, fid);
    PixelBuffer tile(1, 1);
    tile.Set(0, 0, {9, 8, 7, 255});
    ASSERT_EQ(Line("PenFill,2,2,2," + EncodeByteImage(tile) + ",255,0,255,-1"), 0);
    EXPECT_EQ(Layer(1).Pixels, lower);
    EXPECT_EQ(*Layer(2).Pixels.Get(3, 4), (Bgra{9, 8, 7, 255}));
    EXPECT_EQ(Layer(2).Pixels.Get(3, 5)->a, 0);
    EXPECT_EQ(Layer(2).Pixels.Get(3, 6)->a, 0);
    // On layer 1 there is no layer below: the flag is ignored.
    ASSERT_EQ(Line("PenFill,1,2,9," + EncodeByteImage(tile) + ",255,0,255,-1"), 0);
    EXPECT_EQ(*Layer(1).Pixels.Get(3, 19), (Bgra{9, 8, 7, 255}));
}

TEST_F(ActionPlayerTest, LayerLinesCallTheLayerCommands) {
    EXPECT_EQ(Line("LayerAdd,1,0"), 0);
    EXPECT_EQ(Line("LayerAdd,1,0"), 0);
    ASSERT_EQ(Doc().LayerCount(), 3);
    Layer(1).Pixels.Set(0, 0, {1, 2, 3, 4});
    EXPECT_EQ(Line("LayerCopyLayer,1,0"), 0);
    ASSERT_EQ(Doc().LayerCount(), 4);
    EXPECT_EQ(*Layer(4).Pixels.Get(0, 0), (Bgra{1, 2, 3, 4}));
    EXPECT_EQ(Line("LayerChangePos,4,2"), 0);
    EXPECT_EQ(*Layer(2).Pixels.Get(0, 0), (Bgra{1, 2, 3, 4}));
    EXPECT_EQ(Line("LayerDelete,1,0"), 0);
    EXPECT_EQ(Doc().LayerCount(), 3);
    EXPECT_EQ(*Layer(1).Pixels.Get(0, 0), (Bgra{1, 2, 3, 4}));
    // A layer that is not there: the delete refuses and the active layer stays real.
    EXPECT_EQ(Line("LayerDelete,9,0"), 0);
    EXPECT_EQ(Doc().LayerCount(), 3);
    EXPECT_GE(Doc().ActiveLID, 1);
    EXPECT_LE(Doc().ActiveLID, 3);
    EXPECT_EQ(Line("LayerCombine,2,0"), 0);
    EXPECT_EQ(Doc().LayerCount(), 2);
    EXPECT_EQ(Line("LayerCombineALL,1,0"), 0);
    EXPECT_EQ(Doc().LayerCount(), 1);
    EXPECT_EQ(*Layer(1).Pixels.Get(0, 0), (Bgra{1, 2, 3, 4}));
}

TEST_F(ActionPlayerTest, TheCommandsBuiltElsewhereGetTheirFieldsParsed) {
    HookLog log;
    hooks = log.Hooks();
    EXPECT_EQ(Line("SubEffectsef_selectofcolor,1,10,20,30,40,1,7,99"), 0);
    EXPECT_EQ(Line("SubEffectsef_selectrect,2,1,2,3x,4,2"), 0);
    EXPECT_EQ(Line("SubEffectsef_selectrect,2,1,2,3"), kActionLineFault);
    EXPECT_EQ(Line("se_refrectlayerpos,2,0"), 0);
    EXPECT_EQ(Line("se_selectall,1,a,b,c"), 0);
    EXPECT_EQ(Line("plterefrect,1," + EncodeByteList(std::vector<uint8_t>{3, 200, 17})), 0);
    EXPECT_EQ(log.calls,
              (std::vector<std::string>{
                  "sub 1 sef_selectofcolor 10 20 30 40 1 7", "sub 2 sef_selectrect 1 2 3 4 2",
                  "se 2 refrectlayerpos [0]", "se 1 selectall [a] [b] [c]", "palette 1 3 200 17"}));
    // A hook's failure is the line's.
    hooks.NamedCommand = [](int32_t, int32_t, std::string_view, const std::vector<std::string>&) {
        return -3;
    };
    EXPECT_EQ(Line("se_selectall,1,0"), -3);
    // Without hooks these lines do nothing.
    hooks = ActionPlayerHooks{};
    EXPECT_EQ(Line("se_selectall,1,0"), 0);
}

TEST_F(ActionPlayerTest, EffectLinesRunTheEffectUnseen) {
    Layer(1).Pixels.Fill({10, 20, 30, 40});
    EXPECT_EQ(Line("Effectef_rev,1,True,0,-1,0"), 0);
    EXPECT_EQ(*Layer(1).Pixels.Get(3, 3), (Bgra{245, 20, 225, 40}));
    EXPECT_EQ(Line("Effectef_rev,5,-1,0,0,0"), -4);  // no such layer
    EXPECT_EQ(Line("Effectef_nosuch,1,0"), 0);
    ASSERT_EQ(host.messages.size(), 1u);
    EXPECT_EQ(host.messages[0], "サポートしていない効果です。");
}

// Truncated and bit-flipped action files: every run ends, with the document whole.
TEST_F(ActionPlayerTest, DamagedFilesNeverBreakTheDocument) {
    PixelBuffer tile(2, 1);
    tile.Set(1, 0, {1, 2, 3, 255});
    std::vector<uint8_t> mask(24 * 20, 0);
    for (size_t i = 30; i < 200; ++i)
        mask[i] = 1;
    const std::string text =
        "DrawPen,1,1,5,6,0,255,3,-32767,-32767,1,0,0,0,0,0,0\r\n"
        "DrawPen,1,2,7,8,0,255,40,2,3,4,0,0,0,0,0,0\r\n"
        "PenFill,1,3,4," +
        EncodeByteImage(tile) +
        ",30,10,255,0\r\n"
        "PenSelect,1," +
        EncodeByteImage(mask, 24, 20) +
        "\r\n"
        "LayerAdd,2,0\r\nPenRect,2,1,1,9,9,2,255,200,1,0\r\n"
        "PenElipse,2,3,3,12,10,2,65280,0,1,0\r\nPenLayerMove,2,3,-2\r\n"
        "LayerCombine,2,0\r\nPenAlpha,1,4,4,8,8,-50,3,1,0,0,0,0\r\n"
        "Effectef_rev,1,-1,0,0,0\r\nPenFingerDraw,1,2,2,9,9,3,30\r\n";
    const DocumentRecord start = Doc();
    auto playOnCopy = [&](const std::string& damaged) {
        const std::string fnm = WriteAction(damaged, "damaged.KRA");
        const int32_t copy = CopyOf(start);
        std::string result;
        const int32_t r = Play(fnm, copy, result);
        EXPECT_TRUE(r == 0 || r == -1);
        const DocumentRecord& d = Doc(copy);
        EXPECT_EQ(d.Width, 24);
        EXPECT_EQ(d.Height, 20);
        EXPECT_GE(d.LayerCount(), 1);
        EXPECT_EQ(d.Selection.bytes.size(), 24u * 20u);
        for (int32_t lid = 1; lid <= d.LayerCount(); ++lid) {
            EXPECT_EQ(d.Layers[static_cast<size_t>(lid)].Pixels.Width(), 24);
            EXPECT_EQ(d.Layers[static_cast<size_t>(lid)].Pixels.Height(), 20);
        }
        CloseDocument(app.Core, host, copy, nullptr);
    };
    for (size_t n = 0; n < text.size(); n += 7)
        playOnCopy(text.substr(0, n));
    for (size_t i = 0; i < text.size(); i += 5) {
        std::string flipped = text;
        flipped[i] = static_cast<char>(flipped[i] ^ (1 << (i % 8)));
        playOnCopy(flipped);
    }
}

TEST_F(ActionPlayerTest, TheLargestLayerOfAFile) {
    EXPECT_EQ(GetMaxActionLID(WriteAction("LayerAdd,1,0\n\nDrawPen,7\nx\nPenFill,3.6,0\n")), 7);
    EXPECT_EQ(GetMaxActionLID(WriteAction("")), 0);
    EXPECT_EQ(GetMaxActionLID(dir.File("missing")), 0);
}

}  // namespace
}  // namespace brv
