#include "core/startup.h"

#include <gtest/gtest.h>

#include "core/file_io.h"
#include "tests/support/fake_host.h"

namespace brv {
namespace {

using testing::TempFolder;

TEST(BackgroundTile, ElevenPixelCells) {
    PixelBuffer t = MakeBackgroundTile(30, 25);
    EXPECT_EQ(*t.Get(0, 0), (Bgra{200, 200, 200, 255}));
    EXPECT_EQ(*t.Get(10, 10), (Bgra{200, 200, 200, 255}));
    EXPECT_EQ(*t.Get(11, 0), (Bgra{255, 255, 255, 255}));
    EXPECT_EQ(*t.Get(0, 11), (Bgra{255, 255, 255, 255}));
    EXPECT_EQ(*t.Get(11, 11), (Bgra{200, 200, 200, 255}));
    EXPECT_EQ(*t.Get(22, 24), (Bgra{200, 200, 200, 255}));
}

TEST(BackgroundTile, CacheIsUsedWhenItsSizeIsRightAndRebuiltOtherwise) {
    TempFolder dir;
    CoreState state;
    state.Paths = ComputeAppPaths(dir.Path());
    EnsureDataFolders(state.Paths);
    state.Screen.ScreenWidth = 40;
    state.Screen.ScreenHeight = 30;
    EXPECT_EQ(EnsureBackgroundTile(state), TileSource::Rebuilt);
    EXPECT_EQ(FileSize(state.Paths.BackgroundCacheFile), 4u * 40u * 30u);

    // A cache of the right size is taken as it is, even when its content differs.
    std::vector<uint8_t> marked(4 * 40 * 30, 7);
    ASSERT_TRUE(WriteWholeFile(state.Paths.BackgroundCacheFile, marked));
    EXPECT_EQ(EnsureBackgroundTile(state), TileSource::Cache);
    EXPECT_EQ(state.BackgroundTile.Get(0, 0)->r, 7);

    // A changed screen makes the cache the wrong size.
    state.Screen.ScreenWidth = 41;
    EXPECT_EQ(EnsureBackgroundTile(state), TileSource::Rebuilt);
    EXPECT_EQ(FileSize(state.Paths.BackgroundCacheFile), 4u * 41u * 30u);
    EXPECT_EQ(state.BackgroundTile, MakeBackgroundTile(41, 30));
}

TEST(SettingsAtStart, MissingFileGivesDefaultsWrittenAtOnce) {
    TempFolder dir;
    CoreState state;
    state.Paths = ComputeAppPaths(dir.Path());
    EXPECT_EQ(LoadSettingsAtStart(state), -1);
    EXPECT_EQ(FileSize(state.Paths.SettingsFile), 740u);
    EXPECT_EQ(state.Settings.PaletteCellSize, 12);
    EXPECT_EQ(state.Settings.QuickColors[4 * 5 + 3], 128);  // the sixth colour is half clear
}

TEST(SettingsAtStart, PaletteCellUnderFourShowsTwelve) {
    TempFolder dir;
    CoreState state;
    state.Paths = ComputeAppPaths(dir.Path());
    SettingsRecord s = DefaultSettings();
    s.PaletteCellSize = 3;
    s.QuickColors[31] = 1;
    ASSERT_EQ(SaveSettings(state.Paths.SettingsFile, s), 0);
    EXPECT_EQ(LoadSettingsAtStart(state), 0);
    EXPECT_EQ(state.Settings.PaletteCellSize, 12);
    EXPECT_EQ(state.Settings.QuickColors[0], 0);  // not all zero: kept
    s.PaletteCellSize = 4;
    ASSERT_EQ(SaveSettings(state.Paths.SettingsFile, s), 0);
    LoadSettingsAtStart(state);
    EXPECT_EQ(state.Settings.PaletteCellSize, 4);
}

TEST(QuickColors, DefaultsAreTheEightListed) {
    SettingsRecord s;
    ApplyQuickColorDefaults(s);
    const std::array<uint8_t, 32> expected = {255, 255, 255, 255, 0,   0,   0, 255, 255, 0,   0,
                                              255, 0,   255, 0,   255, 0,   0, 255, 255, 255, 0,
                                              0,   128, 0,   255, 0,   128, 0, 0,   255, 128};
    EXPECT_EQ(s.QuickColors, expected);
}

TEST(MainWindowRect, PulledOntoTheScreenOrCentredWhenEmpty) {
    ScreenMetrics screen;
    screen.ScreenWidth = 1280;
    screen.ScreenHeight = 1024;
    SettingsRecord s;
    s.Placements[kPlaceMain].normalPosition = {-10, -20, 2000, 900};
    EXPECT_FALSE(CheckMainWindowRect(s, screen));
    EXPECT_EQ(s.Placements[kPlaceMain].normalPosition, (RectI{0, 0, 1280, 900}));

    s.Placements[kPlaceMain].normalPosition = {100, 100, 0, 500};
    EXPECT_TRUE(CheckMainWindowRect(s, screen));
    EXPECT_EQ(s.Placements[kPlaceMain].normalPosition, (RectI{340, 212, 940, 812}));

    s.Placements[kPlaceMain].normalPosition = {10, 10, 500, -3};  // bottom under 0 becomes 0
    EXPECT_TRUE(CheckMainWindowRect(s, screen));

    s.Placements[kPlaceMain].normalPosition = {50, 60, 80, 100};
    WidenMainWindowRect(s);
    EXPECT_EQ(s.Placements[kPlaceMain].normalPosition, (RectI{50, 60, 150, 160}));
}

TEST(AppPathsTable, EveryPathHangsOffTheProgramFolder) {
    AppPaths p = ComputeAppPaths("/opt/brv");
    EXPECT_EQ(p.AppPath, "/opt/brv/");
    EXPECT_EQ(p.TempDir, "/opt/brv/tmp/");
    EXPECT_EQ(p.BackgroundCacheFile, "/opt/brv/tmp/tempdat.nedat");
    EXPECT_EQ(p.UndoPrefix, "/opt/brv/tmp/undo");
    EXPECT_EQ(p.SettingsFile, "/opt/brv/Settings.dat");
    EXPECT_EQ(p.UseFileList, "/opt/brv/UseFile.dat");
    EXPECT_EQ(p.DefaultActionFile, "/opt/brv/tmp/_default_.act");
    EXPECT_EQ(p.GradationsDir, "/opt/brv/Gradations/");
    EXPECT_EQ(p.SusieServerFile, "/opt/SusieProcess/_susieserver");
    EXPECT_EQ(p.WatcherFile, "/opt/brv/process watch/_brvdwt");
    EXPECT_EQ(p.HelpDir, "/opt/brv/help/");
}

}  // namespace
}  // namespace brv
