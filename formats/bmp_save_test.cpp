#include "formats/bmp_save.h"

#include <gtest/gtest.h>

#include "core/byte_io.h"
#include "core/file_io.h"
#include "formats/bmp_codec.h"
#include "tests/support/fake_host.h"

namespace brv {
namespace {

using testing::TempFolder;

PixelBuffer Colours(int n, uint8_t alpha = 255) {
    PixelBuffer p(n, 1);
    for (int x = 0; x < n; ++x)
        p.Set(x, 0, {static_cast<uint8_t>(x), static_cast<uint8_t>(x / 256), 50, alpha});
    return p;
}

// Reads a 1- to 8-bit file of this writer by its own bfOffBits: colours top-down.
std::vector<Bgra> IndexedPixels(const std::vector<uint8_t>& file, int32_t& width) {
    ByteReader r(file);
    r.Skip(10);
    const size_t off = r.U32LE();
    r.Skip(4);
    width = r.I32LE();
    const int32_t height = r.I32LE();
    r.Skip(2);
    const int bits = r.U16LE();
    const size_t stride = static_cast<size_t>(BmpRowBytes(width, bits));
    std::vector<Bgra> out;
    for (int32_t y = height - 1; y >= 0; --y)
        for (int32_t x = 0; x < width; ++x) {
            const uint8_t byte =
                file[off + stride * static_cast<size_t>(y) + static_cast<size_t>(x * bits / 8)];
            const int index = (byte >> (8 - bits - (x * bits) % 8)) & ((1 << bits) - 1);
            const size_t at = 54 + 4 * static_cast<size_t>(index);
            out.push_back({file[at], file[at + 1], file[at + 2], 0});
        }
    return out;
}

TEST(BmpSaveDialog, DepthLabelAndValues) {
    EXPECT_EQ(BmpSaveDialogModel(Colours(1)).Depth(), 1);  // one colour still needs a bit
    EXPECT_EQ(BmpSaveDialogModel(Colours(2)).Depth(), 1);
    EXPECT_EQ(BmpSaveDialogModel(Colours(16)).Depth(), 4);
    EXPECT_EQ(BmpSaveDialogModel(Colours(200)).Depth(), 8);
    EXPECT_EQ(BmpSaveDialogModel(Colours(300)).Depth(), 32);
    EXPECT_EQ(BmpSaveDialogModel(Colours(2, 100)).Depth(), 32);
    EXPECT_EQ(BmpSaveDialogModel(Colours(16)).Label(), "対象画像の色深度 4");
    EXPECT_EQ(kBmpSaveHeading, "BMP保存オプション");

    EXPECT_TRUE(BmpSaveDialogModel::ShowsDialog(-1));
    EXPECT_FALSE(BmpSaveDialogModel::ShowsDialog(0));
    for (int v = 0; v < 4; ++v) {
        const BmpSaveChoice c = BmpSaveDialogModel::ChoiceFromValue(v);
        EXPECT_EQ(c.Check1, (v & 1) != 0);
        EXPECT_EQ(c.Check2, (v & 2) != 0);
        EXPECT_EQ(BmpSaveDialogModel::U_OnlyValue(c, false), v);
        EXPECT_EQ(BmpSaveDialogModel::U_OnlyValue(c, true), -1);
    }
    const auto paths = BmpSaveDialogModel::Paths("/a.b/pic.bmp", {true, false});
    EXPECT_EQ(paths.Main, "/a.b/pic_XOR.bmp");
    EXPECT_EQ(paths.And, "/a.b/pic_AND.bmp");
    EXPECT_EQ(BmpSaveDialogModel::Paths("/a.b/pic.bmp", {false, true}).Main, "/a.b/pic.bmp");
}

TEST(BmpSaveDialog, WritesTheDepthTheRowsRightWayUp) {
    TempFolder dir;
    PixelBuffer pic(3, 2);
    pic.Fill({10, 20, 30, 255});
    pic.Set(2, 0, {250, 250, 250, 255});  // top right
    const BmpSaveDialogModel model(pic);
    ASSERT_EQ(model.Depth(), 1);
    ASSERT_EQ(model.Save(dir.File("a.bmp"), pic, {}), 0);
    const auto file = ReadWholeFile(dir.File("a.bmp"));
    ASSERT_TRUE(file);
    EXPECT_EQ((*file)[28], 1);  // biBitCount
    int32_t width = 0;
    const auto px = IndexedPixels(*file, width);
    // At 1 bit black and white are kept first: the light pixel is white, the dark ones are
    // nearest to the third entry (their own colour), which keeps only its low bit: black.
    EXPECT_EQ(px[2], (Bgra{255, 255, 255, 0}));
    EXPECT_EQ(px[0], (Bgra{0, 0, 0, 0}));
    EXPECT_EQ(px[3], (Bgra{0, 0, 0, 0}));

    ASSERT_EQ(model.Save(dir.File("b.bmp"), pic, {false, true}), 0);
    PixelBuffer back;
    ASSERT_EQ(ALLBMPC().GetBMPFile(dir.File("b.bmp"), back, nullptr, true), 0);
    EXPECT_EQ(back.Get(2, 0), (Bgra{250, 250, 250, 0}));
    EXPECT_EQ(back.Get(0, 1), (Bgra{10, 20, 30, 0}));
}

TEST(BmpSaveDialog, AndXorPairWithSoftAlpha) {
    TempFolder dir;
    PixelBuffer pic(4, 1);
    pic.Set(0, 0, {10, 20, 30, 0});  // transparent: black in the XOR file
    pic.Set(1, 0, {40, 50, 60, 1});  // nearly transparent: keeps its colour, white in AND
    pic.Set(2, 0, {70, 80, 90, 127});
    pic.Set(3, 0, {1, 2, 3, 128});  // shows: black in AND
    const BmpSaveDialogModel model(pic);
    ASSERT_EQ(model.Depth(), 32);
    ASSERT_EQ(model.Save(dir.File("p.bmp"), pic, {true, false}), 0);
    EXPECT_FALSE(FileExists(dir.File("p.bmp")));

    PixelBuffer xorPic;
    ASSERT_EQ(ALLBMPC().GetBMPFile(dir.File("p_XOR.bmp"), xorPic, nullptr, false), 0);
    EXPECT_EQ(xorPic.Get(0, 0), (Bgra{0, 0, 0, 255}));  // 32 bits: the alpha comes back inverted
    EXPECT_EQ(xorPic.Get(1, 0), (Bgra{40, 50, 60, 254}));
    EXPECT_EQ(xorPic.Get(2, 0), (Bgra{70, 80, 90, 128}));
    EXPECT_EQ(xorPic.Get(3, 0), (Bgra{1, 2, 3, 127}));

    const auto andFile = ReadWholeFile(dir.File("p_AND.bmp"));
    ASSERT_TRUE(andFile);
    EXPECT_EQ((*andFile)[28], 1);
    int32_t width = 0;
    const Bgra white{255, 255, 255, 0}, black{0, 0, 0, 0};
    EXPECT_EQ(IndexedPixels(*andFile, width), (std::vector<Bgra>{white, white, white, black}));
}

}  // namespace
}  // namespace brv
