#include "app/cli_commands.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <sstream>

#include <sys/wait.h>

#include "actions/action_file.h"
#include "app/action_player.h"
#include "core/documents.h"
#include "core/file_io.h"
#include "formats/ico_codec.h"
#include "tests/support/fake_host.h"
#include "tools/freehand.h"

namespace brv {
namespace {

using testing::CorpusDir;
using testing::FakeHost;
using testing::TempFolder;

struct CliRun {
    int code = 0;
    std::string out, err;
    std::vector<std::string> messages;
};

// Records, through the canvas and the effect menu's dispatcher, a colour inversion and
// an opaque red rectangle outline from (1, 1) to (4, 4), into fnm.
void RecordAction(const std::string& folder, const std::string& fnm) {
    AppState app;
    app.Core.Paths = ComputeAppPaths(folder);
    MakeDirectories(app.Core.Paths.TempDir);
    InitDocTable(app.Core);
    FakeHost host;
    host.tempFolder = folder;
    int32_t w = 16, h = 16;
    const int32_t fid = NewDocument(app.Core, host, w, h);
    app.Core.ActiveFID = fid;
    DocumentRecord& doc = app.Core.Docs[static_cast<size_t>(fid)];
    doc.Zoom = 1.0;
    doc.WindowClient = {200, 200};
    doc.ViewRight = 200;
    doc.ViewBottom = 200;
    StartActionRecording(app.Core.Recorder, fid, kDefaultActionName);
    EffectHooks effectHooks;
    ASSERT_EQ(RunEffect(app.Core, host, app.Effects, effectHooks, fid, 1, "ef_rev",
                        EffectArgs{-1, -1, -1, 0}),
              0);
    LayerRecord& pen = doc.Layers[static_cast<size_t>(doc.PenLID)];
    pen.Tool = 10;
    pen.PenColor = 0x0000FF;
    pen.PenTransparency = 0;
    pen.PenParams(1, 1) = 1;
    pen.PenParams(1, 4) = 0;
    const PaintContext ctx(app.Core, app.Freehand);
    auto twips = [](int32_t px) { return px * 15.0 + 7.0; };
    PenStep(ctx, fid, kLeftButton, 0, twips(1), twips(1), 100.0);
    CanvasDrag(ctx, fid, kLeftButton, 0, twips(4), twips(4), 150.0);
    CanvasUp(ctx, fid, kLeftButton, 0, twips(4), twips(4), 200.0);
    ASSERT_EQ(EndActionRecording(app.Core.Recorder, fnm), kActionFileOk);
}

class CliTest : public ::testing::Test {
protected:
    CliRun Run(std::vector<std::string> args) {
        AppState app;
        app.Core.Paths = ComputeAppPaths(dir.Path());
        MakeDirectories(app.Core.Paths.TempDir);
        InitDocTable(app.Core);
        FakeHost host;
        host.tempFolder = dir.Path();
        host.defaultAnswer = Answer::Yes;
        host.choiceAnswers = choices;
        std::ostringstream out, err;
        CliRun r;
        r.code = RunCliCommand(args, app, host, out, err);
        r.out = out.str();
        r.err = err.str();
        r.messages = host.messages;
        return r;
    }
    // The expected picture of an image: the icon reader's, in layer order, as R G B A.
    static std::vector<uint8_t> ExpectedRgba(const std::string& fnm, int32_t index) {
        PixelBuffer p;
        int32_t hx = 0, hy = 0;
        EXPECT_GT(IconC().LoadIcon(fnm, index, p, hx, hy, false), 0);
        std::vector<uint8_t> rgba;
        for (int32_t y = p.Height() - 1; y >= 0; --y)
            for (int32_t x = 0; x < p.Width(); ++x) {
                const uint8_t* px = p.PixelPtr(x, y);
                rgba.insert(rgba.end(), {px[2], px[1], px[0], px[3]});
            }
        return rgba;
    }
    static std::vector<uint8_t> PamPixels(const std::string& fnm, std::string* header = nullptr) {
        const auto bytes = ReadWholeFile(fnm).value_or(std::vector<uint8_t>{});
        const std::string text(bytes.begin(), bytes.end());
        const size_t end = text.find("ENDHDR\n");
        if (end == std::string::npos) return {};
        if (header) *header = text.substr(0, end + 7);
        return {bytes.begin() + static_cast<std::ptrdiff_t>(end + 7), bytes.end()};
    }

