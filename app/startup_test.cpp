#include "app/startup.h"

#include <gtest/gtest.h>

#include "core/documents.h"
#include "core/file_io.h"
#include "tests/support/fake_host.h"

namespace brv {
namespace {

using testing::FakeHost;
using testing::TempFolder;

ScreenMetrics SmallScreen() {
    ScreenMetrics s;
    s.ScreenWidth = 64;
    s.ScreenHeight = 48;
    return s;
}

TEST(FirstStart, LeavesSettingsCachePalettesAndGradations) {
    TempFolder dir;
    AppState app;
    StartupReport r = StartApplication(app, dir.Path(), SmallScreen());
    EXPECT_TRUE(r.FirstRun);
    EXPECT_FALSE(r.SettingsLoaded);
    EXPECT_FALSE(r.TileFromCache);
    EXPECT_TRUE(r.DefaultsWritten);
    EXPECT_EQ(FileSize(dir.File("Settings.dat")), 740u);
    EXPECT_EQ(FileSize(dir.File("tmp/tempdat.nedat")), 4u * 64u * 48u);
    for (const char* p :
         {"Palettes/Default.BVP", "Palettes/MacColor.BVP", "Palettes/WebSafeColor.BVP"})
        EXPECT_EQ(FileSize(dir.File(p)), 1024u) << p;
    EXPECT_TRUE(FileExists(dir.File("Gradations/黒から白.BVG")));
    EXPECT_TRUE(FileExists(dir.File("Gradations/白から透明な黒.BVG")));
    EXPECT_EQ(app.CurrentPalette.PaletteFile, dir.File("Palettes/Default.BVP"));
    EXPECT_EQ(app.Core.Docs.size(), 1u);
    EXPECT_EQ(app.Core.ActiveFID, 0);

    // The second start finds everything in place.
    AppState again;
    again.Core.Settings.Placements[kPlaceMain].normalPosition = {1, 1, 30, 30};
    SaveSettings(dir.File("Settings.dat"), again.Core.Settings);
    r = StartApplication(again, dir.Path(), SmallScreen());
    EXPECT_FALSE(r.FirstRun);
    EXPECT_TRUE(r.SettingsLoaded);
    EXPECT_TRUE(r.TileFromCache);
    EXPECT_FALSE(r.DefaultsWritten);
}

TEST(CommandLine, TakenWholeAndMissingFileReported) {
    TempFolder dir;
    FakeHost host;
    const std::string name = dir.File("my icon.ico");
    ASSERT_TRUE(WriteTextFile(name, "x"));
    std::string opened;
    auto open = [&](const std::string& f) { opened = f; };

    char prog[] = "brivandelle";
    std::string a = dir.File("my"), b = "icon.ico";
    char* argv[] = {prog, a.data(), b.data()};
    EXPECT_EQ(JoinCommandLine(3, argv), name);
    EXPECT_TRUE(OpenCommandLine(host, JoinCommandLine(3, argv), open));
    EXPECT_EQ(opened, name);
    EXPECT_TRUE(host.messages.empty());

    EXPECT_FALSE(OpenCommandLine(host, dir.File("missing.ico"), open));
    EXPECT_EQ(host.messages, std::vector<std::string>{"ファイルが見つかりません。"});
    EXPECT_FALSE(OpenCommandLine(host, "", open));
    EXPECT_EQ(host.messages.size(), 1u);
}

TEST(Shutdown, ClosesDocumentsWritesSettingsAndSweepsTheTemporaryFolder) {
    TempFolder dir;
    AppState app;
    FakeHost host;
    StartApplication(app, dir.Path(), SmallScreen());
    int32_t w = 4, h = 4;
    int32_t fid = NewDocument(app.Core, host, w, h);
    app.Core.Docs[fid].Modified = kYes;
    WriteTextFile(app.Core.Paths.TempDir + "undo1_1.undo", "x");
    WriteTextFile(app.Core.Paths.TempDir + "other.tmp", "x");
    app.Core.Settings.Placements[kPlaceMain].normalPosition = {5, 5, 6, 6};
    app.Core.Settings.UseWatcher = 1;
    host.answers.push_back(Answer::No);

    ShutdownApplication(app, host, nullptr);
    EXPECT_EQ(host.questions.size(), 1u);
    EXPECT_EQ(app.Core.Doc(fid), nullptr);
    EXPECT_FALSE(FileExists(app.Core.Paths.TempDir + "undo1_1.undo"));
    EXPECT_FALSE(FileExists(app.Core.Paths.TempDir + "other.tmp"));
    EXPECT_TRUE(FileExists(app.Core.Paths.BackgroundCacheFile));
    SettingsRecord saved;
    ASSERT_EQ(LoadSettings(app.Core.Paths.SettingsFile, saved), 0);
    EXPECT_EQ(saved.UseWatcher, 1);
    EXPECT_EQ(saved.Placements[kPlaceMain].normalPosition, (RectI{5, 5, 105, 105}));
}

}  // namespace
}  // namespace brv
