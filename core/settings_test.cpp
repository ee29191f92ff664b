#include "core/settings.h"

#include <gtest/gtest.h>

#include "core/byte_io.h"
#include "core/file_io.h"
#include "tests/support/fake_host.h"

namespace brv {
namespace {

using testing::TempFolder;

int32_t FieldAt(const std::array<uint8_t, kSettingsFileSize>& image, size_t offset) {
    ByteReader r(image, offset);
    return r.I32LE();
}

TEST(SettingsFile, DefaultsSitAtTheirOffsets) {
    SettingsRecord s = DefaultSettings();
    s.QuickColors[0] = 0xAA;
    s.Placements[kPlaceMain].normalPosition = {10, 20, 630, 540};
    s.Placements[kPlacePreview].length = 44;
    s.TextToolState[83] = 0x5A;
    auto image = SerializeSettings(s);
    ASSERT_EQ(image.size(), 740u);
    EXPECT_EQ(FieldAt(image, 600), 75);  // WindowScale
    EXPECT_EQ(FieldAt(image, 604), 1);   // AskOnClose
    EXPECT_EQ(FieldAt(image, 608), 32);  // DefaultWidth
    EXPECT_EQ(FieldAt(image, 612), 32);  // DefaultHeight
    EXPECT_EQ(FieldAt(image, 616), 0);   // PaletteCellSize
    EXPECT_EQ(image[620], 0xAA);         // QuickColors
    EXPECT_EQ(FieldAt(image, 652), 8);   // GridDefault
    EXPECT_EQ(image[739], 0x5A);         // last byte of TextToolState
    // Placement 0 starts at 68; its rectangle is the last 16 of its 44 bytes.
    EXPECT_EQ(FieldAt(image, 68 + 28), 10);
    EXPECT_EQ(FieldAt(image, 68 + 40), 540);
    EXPECT_EQ(FieldAt(image, 68 + 8 * 44), 44);  // slot 8's length field
    for (size_t i = 0; i < 68; ++i) {
        EXPECT_EQ(image[i], 0) << i;
    }
}

TEST(SettingsFile, RoundTripClearsThePerRunFields) {
    TempFolder dir;
    SettingsRecord s = DefaultSettings();
    s.ActionErrorWarn = 1;
    s.ActionStepMessage = 1;
    s.BatchRunning = 1;
    s.UseWatcher = 1;
    s.UseSusieServer = 1;
    s.NewOnStart = 1;
    s.ClipboardIgnoreAlpha = 1;
    s.WindowScale = 40;
    s.DialogPlaces[91] = 7;
    ASSERT_EQ(SaveSettings(dir.File("Settings.dat"), s), 0);
    EXPECT_EQ(FileSize(dir.File("Settings.dat")), 740u);

    SettingsRecord loaded;
    loaded.WindowScale = 99;
    ASSERT_EQ(LoadSettings(dir.File("Settings.dat"), loaded), 0);
    EXPECT_EQ(loaded.ActionErrorWarn, 0);
    EXPECT_EQ(loaded.BatchRunning, 0);
    EXPECT_EQ(loaded.UseSusieServer, 0);
    EXPECT_EQ(loaded.ActionStepMessage, 1);
    EXPECT_EQ(loaded.UseWatcher, 1);
    EXPECT_EQ(loaded.NewOnStart, 1);
    EXPECT_EQ(loaded.ClipboardIgnoreAlpha, 1);
    EXPECT_EQ(loaded.WindowScale, 40);
    EXPECT_EQ(loaded.DialogPlaces[91], 7);
}

TEST(SettingsFile, EmptyOrMissingFileIsRefusedAndLeavesTheRecord) {
    TempFolder dir;
    SettingsRecord s = DefaultSettings();
    s.GridDefault = 13;
    EXPECT_EQ(LoadSettings(dir.File("nothing.dat"), s), -1);
    ASSERT_TRUE(WriteWholeFile(dir.File("empty.dat"), {}));
    EXPECT_EQ(LoadSettings(dir.File("empty.dat"), s), -1);
    EXPECT_EQ(s.GridDefault, 13);
}

TEST(SettingsFile, ShortFileReadsIntoZeros) {
    TempFolder dir;
    const uint8_t head[] = {0, 0, 0, 0, 1, 0, 0, 0};  // ActionStepMessage = 1
    ASSERT_TRUE(WriteWholeFile(dir.File("short.dat"), head));
    SettingsRecord s = DefaultSettings();
    ASSERT_EQ(LoadSettings(dir.File("short.dat"), s), 0);
    EXPECT_EQ(s.ActionStepMessage, 1);
    EXPECT_EQ(s.WindowScale, 0);  // not the default: the record is read into zeros
    EXPECT_EQ(s.GridDefault, 0);
}

TEST(SettingsDialog, RangeCheckOfTypedNumbers) {
    EXPECT_EQ(ClampSettingNumber(0, kWindowScaleLimit), 1);
    EXPECT_EQ(ClampSettingNumber(1000, kWindowScaleLimit), 100);
    EXPECT_EQ(ClampSettingNumber(100, kWindowScaleLimit), 100);
    EXPECT_EQ(ClampSettingNumber(99, kWindowScaleLimit), 99);
    EXPECT_EQ(ClampSettingNumber(-5, kDefaultSizeLimit), 1);
    EXPECT_EQ(ClampSettingNumber(40000, kDefaultSizeLimit), 32767);
}

TEST(RecentFiles, MostRecentFirstNoDuplicatesAtMostEleven) {
    TempFolder dir;
    const std::string list = dir.File("UseFile.dat");
    EXPECT_TRUE(RecentFiles(list).empty());
    for (int i = 0; i < 13; ++i)
        AddRecentFile(list, "/f/" + std::to_string(i) + ".ico");
    AddRecentFile(list, "/f/5.ico");
    auto files = RecentFiles(list);
    ASSERT_EQ(files.size(), 11u);
    EXPECT_EQ(files[0], "/f/5.ico");
    EXPECT_EQ(files[1], "/f/12.ico");
    EXPECT_EQ(std::count(files.begin(), files.end(), "/f/5.ico"), 1);
    // Lines are joined by CR LF with nothing before the first or after the last.
    auto text = ReadTextFile(list);
    ASSERT_TRUE(text);
    EXPECT_EQ(text->rfind("/f/5.ico\r\n/f/12.ico\r\n", 0), 0u);
    EXPECT_NE(text->back(), '\n');
    ClearRecentFiles(list);
    EXPECT_FALSE(FileExists(list));
}

TEST(RecentFiles, ReadingTrimsAndKeepsElevenOfMore) {
    TempFolder dir;
    std::string text;
    for (int i = 0; i < 15; ++i)
        text += "  /x/" + std::to_string(i) + " \r\n";
    ASSERT_TRUE(WriteTextFile(dir.File("UseFile.dat"), text));
    auto files = RecentFiles(dir.File("UseFile.dat"));
    ASSERT_EQ(files.size(), 11u);
    EXPECT_EQ(files[0], "/x/0");
    EXPECT_EQ(files[10], "/x/10");
}

}  // namespace
}  // namespace brv