    TempFolder dir;
    std::deque<std::optional<int32_t>> choices;
};

TEST(CliArguments, FileAndIndex) {
    auto s = SplitFileIndex("a.ico:3");
    ASSERT_TRUE(s);
    EXPECT_EQ(s->File, "a.ico");
    EXPECT_EQ(s->Index, 3);
    s = SplitFileIndex("dir:x/a.ico");
    EXPECT_EQ(s->File, "dir:x/a.ico");
    EXPECT_EQ(s->Index, 1);
    EXPECT_FALSE(SplitFileIndex("a.ico:0"));
    TempFolder dir;
    ASSERT_TRUE(WriteTextFile(dir.File("odd:2"), "x"));
    s = SplitFileIndex(dir.File("odd:2"));  // an existing name is taken whole
    EXPECT_EQ(s->File, dir.File("odd:2"));
    EXPECT_EQ(s->Index, 1);
}

TEST(CliArguments, PamLayout) {
    PixelBuffer p(2, 1);
    p.Set(0, 0, {1, 2, 3, 4});
    p.Set(1, 0, {5, 6, 7, 8});
    const auto pam = EncodePam(p);
    const std::string expected =
        "P7\nWIDTH 2\nHEIGHT 1\nDEPTH 4\nMAXVAL 255\nTUPLTYPE RGB_ALPHA\nENDHDR\n"
        "\x03\x02\x01\x04\x07\x06\x05\x08";
    EXPECT_EQ(std::string(pam.begin(), pam.end()), expected);
}

TEST_F(CliTest, InfoAndRefusals) {
    const std::string root = CorpusDir();
    if (root.empty()) GTEST_SKIP() << "corpus not present";
    auto r = Run({"info", root + "/ico/pillow/python.ico"});
    EXPECT_EQ(r.code, 0);
    EXPECT_EQ(r.out, "ico 3\n");
    r = Run({"info", root + "/cur/winres/cursor.cur"});
    EXPECT_EQ(r.out, "ico 5\n");
    r = Run({"info", root + "/cur/pillow/no_cursors.cur"});
    EXPECT_EQ(r.code, 1);
    EXPECT_EQ(r.messages, std::vector<std::string>{"対応していないファイルです。"});
    r = Run({"info", dir.File("missing.ico")});
    EXPECT_EQ(r.code, 1);
    EXPECT_EQ(r.messages, std::vector<std::string>{"そのファイルは存在しません。"});
    ASSERT_TRUE(WriteWholeFile(dir.File("empty.ico"), {}));
    r = Run({"info", dir.File("empty.ico")});
    EXPECT_EQ(r.messages, std::vector<std::string>{"ファイルが存在しないか、サイズが0です。"});
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(Run({"info"}).code, 1);
    EXPECT_EQ(Run({"frobnicate", "x"}).code, 1);
}

TEST_F(CliTest, DumpIsTheLoadedImageTopRowFirst) {
    const std::string root = CorpusDir();
    if (root.empty()) GTEST_SKIP() << "corpus not present";
    const std::string cursor = root + "/cur/winres/cursor.cur";
    auto r = Run({"dump", cursor + ":2", dir.File("c.pam"), "--layer", "1"});
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_EQ(r.out, "width 32 height 32 layers 1 hotspot 21 10\n");
    std::string header;
    EXPECT_EQ(PamPixels(dir.File("c.pam"), &header), ExpectedRgba(cursor, 2));
    EXPECT_EQ(header, "P7\nWIDTH 32\nHEIGHT 32\nDEPTH 4\nMAXVAL 255\nTUPLTYPE RGB_ALPHA\nENDHDR\n");

    // Without --layer the flattened picture; for one layer the alpha is the layer's.
    r = Run({"dump", root + "/ico/pillow/python.ico", dir.File("p.pam")});
    ASSERT_EQ(r.code, 0);
    EXPECT_EQ(r.out, "width 16 height 16 layers 1 hotspot 1 32\n");
    const auto flat = PamPixels(dir.File("p.pam"));
    const auto own = ExpectedRgba(root + "/ico/pillow/python.ico", 1);
    ASSERT_EQ(flat.size(), own.size());
    for (size_t i = 3; i < own.size(); i += 4)
        EXPECT_EQ(flat[i], own[i]) << i;

    r = Run({"dump", root + "/ico/pillow/pillow.ico:1", dir.File("x.pam")});
    EXPECT_EQ(r.code, 1);
    ASSERT_EQ(r.messages.size(), 1u);
    EXPECT_EQ(r.messages[0],
              root + "/ico/pillow/pillow.icoを開く時のエラー：アイコンの画像の設定が不正です。");
    EXPECT_FALSE(FileExists(dir.File("x.pam")));
    EXPECT_EQ(Run({"dump", cursor, dir.File("x.pam"), "--layer", "2"}).code, 1);
    EXPECT_EQ(Run({"dump", cursor + ":0", dir.File("x.pam")}).code, 1);
}

TEST_F(CliTest, ConvertSavesByExtension) {
    const std::string root = CorpusDir();
    if (root.empty()) GTEST_SKIP() << "corpus not present";
    const std::string python = root + "/ico/pillow/python.ico";
    const IconC ico;
    PixelBuffer p;
    int32_t hx = 0, hy = 0;

    auto r = Run({"convert", python + ":3", dir.File("o.ico"), "--option", "32"});
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_EQ(ico.LoadIcon(dir.File("o.ico"), 1, p, hx, hy, false), 32);
    EXPECT_EQ(p.Width(), 48);

    // Without --option the kind is asked; the host's answer is taken.
    choices = {2};
    r = Run({"convert", python + ":3", dir.File("o.ico")});
    ASSERT_EQ(r.code, 0);
    EXPECT_EQ(ico.IconCount(dir.File("o.ico")), 1);  // overwritten, the question said yes
    EXPECT_EQ(ico.LoadIcon(dir.File("o.ico"), 1, p, hx, hy, false), 8);
    choices = {};
    r = Run({"convert", python + ":3", dir.File("o.ico")});
    EXPECT_EQ(r.code, 1);  // cancelled: nothing written, the old file back
    EXPECT_EQ(ico.LoadIcon(dir.File("o.ico"), 1, p, hx, hy, false), 8);
    // Sixteen colours of a picture that has more: the writer refuses, the old file comes back.
    choices = {1};
    r = Run({"convert", python + ":3", dir.File("o.ico")});
    EXPECT_EQ(r.code, 1);
    EXPECT_EQ(r.messages.back(), "ファイルの変換に失敗しました。");
    EXPECT_EQ(ico.LoadIcon(dir.File("o.ico"), 1, p, hx, hy, false), 8);

    r = Run({"convert", root + "/cur/winres/cursor.cur:4", dir.File("o.cur")});
    ASSERT_EQ(r.code, 0);
    EXPECT_EQ(ico.LoadIcon(dir.File("o.cur"), 1, p, hx, hy, false), 4);
    EXPECT_EQ(hx, 14);
    EXPECT_EQ(hy, 8);

    r = Run({"convert", python, dir.File("o.pam")});
    ASSERT_EQ(r.code, 0);
    EXPECT_EQ(PamPixels(dir.File("o.pam")).size(), 16u * 16u * 4u);
}

TEST_F(CliTest, ConvertWritesPngAndBmpThatDumpReadsBack) {
    const std::string root = CorpusDir();
    if (root.empty()) GTEST_SKIP() << "corpus not present";
    const std::string python = root + "/ico/pillow/python.ico:3";  // 48 x 48, soft alpha
    ASSERT_EQ(Run({"dump", python, dir.File("src.pam")}).code, 0);
    const auto source = PamPixels(dir.File("src.pam"));

    // An option code saves without the box: 32 bits keep every byte.
    auto r = Run({"convert", python, dir.File("o.png"), "--option", "3"});
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_EQ(Run({"info", dir.File("o.png")}).out, "png 1\n");
    r = Run({"dump", dir.File("o.png"), dir.File("png.pam")});
    ASSERT_EQ(r.code, 0);
    EXPECT_EQ(r.out, "width 48 height 48 layers 1 hotspot 0 0\n");
    EXPECT_EQ(PamPixels(dir.File("png.pam")), source);

    // 24 bits: the colours, opaque.
    r = Run({"convert", python, dir.File("o.bmp"), "--option", "2"});
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_EQ(Run({"info", dir.File("o.bmp")}).out, "bmp 1\n");
    ASSERT_EQ(Run({"dump", dir.File("o.bmp"), dir.File("bmp.pam")}).code, 0);
    auto opaque = source;
    for (size_t i = 3; i < opaque.size(); i += 4)
        opaque[i] = 255;
    EXPECT_EQ(PamPixels(dir.File("bmp.pam")), opaque);

    // Without an option the box is asked; this host cancels it.
    r = Run({"convert", python, dir.File("n.png")});
    EXPECT_EQ(r.code, 1);
    EXPECT_EQ(r.err, "nothing was written to " + dir.File("n.png") + "\n");
    EXPECT_FALSE(FileExists(dir.File("n.png")));
}

// The program itself, as a script runs it; skipped when it has not been built beside the tests.
TEST(CliProgram, RunsOnCorpusFiles) {
    const std::string root = CorpusDir();
    if (root.empty()) GTEST_SKIP() << "corpus not present";
    std::error_code ec;
    const auto self = std::filesystem::read_symlink("/proc/self/exe", ec);
    const auto program = self.parent_path() / "brivandelle-cli";
    if (ec || !std::filesystem::exists(program)) GTEST_SKIP() << "brivandelle-cli not built";
    TempFolder dir;
    auto run = [&](const std::string& args, std::string& out) {
        const std::string cmd = program.string() + " " + args + " 2>/dev/null";
        FILE* pipe = popen(cmd.c_str(), "r");
        std::array<char, 256> buffer{};
        out.clear();
        while (fgets(buffer.data(), buffer.size(), pipe))
            out += buffer.data();
        const int status = pclose(pipe);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    };
    std::string out;
    EXPECT_EQ(
        run("info '" + root + "/ico/image-rs/multiple_entries_with_different_bit_depth.ico'", out),
        0);
    EXPECT_EQ(out, "ico 9\n");
    EXPECT_EQ(run("info " + dir.File("missing"), out), 1);
    EXPECT_EQ(run("dump '" + root + "/cur/bibata/default.cur' " + dir.File("d.pam"), out), 0);
    EXPECT_EQ(out, "width 32 height 32 layers 1 hotspot 8 5\n");
    EXPECT_EQ(
        run("convert '" + root + "/ico/winres/en.ico:2' " + dir.File("e.ico") + " --option 8", out),
        0);
    EXPECT_EQ(IconC().IconCount(dir.File("e.ico")), 1);
    EXPECT_EQ(run("frobnicate", out), 1);

    // Pictures of the other readers, and the writers' boxes taken as they open.
    for (const auto& [file, line] :
         std::vector<std::pair<std::string, std::string>>{{"png/pngsuite/basn6a08.png", "png 1"},
                                                          {"bmp/bmpsuite/g/pal8rle.bmp", "bmp 1"},
                                                          {"jpeg/pillow/hopper.jpg", "lpec 1"},
                                                          {"gif/pillow/hopper.gif", "lpec 1"}}) {
        const std::string path = "'" + root + "/" + file + "'";
        EXPECT_EQ(run("info " + path, out), 0) << file;
        EXPECT_EQ(out, line + "\n");
        EXPECT_EQ(run("dump " + path + " " + dir.File("x.pam"), out), 0) << file;
        EXPECT_EQ(out.rfind("width ", 0), 0u) << file;
    }
    const std::string jpeg = "'" + root + "/jpeg/pillow/hopper.jpg'";
    EXPECT_EQ(run("convert " + jpeg + " " + dir.File("h.png"), out), 0);
    EXPECT_EQ(run("info " + dir.File("h.png"), out), 0);
    EXPECT_EQ(out, "png 1\n");
    EXPECT_EQ(run("convert " + jpeg + " " + dir.File("h.bmp"), out), 0);
    EXPECT_EQ(run("info " + dir.File("h.bmp"), out), 0);
    EXPECT_EQ(out, "bmp 1\n");
}

TEST_F(CliTest, PlaysARecordedActionOnCorpusIconsAndSaves) {
    const std::string root = CorpusDir();
    if (root.empty()) GTEST_SKIP() << "corpus not present";
    const std::string action = dir.File("invert-and-frame.KRA");
    RecordAction(dir.Path(), action);
    std::vector<std::string> lines;
    ASSERT_EQ(ReadActionFile(action, lines), kActionFileOk);
    ASSERT_EQ(lines.size(), 2u);

    for (const std::string& image :
         {root + "/ico/pillow/python.ico:1", root + "/ico/image-rs/bmp-32bpp-alpha.ico",
          root + "/cur/winres/cursor.cur:2"}) {
        SCOPED_TRACE(image);
        ASSERT_EQ(Run({"dump", image, dir.File("src.pam")}).code, 0);
        const std::vector<uint8_t> src = PamPixels(dir.File("src.pam"));
        const CliRun r = Run({"run", action, image, dir.File("out.pam")});
        EXPECT_EQ(r.code, 0) << r.err;
        EXPECT_EQ(r.out, "エラー数 0/2 \n");
        EXPECT_TRUE(r.messages.empty());
        const std::vector<uint8_t> got = PamPixels(dir.File("out.pam"));
        ASSERT_EQ(got.size(), src.size());
        std::string header = Run({"dump", image, dir.File("x.pam")}).out;
        const int32_t width = std::stoi(header.substr(6));
        // Everywhere but on the frame the colours are inverted and alpha kept (the dump
        // flattens the layers, which leaves no colour where alpha is 0); the frame is opaque
        // red.
        int32_t opaque = 0;
        for (int32_t y = 0; y < static_cast<int32_t>(src.size() / 4) / width; ++y)
            for (int32_t x = 0; x < width; ++x) {
                if (x >= 1 && x <= 4 && y >= 1 && y <= 4 && (x == 1 || x == 4 || y == 1 || y == 4))
                    continue;
                const size_t i = 4 * static_cast<size_t>(y * width + x);
                EXPECT_EQ(got[i + 3], src[i + 3]);
                if (src[i + 3] == 0) continue;
                ++opaque;
                EXPECT_EQ(got[i], 255 - src[i]);
                EXPECT_EQ(got[i + 1], 255 - src[i + 1]);
                EXPECT_EQ(got[i + 2], 255 - src[i + 2]);
            }
        EXPECT_GT(opaque, 0);
        for (int32_t k = 1; k <= 4; ++k)
            for (auto [x, y] : {std::pair{k, 1}, {k, 4}, {1, k}, {4, k}}) {
                const size_t i = 4 * static_cast<size_t>(y * width + x);
                EXPECT_EQ((std::vector<uint8_t>{got[i], got[i + 1], got[i + 2], got[i + 3]}),
                          (std::vector<uint8_t>{255, 0, 0, 255}))
                    << x << "," << y;
            }
        // Saved by the extension: a 32-bit icon that reads back as one image.
        const CliRun ico = Run({"run", action, image, dir.File("out.ico"), "--option", "32"});
        EXPECT_EQ(ico.code, 0) << ico.err;
        EXPECT_EQ(Run({"info", dir.File("out.ico")}).out, "ico 1\n");
        ASSERT_EQ(Run({"dump", dir.File("out.ico"), dir.File("back.pam")}).code, 0);
        EXPECT_EQ(PamPixels(dir.File("back.pam")), got);
    }
}

TEST_F(CliTest, AFailedLineGivesTwoAndTheResultIsStillSaved) {
    const std::string root = CorpusDir();
    if (root.empty()) GTEST_SKIP() << "corpus not present";
    const std::string action = dir.File("a.KRA");
    RecordAction(dir.Path(), action);
    std::vector<uint8_t> text = ReadWholeFile(action).value_or(std::vector<uint8_t>{});
    for (char c : std::string("Redo,1,0\r\n"))
        text.push_back(static_cast<uint8_t>(c));
    ASSERT_TRUE(WriteWholeFile(action, text));
    const std::string image = root + "/ico/pillow/python.ico:1";
    const CliRun r = Run({"run", action, image, dir.File("out.png"), "--option", "3"});
    EXPECT_EQ(r.code, 2);
    EXPECT_EQ(r.out, "エラー数 1/3 3行目 / 3行 Redo\n未定義のアクションです。\n");
    EXPECT_TRUE(FileExists(dir.File("out.png")));
    // Opening, the action file or the arguments failing: 1, and nothing is written.
    EXPECT_EQ(Run({"run", dir.File("none.KRA"), image, dir.File("o.png")}).code, 1);
    EXPECT_EQ(Run({"run", action, dir.File("none.ico"), dir.File("o.png")}).code, 1);
    EXPECT_EQ(Run({"run", action, image}).code, 1);
    EXPECT_EQ(Run({"run", action, image, dir.File("o.png"), "--layer", "1"}).code, 1);
    EXPECT_FALSE(FileExists(dir.File("o.png")));
    // A destination that cannot be written.
    EXPECT_EQ(Run({"run", action, image, dir.File("no/such/folder/o.pam")}).code, 1);
}

}  // namespace
}  // namespace brv
