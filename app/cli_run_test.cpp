// brivandelle-cli run: an action recorded live, played on icons of the public corpus.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "actions/action_file.h"
#include "app/action_player.h"
#include "app/cli_commands.h"
#include "core/documents.h"
#include "core/file_io.h"
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

class CliRunTest : public ::testing::Test {
protected:
    CliRun Run(std::vector<std::string> args) {
        AppState app;
        app.Core.Paths = ComputeAppPaths(dir.Path());
        MakeDirectories(app.Core.Paths.TempDir);
        InitDocTable(app.Core);
        FakeHost host;
        host.tempFolder = dir.Path();
        host.defaultAnswer = Answer::Yes;
        std::ostringstream out, err;
        CliRun r;
        r.code = RunCliCommand(args, app, host, out, err);
        r.out = out.str();
        r.err = err.str();
        r.messages = host.messages;
        return r;
    }

    // Records, through the canvas and the effect menu's dispatcher, a colour inversion and
    // an opaque red rectangle outline from (1, 1) to (4, 4), into fnm.
    void RecordAction(const std::string& fnm) {
        AppState app;
        app.Core.Paths = ComputeAppPaths(dir.Path());
        MakeDirectories(app.Core.Paths.TempDir);
        InitDocTable(app.Core);
        FakeHost host;
        host.tempFolder = dir.Path();
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

    static std::vector<uint8_t> PamPixels(const std::string& fnm) {
        const auto bytes = ReadWholeFile(fnm).value_or(std::vector<uint8_t>{});
        const std::string text(bytes.begin(), bytes.end());
        const size_t end = text.find("ENDHDR\n");
        if (end == std::string::npos) return {};
        return {bytes.begin() + static_cast<std::ptrdiff_t>(end + 7), bytes.end()};
    }

    TempFolder dir;
};

TEST_F(CliRunTest, PlaysARecordedActionOnCorpusIconsAndSaves) {
    const std::string root = CorpusDir();
    if (root.empty()) GTEST_SKIP() << "corpus not present";
    const std::string action = dir.File("invert-and-frame.KRA");
    RecordAction(action);
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

TEST_F(CliRunTest, AFailedLineGivesTwoAndTheResultIsStillSaved) {
    const std::string root = CorpusDir();
    if (root.empty()) GTEST_SKIP() << "corpus not present";
    const std::string action = dir.File("a.KRA");
    RecordAction(action);
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
