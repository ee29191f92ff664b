#include "colour/palette.h"

#include <gtest/gtest.h>

#include "core/file_io.h"
#include "tests/support/fake_host.h"

namespace brv {
namespace {

using testing::TempFolder;

struct Rgb {
    int r, g, b, fourth;
    friend bool operator==(const Rgb&, const Rgb&) = default;
};
Rgb Entry(const PaletteBytes& p, int i) {
    return {p[4 * i + 2], p[4 * i + 1], p[4 * i], p[4 * i + 3]};
}

TEST(BuiltinPalettes, DefaultRampsByBaseThreeDigits) {
    PaletteBytes p = MakeBuiltinPalette(BuiltinPalette::Default);
    for (int c = 0; c < 8; ++c)
        EXPECT_EQ(Entry(p, c), (Rgb{0, 0, 0, 255}));            // row 0 black
    EXPECT_EQ(Entry(p, 1 * 8 + 1), (Rgb{0x30, 0, 0, 255}));     // row 1: red at H
    EXPECT_EQ(Entry(p, 2 * 8 + 7), (Rgb{0xFE, 0, 0, 255}));     // row 2: red at F
    EXPECT_EQ(Entry(p, 5 * 8 + 3), (Rgb{0xA6, 0x53, 0, 255}));  // 5 = 2 + 3*1
    EXPECT_EQ(Entry(p, 9 * 8 + 4), (Rgb{0, 0, 0x60, 255}));     // row 9: blue at H
    EXPECT_EQ(Entry(p, 26 * 8 + 7), (Rgb{0xFE, 0xFE, 0xFE, 255}));
    EXPECT_EQ(Entry(p, 26 * 8 + 1), (Rgb{0x60, 0x60, 0x60, 255}));
    for (size_t i = 27 * 32; i < 1024; ++i)
        EXPECT_EQ(p[i], 0) << i;
}

TEST(BuiltinPalettes, WebSafeCubeFromTheHighByteDown) {
    PaletteBytes p = MakeBuiltinPalette(BuiltinPalette::WebSafe);
    EXPECT_EQ(Entry(p, 0), (Rgb{0, 0, 0, 255}));
    EXPECT_EQ(Entry(p, 1), (Rgb{0, 0, 51, 255}));
    EXPECT_EQ(Entry(p, 36), (Rgb{51, 0, 0, 255}));
    EXPECT_EQ(Entry(p, 215), (Rgb{255, 255, 255, 255}));
    for (size_t i = 216 * 4; i < 1024; ++i)
        EXPECT_EQ(p[i], 0) << i;
}

TEST(BuiltinPalettes, MacSystemPaletteOrder) {
    PaletteBytes p = MakeBuiltinPalette(BuiltinPalette::MacColor);
    EXPECT_EQ(Entry(p, 0), (Rgb{255, 255, 255, 255}));
    EXPECT_EQ(Entry(p, 1), (Rgb{255, 255, 0xCC, 255}));
    EXPECT_EQ(Entry(p, 35), (Rgb{255, 0, 0, 255}));
    EXPECT_EQ(Entry(p, 214), (Rgb{0, 0, 0x33, 255}));
    EXPECT_EQ(Entry(p, 215), (Rgb{0xEE, 0, 0, 255}));
    EXPECT_EQ(Entry(p, 245), (Rgb{0xEE, 0xEE, 0xEE, 255}));
    EXPECT_EQ(Entry(p, 254), (Rgb{0x11, 0x11, 0x11, 255}));
    EXPECT_EQ(Entry(p, 255), (Rgb{0, 0, 0, 255}));
}

TEST(PaletteFiles, OnlyExactly1024BytesLoad) {
    TempFolder dir;
    EXPECT_EQ(MakeDefaultPalettes(dir.Path()), 3);
    for (const char* name : {"Default.BVP", "MacColor.BVP", "WebSafeColor.BVP"})
        EXPECT_EQ(FileSize(dir.File(name)), 1024u) << name;

    Palette pal;
    ASSERT_EQ(LoadPalette(dir.File("WebSafeColor.BVP"), pal), 0);
    EXPECT_EQ(pal.Entries, MakeBuiltinPalette(BuiltinPalette::WebSafe));
    EXPECT_EQ(pal.PaletteFile, dir.File("WebSafeColor.BVP"));

    ASSERT_TRUE(WriteWholeFile(dir.File("short.BVP"), std::vector<uint8_t>(1023, 9)));
    EXPECT_LT(LoadPalette(dir.File("short.BVP"), pal), 0);
    EXPECT_LT(LoadPalette(dir.File("none.BVP"), pal), 0);
    EXPECT_EQ(pal.Entries, MakeBuiltinPalette(BuiltinPalette::WebSafe));
    EXPECT_EQ(pal.PaletteFile, dir.File("WebSafeColor.BVP"));
}

}  // namespace
}  // namespace brv
