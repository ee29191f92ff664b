#include "tools/pattern_library.h"

#include <gtest/gtest.h>

#include <map>

#include "core/file_io.h"
#include "core/startup.h"
#include "tests/support/fake_host.h"

namespace brv {
namespace {

using testing::TempFolder;

// A 3 by 2 picture in transit order: rows bottom-up, the fourth byte a transparency. The
// bottom-left pixel is blue 1 and fully opaque.
PixelBuffer TransitPicture() {
    PixelBuffer p(3, 2);
    p.Set(0, 0, {1, 2, 3, 0});    // bottom row in transit order
    p.Set(0, 1, {9, 9, 9, 255});  // top row: transparent
    return p;
}

TEST(PatternLibrary, ReadsWhatTheLoaderReadsAndSkipsTheRest) {
    TempFolder dir;
    const std::string folder = dir.Path() + "GraphicPens";
    ASSERT_TRUE(MakeDirectories(folder + "/sub"));
    for (const char* name : {"/b.png", "/a.bmp", "/broken.png", "/notes.txt", "/sub/c.ico"})
        ASSERT_TRUE(WriteTextFile(folder + name, "x"));

    bool loading = false;
    std::vector<std::string> seen;
    const PictureLoader loader = [&](const std::string& path, PixelBuffer& out) -> std::string {
        EXPECT_TRUE(loading);
        seen.push_back(ShortName(path));
        if (path.ends_with("broken.png")) return "壊れています";
        if (path.ends_with(".txt")) return "x";
        out = TransitPicture();
        return {};
    };
    PatternList list(5);  // whatever was there goes
    LoadPatternList(folder, list, loader, loading);
    EXPECT_FALSE(loading);
    EXPECT_EQ(seen.size(), 5u);

    ASSERT_EQ(list.size(), 4u);
    EXPECT_TRUE(list[0].Name.empty());
    EXPECT_TRUE(list[0].Pixels.Empty());
    EXPECT_EQ(list[1].Name, "a");
    EXPECT_EQ(list[2].Name, "b");
    EXPECT_EQ(list[3].Name, "c");
    EXPECT_EQ(list[1].Width, 3);
    EXPECT_EQ(list[1].Height, 2);
    // Flipped and inverted: the opaque blue pixel is now at the top left with alpha 255.
    EXPECT_EQ(*list[1].Pixels.Get(0, 1), (Bgra{1, 2, 3, 255}));
    EXPECT_EQ(list[1].Pixels.Get(0, 0)->a, 0);

    EXPECT_EQ(PatternPixels(list, 3), &list[3].Pixels);
    EXPECT_EQ(PatternPixels(list, 4), nullptr);
    EXPECT_EQ(PatternPixels(list, 0), nullptr);
    EXPECT_EQ(PatternPixels(list, -1), nullptr);
}

TEST(PatternLibrary, MissingFolderEmptyPicturesAndTheFlag) {
    TempFolder dir;
    bool loading = true;  // a batch run has it set already
    PatternLibraries libs;
    AppPaths paths = ComputeAppPaths(dir.Path());
    LoadGraphicPens(
        paths, libs, [](const std::string&, PixelBuffer&) { return std::string(); }, loading);
    EXPECT_EQ(libs.GraphicPenList.size(), 1u);
    EXPECT_TRUE(loading);

    ASSERT_TRUE(MakeDirectories(paths.FillDatasDir));
    ASSERT_TRUE(WriteTextFile(paths.FillDatasDir + "t.bmp", "x"));
    loading = false;
    // No error text but nothing read: nothing to tile with, so it is left out.
    LoadFillPatterns(
        paths, libs, [](const std::string&, PixelBuffer&) { return std::string(); }, loading);
    EXPECT_EQ(libs.FillPatternList.size(), 1u);
    LoadFillPatterns(paths, libs, PictureLoader(), loading);
    EXPECT_EQ(libs.FillPatternList.size(), 1u);
}

TEST(PatternGrid, CellsColumnsAndTheBar) {
    EXPECT_EQ(PatternColumns(200, kGraphicPenCell), 4);
    EXPECT_EQ(PatternColumns(200, kFillPatternCell), 4);
    EXPECT_EQ(PatternColumns(249, kGraphicPenCell), 4);
    EXPECT_EQ(PatternColumns(30, kGraphicPenCell), 1);

    const CellPlace fifth = PatternCellPlace(5, 4, kFillPatternCell, 10);
    EXPECT_EQ(fifth.X, 0);
    EXPECT_EQ(fifth.Y, 38);
    const CellPlace fourth = PatternCellPlace(4, 4, kGraphicPenCell, 0);
    EXPECT_EQ(fourth.X, 150);
    EXPECT_EQ(fourth.Y, 0);
    EXPECT_TRUE(PatternCellVisible({0, 149}, 50, 150));
    EXPECT_FALSE(PatternCellVisible({0, 150}, 50, 150));
    EXPECT_FALSE(PatternCellVisible({0, -50}, 50, 150));

    EXPECT_EQ(PatternBarMaximum(9, 4, 50, 100), 50);  // three rows in a window of two
    EXPECT_EQ(PatternBarMaximum(8, 4, 50, 100), 0);
    EXPECT_EQ(PatternBarMaximum(0, 4, 50, 100), 0);
}

TEST(PatternGrid, ClickInTheFifthColumnIsTheNextRowsFirst) {
    PatternList list(20);
    // Column 4 of row 0 and column 0 of row 1 name the same entry.
    const int32_t fifth = PatternClickIndex(GetP2XIndex(210), GetP2YIndex(10, 0), list);
    const int32_t nextRow = PatternClickIndex(GetP2XIndex(10), GetP2YIndex(60, 0), list);
    EXPECT_EQ(fifth, 5);
    EXPECT_EQ(nextRow, 5);
    EXPECT_EQ(GetP2XIndex(900), 4);
    // The fill list counts 50-pixel cells too, though it draws 48.
    EXPECT_EQ(PatternClickIndex(GetP3XIndex(49.9), GetP3YIndex(49, 0), list), 1);
    EXPECT_EQ(PatternClickIndex(GetP3XIndex(50), GetP3YIndex(15, 40), list), 6);
    // Beyond the end: ignored.
    EXPECT_EQ(PatternClickIndex(GetP2XIndex(160), GetP2YIndex(220, 0), list), 0);  // 4 * 4 + 3 + 1
    EXPECT_EQ(PatternClickIndex(GetP2XIndex(110), GetP2YIndex(220, 0), list), 19);
    EXPECT_EQ(PatternClickIndex(0, 0, PatternList(1)), 0);
}

TEST(PatternGrid, ThumbnailOverTheBackground) {
    PatternEntry e;
    e.Width = 2;
    e.Height = 2;
    e.Pixels = PixelBuffer(2, 2);
    e.Pixels.Set(0, 0, {0, 0, 255, 255});  // opaque red at the top left
    e.Pixels.Set(1, 1, {255, 0, 0, 255});  // opaque blue at the bottom right
    const PixelBuffer bg = MakeBackgroundTile(64, 64);
    const PixelBuffer t = PatternThumbnail(e, bg);
    ASSERT_EQ(t.Width(), kPatternThumbSide);
    ASSERT_EQ(t.Height(), kPatternThumbSide);
    // Rows are bottom-up: the last row is the top of the picture.
    EXPECT_EQ(*t.Get(0, 35), (Bgra{0, 0, 255, 255}));
    EXPECT_EQ(*t.Get(17, 18), (Bgra{0, 0, 255, 255}));
    EXPECT_EQ(*t.Get(35, 0), (Bgra{255, 0, 0, 255}));
    // The transparent quarter shows the background: cell (0,0) is grey 200 at the top.
    EXPECT_EQ(*t.Get(34, 35), *bg.Get(34, 0));
    EXPECT_EQ(PatternSizeText(e), "2x2");

    EXPECT_TRUE(PatternThumbnail(e, PixelBuffer()).Empty());
    EXPECT_TRUE(PatternThumbnail(PatternEntry{}, bg).Empty());
}

}  // namespace
}  // namespace brv
