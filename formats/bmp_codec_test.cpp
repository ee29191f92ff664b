#include "formats/bmp_codec.h"

#include <gtest/gtest.h>

#include <random>
#include <set>

#include "core/file_io.h"
#include "formats/reference_decoder_test.h"
#include "tests/support/fake_host.h"

namespace brv {
namespace {

using testing::CorpusDir;
using testing::TempFolder;

// A bitmap file laid out the published way: headers, palette, then the rows at bfOffBits.
struct BmpSpec {
    int32_t width = 1;
    int32_t height = 1;
    uint16_t bits = 24;
    uint32_t compression = 0;
    uint32_t sizeImage = 0;
    uint32_t clrUsed = 0;
    int32_t bfSize = -1;             // -1: the real length
    int32_t offBits = -1;            // -1: right behind the palette
    std::vector<uint8_t> palette{};  // 4 bytes an entry, or the 12 bytes of masks
    std::vector<uint8_t> data{};
};

std::vector<uint8_t> MakeBmp(const BmpSpec& s) {
    ByteWriter w;
    const int32_t off = s.offBits >= 0 ? s.offBits : 54 + static_cast<int32_t>(s.palette.size());
    w.U16LE(19778);
    w.I32LE(s.bfSize != -1 ? s.bfSize : off + static_cast<int32_t>(s.data.size()));
    w.U32LE(0);
    w.I32LE(off);
    w.I32LE(40);
    w.I32LE(s.width);
    w.I32LE(s.height);
    w.U16LE(1);
    w.U16LE(s.bits);
    w.U32LE(s.compression);
    w.U32LE(s.sizeImage);
    w.U32LE(0);
    w.U32LE(0);
    w.U32LE(s.clrUsed);
    w.U32LE(0);
    w.Bytes(s.palette);
    w.Bytes(s.data);
    return std::move(w).Take();
}

std::vector<uint8_t> Entries(std::initializer_list<Bgra> colours) {
    std::vector<uint8_t> out;
    for (const Bgra& c : colours)
        out.insert(out.end(), {c.b, c.g, c.r, 0});
    return out;
}

// A palette of 2^bits entries: entry i is (i, 2i, 3i) in blue, green, red.
std::vector<uint8_t> Ramp(int bits) {
    std::vector<uint8_t> out;
    for (int i = 0; i < (1 << bits); ++i)
        out.insert(out.end(), {static_cast<uint8_t>(i), static_cast<uint8_t>(2 * i),
                               static_cast<uint8_t>(3 * i), 0});
    return out;
}
Bgra RampColour(int i) {
    return {static_cast<uint8_t>(i), static_cast<uint8_t>(2 * i), static_cast<uint8_t>(3 * i), 0};
}

int32_t Read(const std::vector<uint8_t>& file, PixelBuffer& out, BmpLimits limits = {}) {
    return ALLBMPC(limits).GetBMPBytes(file, out, nullptr, false);
}

TEST(BmpHeader, IsBmpTakesAtMostSixteenMegabytes) {
    BmpSpec s;
    s.data = {1, 2, 3, 0};
    for (auto [size, off, want] :
         {std::tuple{16777216, 54, true}, std::tuple{16777217, 54, false}, std::tuple{1, 12, true},
          std::tuple{0, 54, false}, std::tuple{100, 11, false}, std::tuple{-5, 54, false}}) {
        s.bfSize = size;
        s.offBits = off;
        EXPECT_EQ(ALLBMPC::IsBMPHeader(MakeBmp(s)), want) << size << " " << off;
    }
    // The reader itself never looks at bfSize or bfOffBits.
    s.bfSize = 16777217;
    s.offBits = 3;
    PixelBuffer p;
    ASSERT_EQ(Read(MakeBmp(s), p), 0);
    EXPECT_EQ(p.Get(0, 0), (Bgra{1, 2, 3, 0}));
    EXPECT_FALSE(ALLBMPC::IsBMPHeader(std::vector<uint8_t>{'B', 'M', 1, 0, 0, 0}));

    TempFolder dir;
    s.bfSize = 60;
    s.offBits = 54;
    ASSERT_TRUE(WriteWholeFile(dir.File("a.bmp"), MakeBmp(s)));
    EXPECT_TRUE(ALLBMPC::IsBMP(dir.File("a.bmp")));
    EXPECT_FALSE(ALLBMPC::IsBMP(dir.File("missing.bmp")));
}

TEST(BmpRead, IndexedDepthsMostSignificantPixelFirst) {
    PixelBuffer p;
    // 1 bit, width 10: one 4-byte row; the second byte's last six bits lie past the row.
    BmpSpec one{.width = 10, .height = 1, .bits = 1};
    one.palette = Entries({{9, 9, 9, 0}, {200, 100, 50, 0}});
    one.data = {0b10110000, 0b01111111, 0xFF, 0xFF};
    ASSERT_EQ(Read(MakeBmp(one), p), 0);
    const int expect1[10] = {1, 0, 1, 1, 0, 0, 0, 0, 0, 1};
    for (int x = 0; x < 10; ++x)
        EXPECT_EQ(p.Get(x, 0), expect1[x] ? (Bgra{200, 100, 50, 0}) : (Bgra{9, 9, 9, 0})) << x;

    BmpSpec two{.width = 5, .height = 2, .bits = 2};
    two.palette = Ramp(2);
    two.data = {0b00011011, 0b10000000, 0, 0, 0b11100100, 0b01000000, 0, 0};
    ASSERT_EQ(Read(MakeBmp(two), p), 0);
    const int expect2[2][5] = {{0, 1, 2, 3, 2}, {3, 2, 1, 0, 1}};
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 5; ++x)
            EXPECT_EQ(p.Get(x, y), RampColour(expect2[y][x]));

    BmpSpec four{.width = 3, .height = 1, .bits = 4};
    four.palette = Ramp(4);
    four.data = {0xA5, 0xF0, 0, 0};
    ASSERT_EQ(Read(MakeBmp(four), p), 0);
    EXPECT_EQ(p.Get(0, 0), RampColour(10));
    EXPECT_EQ(p.Get(1, 0), RampColour(5));
    EXPECT_EQ(p.Get(2, 0), RampColour(15));
}

TEST(BmpRead, FiveFiveFiveKeepsTheLowBitsZero) {
    BmpSpec s{.width = 2, .height = 1, .bits = 16};
    // White, then red 1, green 17 (split over both bytes), blue 2.
    const uint16_t second = (1 << 10) | (17 << 5) | 2;
    s.data = {0xFF, 0x7F, static_cast<uint8_t>(second), static_cast<uint8_t>(second >> 8)};
    PixelBuffer p;
    ASSERT_EQ(Read(MakeBmp(s), p), 0);
    EXPECT_EQ(p.Get(0, 0), (Bgra{248, 248, 248, 0}));
    EXPECT_EQ(p.Get(1, 0), (Bgra{16, 136, 8, 0}));
}

TEST(BmpRead, BitFieldsScaleByTheRunOfTheMask) {
    auto masks = [](uint32_t r, uint32_t g, uint32_t b) {
        ByteWriter w;
        w.U32LE(r);
        w.U32LE(g);
        w.U32LE(b);
        return std::move(w).Take();
    };
    PixelBuffer p;
    // 5-6-5: the first mask is red.
    BmpSpec s{.width = 2, .height = 1, .bits = 16, .compression = 3};
    s.palette = masks(0xF800, 0x07E0, 0x001F);
    s.data = {0xFF, 0xFF, 0x21, 0x08};  // white; red 1, green 1, blue 1
    ASSERT_EQ(Read(MakeBmp(s), p), 0);
    EXPECT_EQ(p.Get(0, 0), (Bgra{248, 252, 248, 0}));
    EXPECT_EQ(p.Get(1, 0), (Bgra{8, 4, 8, 0}));

    // A 10-bit run gives quarters, rounded half to even; a gap in a mask is cut at 255.
    s.width = 4;
    s.palette = masks(0x03FF, 0x000B, 0);
    s.data = {0x02, 0x00, 0x06, 0x00, 0xFF, 0x03, 0x0B, 0x00};
    ASSERT_EQ(Read(MakeBmp(s), p), 0);
    EXPECT_EQ(p.Get(0, 0)->r, 0);    // 2 / 4 = 0.5
    EXPECT_EQ(p.Get(1, 0)->r, 2);    // 6 / 4 = 1.5
    EXPECT_EQ(p.Get(2, 0)->r, 255);  // 1023 / 4 = 255.75
    EXPECT_EQ(p.Get(3, 0)->g, 255);  // 11 * 64, beyond a byte
    EXPECT_EQ(p.Get(3, 0)->r, 3);    // 11 / 4 = 2.75

    // 16 bits with any other compression read blank.
    BitmapInfoHeader bmi{.biWidth = 2, .biHeight = 1, .biBitCount = 16, .biCompression = 7};
    bool cancel = false;
    const std::vector<uint8_t> rows{1, 2, 3, 4};
    ASSERT_EQ(ALLBMPC().BMPTo32(bmi, rows, {}, {}, cancel, p), 0);
    EXPECT_EQ(p.Get(1, 0), (Bgra{0, 0, 0, 0}));
    EXPECT_EQ(bmi.biBitCount, 32);
}

TEST(BmpRead, ThirtyTwoBitAlphaComesBackComplemented) {
    PixelBuffer pic(2, 1);
    pic.Set(0, 0, {1, 2, 3, 255});
    pic.Set(1, 0, {4, 5, 6, 10});
    PixelBuffer back;
    ASSERT_EQ(Read(ALLBMPC::EncodeBMP16to32(pic, 32), back), 0);
    EXPECT_EQ(back.Get(0, 0), (Bgra{1, 2, 3, 0}));
    EXPECT_EQ(back.Get(1, 0), (Bgra{4, 5, 6, 245}));
}

TEST(BmpRead, PaletteIsAlwaysTwoToTheDepthEntries) {
    // An 8-bit file with a 2-entry palette: the reader still takes 256 entries, so it reads
    // the rows 1016 bytes further on, past the end, where zeros stand.
    BmpSpec s{.width = 4, .height = 1, .bits = 8, .clrUsed = 2};
    s.palette = Entries({{10, 10, 10, 0}, {20, 20, 20, 0}});
    s.data = {1, 1, 1, 1};
    PixelBuffer p;
    ASSERT_EQ(Read(MakeBmp(s), p), 0);
    for (int x = 0; x < 4; ++x)
        EXPECT_EQ(p.Get(x, 0), (Bgra{10, 10, 10, 0}));

    // The writer adds one palette entry more than the depth calls for, so its own 8-bit files
    // read back four bytes early: the extra entry's bytes come first.
    IndexedPicture idx{8, 1, {0, 1, 2, 3, 4, 5, 6, 7}};
    std::vector<uint8_t> plte = Ramp(8);
    plte.insert(plte.end(), {40, 41, 42, 0});  // entry 256
    ASSERT_EQ(Read(ALLBMPC::EncodeBMP1to8(idx, 8, plte), p), 0);
    const int expect[8] = {40, 41, 42, 0, 0, 1, 2, 3};
    for (int x = 0; x < 8; ++x)
        EXPECT_EQ(p.Get(x, 0), RampColour(expect[x])) << x;
}

TEST(BmpRead, SizesAndShortData) {
    PixelBuffer p;
    BmpSpec s{.width = 2, .height = 2, .bits = 24};
    s.data = {1, 2, 3, 4, 5, 6, 0, 0};  // the second row is missing: zeros, read as black
    ASSERT_EQ(Read(MakeBmp(s), p), 0);
    EXPECT_EQ(p.Get(1, 0), (Bgra{4, 5, 6, 0}));
    EXPECT_EQ(p.Get(0, 1), (Bgra{0, 0, 0, 0}));

    s.sizeImage = 12;  // stated, but less than the 16 the rows need
    EXPECT_EQ(Read(MakeBmp(s), p), kBmpErrRead);
    s.sizeImage = 0;

    for (auto [w, h] : {std::pair{2, -2}, std::pair{0, 2}, std::pair{2, 0}, std::pair{40000, 1}}) {
        s.width = w;
        s.height = h;
        EXPECT_EQ(Read(MakeBmp(s), p), kBmpErrUnsupported) << w << "x" << h;
    }
    s.width = 2000;
    s.height = 2000;
    EXPECT_EQ(Read(MakeBmp(s), p, BmpLimits{.MaxPixels = 1000 * 1000}), kBmpErrUnsupported);

    std::vector<uint8_t> cut = MakeBmp(BmpSpec{});
    cut.resize(40);
    EXPECT_EQ(Read(cut, p), kBmpErrRead);

    // Compressed without a size can't be read; an unknown compression is not taken.
    BmpSpec rle{.width = 4, .height = 1, .bits = 8, .compression = 1};
    rle.palette = Ramp(8);
    rle.data = {4, 7, 0, 1};
    EXPECT_EQ(Read(MakeBmp(rle), p), kBmpErrRead);
    rle.sizeImage = 4;
    rle.bits = 4;
    EXPECT_EQ(Read(MakeBmp(rle), p), kBmpErrUnsupported);  // RLE8 needs 8 bits
    rle.bits = 8;
    rle.compression = 4;
    EXPECT_EQ(Read(MakeBmp(rle), p), kBmpErrUnsupported);

    // A depth the conversion doesn't know reads as a blank picture of the right size.
    BmpSpec deep{.width = 3, .height = 2, .bits = 64};
    deep.data.assign(48, 0xEE);
    ASSERT_EQ(Read(MakeBmp(deep), p), 0);
    EXPECT_EQ(p, PixelBuffer(3, 2));
}

TEST(BmpRle, EightBitRunsEscapesAndDeltas) {
    BmpSpec s{.width = 6, .height = 4, .bits = 8, .compression = 1};
    s.palette = Ramp(8);
    s.data = {
        3, 5,              // three of 5
        0, 3, 7, 8, 9, 0,  // absolute run of three, padded to a word
        2, 6,              // two of 6, past the end of the row: clipped
        0, 0,              // end of line
        0, 2, 2, 1,        // delta: two right, one up
        1, 4,              // one of 4 at (2, 2)
        0, 0,              // end of line: row 3
        0, 4, 1, 2, 3, 4,  // absolute run of four
        0, 1,              // end of bitmap
        9, 9,              // never read
    };
    s.sizeImage = static_cast<uint32_t>(s.data.size());
    PixelBuffer p;
    BitmapInfoHeader back;
    ASSERT_EQ(ALLBMPC().GetBMPBytes(MakeBmp(s), p, &back, false), 0);
    const int expect[4][6] = {{5, 5, 5, 7, 8, 9},
                              {-1, -1, -1, -1, -1, -1},
                              {-1, -1, 4, -1, -1, -1},
                              {1, 2, 3, 4, -1, -1}};
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 6; ++x)
            EXPECT_EQ(p.Get(x, y), expect[y][x] < 0 ? Bgra{} : RampColour(expect[y][x]))
                << x << "," << y;
    EXPECT_EQ(back.biBitCount, 32);
    EXPECT_EQ(back.biCompression, 0u);
    EXPECT_EQ(back.biSizeImage, 96u);
}

TEST(BmpRle, FourBitNibblesAndTheHeadersPaletteSize) {
    // Three palette entries (biClrUsed 3): the system finds the data right behind them, and
    // an index past them draws nothing.
    BmpSpec s{.width = 5, .height = 2, .bits = 4, .compression = 2, .clrUsed = 3};
    s.palette = Entries({{1, 1, 1, 0}, {2, 2, 2, 0}, {3, 3, 3, 0}});
    s.data = {
        5, 0x12,              // 1 2 1 2 1
        0, 0,                 // end of line
        0, 3,    0x20, 0xF0,  // absolute 2 0 15, two bytes, already a word
        0, 1,
    };
    s.sizeImage = static_cast<uint32_t>(s.data.size());
    PixelBuffer p;
    ASSERT_EQ(Read(MakeBmp(s), p), 0);
    const int expect[2][5] = {{1, 2, 1, 2, 1}, {2, 0, -1, -1, -1}};
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 5; ++x) {
            const int i = expect[y][x];
            const uint8_t v = static_cast<uint8_t>(i + 1);
            EXPECT_EQ(p.Get(x, y), i < 0 ? Bgra{} : (Bgra{v, v, v, 0})) << x << "," << y;
        }
}

TEST(BmpRead, ProgressEveryTwentyRowsCancelsOnOne) {
    BmpSpec s{.width = 1, .height = 45, .bits = 24};
    s.data.assign(4 * 45, 7);
    const auto file = MakeBmp(s);
    std::vector<std::pair<int32_t, int32_t>> calls;
    PixelBuffer p;
    ASSERT_EQ(ALLBMPC().GetBMPBytes(file, p, nullptr, false,
                                    [&](int32_t pos, int32_t total) {
                                        calls.emplace_back(pos, total);
                                        return 0;
                                    }),
              0);
    EXPECT_EQ(calls, (std::vector<std::pair<int32_t, int32_t>>{{20, 45}, {40, 45}}));

    PixelBuffer untouched(1, 1);
    EXPECT_EQ(
        ALLBMPC().GetBMPBytes(file, untouched, nullptr, false, [](int32_t, int32_t) { return 1; }),
        kBmpCancelled);
    EXPECT_EQ(untouched, PixelBuffer(1, 1));
    EXPECT_EQ(ALLBMPC::GetBMPError(kBmpCancelled), "");
}

TEST(BmpRead, TurnsRowsOverOnRequestAndHandsBackTheHeader) {
    BmpSpec s{.width = 1, .height = 3, .bits = 24};
    s.data = {1, 1, 1, 0, 2, 2, 2, 0, 3, 3, 3, 0};
    PixelBuffer p;
    BitmapInfoHeader bmi;
    ASSERT_EQ(ALLBMPC().GetBMPBytes(MakeBmp(s), p, &bmi, true), 0);
    EXPECT_EQ(p.Get(0, 0)->b, 3);
    EXPECT_EQ(p.Get(0, 2)->b, 1);
    EXPECT_EQ(bmi.biBitCount, 32);
    EXPECT_EQ(bmi.biSizeImage, 12u);  // 0 in the file: stride * height
    EXPECT_EQ(bmi.biHeight, 3);

    TempFolder dir;
    ASSERT_TRUE(WriteWholeFile(dir.File("a.bmp"), MakeBmp(s)));
    ASSERT_EQ(ALLBMPC().GetBMPFile(dir.File("a.bmp"), p, nullptr, false), 0);
    EXPECT_EQ(p.Get(0, 0)->b, 1);
    EXPECT_EQ(ALLBMPC().GetBMPFile(dir.File("none.bmp"), p, nullptr, false), kBmpErrOpen);
}

TEST(BmpWrite, SixteenTwentyFourAndThirtyTwoBits) {
    PixelBuffer pic(3, 2);
    pic.Set(0, 0, {255, 4, 5, 9});
    pic.Set(1, 0, {12, 128, 200, 255});
    pic.Set(2, 1, {7, 8, 9, 100});

    // 16 bits: c5 = floor(c / 8.1 + 0.5), so 4 -> 0, 5 -> 1, 255 -> 31, 128 -> 16, 200 -> 25.
    const auto f16 = ALLBMPC::EncodeBMP16to32(pic, 16);
    ASSERT_EQ(f16.size(), 54u + 8u * 2u);
    ByteReader h(f16);
    EXPECT_EQ(h.U16LE(), 19778);
    EXPECT_EQ(h.I32LE(), 70);  // bfSize
    h.Skip(4);
    EXPECT_EQ(h.I32LE(), 54);  // bfOffBits
    EXPECT_EQ(h.I32LE(), 40);
    EXPECT_EQ(h.I32LE(), 3);
    EXPECT_EQ(h.I32LE(), 2);
    EXPECT_EQ(h.U16LE(), 1);
    EXPECT_EQ(h.U16LE(), 16);
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(h.U32LE(), 0u);  // nothing else is set
    const auto px = [&](int x) { return f16[54 + 2 * x] | f16[55 + 2 * x] << 8; };
    EXPECT_EQ(px(0), (1 << 10) | (0 << 5) | 31);
    EXPECT_EQ(px(1), (25 << 10) | (16 << 5) | 1);
    PixelBuffer back;
    ASSERT_EQ(Read(f16, back), 0);
    EXPECT_EQ(back.Get(1, 0), (Bgra{8, 128, 200, 0}));

    // 24 bits: rows padded to 4, alpha dropped.
    const auto f24 = ALLBMPC::EncodeBMP16to32(pic, 24);
    ASSERT_EQ(f24.size(), 54u + 12u * 2u);
    ASSERT_EQ(Read(f24, back), 0);
    EXPECT_EQ(back.Get(2, 1), (Bgra{7, 8, 9, 0}));

    // 32 bits: as it stands, alpha too.
    const auto f32 = ALLBMPC::EncodeBMP16to32(pic, 32);
    EXPECT_EQ(std::vector<uint8_t>(f32.begin() + 54, f32.end()), pic.Vector());
    EXPECT_TRUE(ALLBMPC::EncodeBMP16to32(pic, 8).empty());

    TempFolder dir;
    BitmapInfoHeader bmi;
    PixelBuffer turned = pic;
    ASSERT_EQ(ALLBMPC::SaveBMP16to32(dir.File("t.bmp"), turned, 32, &bmi, true), 0);
    EXPECT_EQ(turned.Get(2, 0), pic.Get(2, 1));  // turned over in place
    EXPECT_EQ(bmi.biBitCount, 32);
    ASSERT_EQ(ALLBMPC().GetBMPFile(dir.File("t.bmp"), back, nullptr, true), 0);
    EXPECT_EQ(back.Get(2, 1), (Bgra{7, 8, 9, 155}));
    EXPECT_EQ(ALLBMPC::SaveBMP16to32(dir.File("no/such/folder.bmp"), turned, 24, nullptr, false),
              kBmpErrOpen);
    EXPECT_EQ(ALLBMPC::SaveBMP16to32(dir.File("x.bmp"), turned, 15, nullptr, false),
              kBmpErrUnsupported);
}

// The palette entries of a 1- to 8-bit file from this writer.
std::vector<Bgra> FilePalette(const std::vector<uint8_t>& file) {
    ByteReader r(file);
    r.Skip(10);
    const int32_t off = r.I32LE();
    std::vector<Bgra> out;
    for (int32_t at = 54; at + 4 <= off; at += 4)
        out.push_back({file[static_cast<size_t>(at)], file[static_cast<size_t>(at) + 1],
                       file[static_cast<size_t>(at) + 2], file[static_cast<size_t>(at) + 3]});
    return out;
}

TEST(BmpWrite1to8, OneBitKeepsBlackWhiteAndTheCommonestColour) {
    // Red 3 times, blue 2 times: both black and white come first (W * H each), then red.
    PixelBuffer pic(5, 1);
    for (int x = 0; x < 5; ++x)
        pic.Set(x, 0, x < 3 ? Bgra{0, 0, 255, 255} : Bgra{255, 0, 0, 255});
    const auto file = ALLBMPC::EncodeBMP1to8(pic, 1, false);
    EXPECT_EQ(FilePalette(file),
              (std::vector<Bgra>{{0, 0, 0, 0}, {255, 255, 255, 0}, {0, 0, 255, 0}}));
    ByteReader r(file);
    r.Skip(2);
    EXPECT_EQ(r.I32LE(), 66 + 4);
    r.Skip(4);
    EXPECT_EQ(r.I32LE(), 66);  // 4 * 2 + 58
    // Red is entry 2 and keeps only its low bit (0); blue is nearest to black (0).
    EXPECT_EQ(file[66], 0);
}

TEST(BmpWrite1to8, FourBitCornersCountATenthRoundedToEven) {
    // 25 pixels: each corner counts Round(2.5) = 2, so red with 2 pixels stays before them.
    PixelBuffer pic(25, 1);
    for (int x = 0; x < 25; ++x)
        pic.Set(x, 0, x < 2 ? Bgra{0, 0, 100, 255} : Bgra{0, 100, 0, 255});
    const auto pal = FilePalette(ALLBMPC::EncodeBMP1to8(pic, 4, false));
    ASSERT_EQ(pal.size(), 17u);
    EXPECT_EQ(pal[0], (Bgra{0, 99, 0, 0}));  // green cell 12 -> 12 * 8.23 = 98.76
    EXPECT_EQ(pal[1], (Bgra{0, 0, 99, 0}));
    const Bgra corners[8] = {{0, 0, 0, 0},     {255, 0, 0, 0},    {0, 255, 0, 0},
                             {255, 255, 0, 0}, {0, 0, 255, 0},    {255, 0, 255, 0},
                             {0, 255, 255, 0}, {255, 255, 255, 0}};
    for (int i = 0; i < 8; ++i)
        EXPECT_EQ(pal[2 + static_cast<size_t>(i)], corners[i]) << i;
    for (size_t i = 10; i < 17; ++i)
        EXPECT_EQ(pal[i], (Bgra{0, 0, 0, 0}));

    // With 15 pixels a corner counts Round(1.5) = 2 and passes a colour of 1.
    PixelBuffer small(15, 1);
    for (int x = 0; x < 15; ++x)
        small.Set(x, 0, x < 1 ? Bgra{0, 0, 100, 255} : Bgra{0, 100, 0, 255});
    const auto pal2 = FilePalette(ALLBMPC::EncodeBMP1to8(small, 4, false));
    EXPECT_EQ(pal2[1], (Bgra{0, 0, 0, 0}));
    EXPECT_EQ(pal2[9], (Bgra{0, 0, 99, 0}));
}

TEST(BmpWrite1to8, DiffusionGivesASixteenthToThreeNeighbours) {
    // 3 x 2 at 1 bit: grey 250 but for (0, 0) = 100 and (1, 0) = v. Kept are black, white and
    // the commonest cell (31, white again), so cells up to 15 map to black, from 16 on to white.
    // (0, 0) goes black; half its error is 50 and each neighbour gets Round(50 / 8) = 6, so
    // v = 121 becomes 127 (cell 15, black) and v = 122 becomes 128 (cell 16, white).
    auto file = [](uint8_t v, bool gosa) {
        PixelBuffer pic(3, 2);
        pic.Fill({250, 250, 250, 255});
        pic.Set(0, 0, {100, 100, 100, 255});
        pic.Set(1, 0, {v, v, v, 255});
        return ALLBMPC::EncodeBMP1to8(pic, 1, gosa);
    };
    constexpr size_t kRow0 = 66, kRow1 = 70;  // bfOffBits 4 * 2 + 58, rows of 4 bytes
    EXPECT_EQ(file(121, true)[kRow0], 0b00000000);
    EXPECT_EQ(file(122, true)[kRow0], 0b01000000);
    // The last column and the last row are not visited and stay at index 0.
    EXPECT_EQ(file(122, true)[kRow1], 0);
    // Without diffusion 122 is nearer to black, and every pixel is mapped.
    EXPECT_EQ(file(122, false)[kRow0], 0b00100000);
    EXPECT_EQ(file(122, false)[kRow1], 0b11100000);
}

TEST(BmpWrite1to8, NarrowPicturesFallBackToTheNearestColour) {
    std::mt19937 rng(3);
    PixelBuffer pic(2, 9);
    for (auto& b : pic.Bytes())
        b = static_cast<uint8_t>(rng());
    for (int depth : {1, 4, 8})
        EXPECT_EQ(ALLBMPC::EncodeBMP1to8(pic, depth, true),
                  ALLBMPC::EncodeBMP1to8(pic, depth, false));
    EXPECT_TRUE(ALLBMPC::EncodeBMP1to8(pic, 2, false).empty());
}

TEST(BmpWrite1to8, GivenIndicesArePackedHighBitsFirst) {
    IndexedPicture idx{5, 2, {1, 2, 3, 4, 5, 15, 14, 13, 12, 11}};
    const std::vector<uint8_t> plte = Ramp(4);  // 16 entries; the 17th is written black
    const auto file = ALLBMPC::EncodeBMP1to8(idx, 4, plte);
    ASSERT_EQ(file.size(), 54u + 17u * 4u + 2u * 4u);
    EXPECT_EQ(FilePalette(file)[16], (Bgra{0, 0, 0, 0}));
    EXPECT_EQ(std::vector<uint8_t>(file.end() - 8, file.end()),
              (std::vector<uint8_t>{0x12, 0x34, 0x50, 0, 0xFE, 0xDC, 0xB0, 0}));

    TempFolder dir;
    EXPECT_EQ(ALLBMPC::SaveBMP1to8(dir.File("i.bmp"), idx, 4, plte), 0);
    EXPECT_EQ(ReadWholeFile(dir.File("i.bmp")), file);
    EXPECT_EQ(ALLBMPC::SaveBMP1to8(dir.File("no/dir/i.bmp"), idx, 4, plte), kBmpErrRead);
    IndexedPicture wrong{5, 2, {1, 2}};
    EXPECT_EQ(ALLBMPC::SaveBMP1to8(dir.File("w.bmp"), wrong, 4, plte), kBmpErrUnsupported);
}

TEST(DrawBMP32, BlendsWithAlphaFromTheSourceAndColourFromTheTarget) {
    PixelBuffer src(2, 2);
    src.Set(0, 0, {10, 20, 30, 255});
    src.Set(1, 0, {100, 100, 100, 128});
    src.Set(0, 1, {1, 1, 1, 255});
    PixelBuffer dst(3, 3);
    dst.Fill({200, 200, 200, 0});
    ALLBMPC::DrawBMP32(src, dst, 0, 0, 255);
    EXPECT_EQ(dst.Get(0, 0), (Bgra{10, 20, 30, 255}));
    // a = 128/255: floor(100 a + 200 (1 - a) + 0.4) = 150; alpha 255 a = 128.
    EXPECT_EQ(dst.Get(1, 0), (Bgra{150, 150, 150, 128}));
    EXPECT_EQ(dst.Get(0, 1), (Bgra{200, 200, 200, 0}));  // the last source row is not drawn

    // Offset by one: (0, 0)'s alpha with (1, 0)'s colour; (1, 0) would take its colour from
    // (2, 0), outside the source, and is not drawn.
    PixelBuffer d2(3, 3);
    d2.Fill({200, 200, 200, 7});
    ALLBMPC::DrawBMP32(src, d2, 1, 0, 255);
    EXPECT_EQ(d2.Get(1, 0), (Bgra{100, 100, 100, 255}));
    EXPECT_EQ(d2.Get(2, 0), (Bgra{200, 200, 200, 7}));

    // The destination's last row is never reached; any alpha already there becomes 255.
    PixelBuffer d3(2, 2);
    d3.Fill({50, 50, 50, 1});
    ALLBMPC::DrawBMP32(src, d3, 0, 1, 255);
    EXPECT_EQ(d3.Get(0, 1), (Bgra{50, 50, 50, 1}));
    ALLBMPC::DrawBMP32(src, d3, 0, 0, 0);
    EXPECT_EQ(d3.Get(0, 0), (Bgra{50, 50, 50, 255}));
}

TEST(MakeITIMATU, SquaresOfSizePixels) {
    const PixelBuffer p = ALLBMPC::MakeITIMATU(5, 3, 2, 0x11223344, 0xAABBCCDD);
    const Bgra gray{0x44, 0x33, 0x22, 0x11}, white{0xDD, 0xCC, 0xBB, 0xAA};
    const char* rows[3] = {"ggwwg", "ggwwg", "wwggw"};
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 5; ++x)
            EXPECT_EQ(p.Get(x, y), rows[y][x] == 'g' ? gray : white);
    EXPECT_TRUE(ALLBMPC::MakeITIMATU(4, 4, 0, 1, 2).Empty());
}

TEST(BmpErrors, Texts) {
    EXPECT_EQ(ALLBMPC::GetBMPError(-1), "ファイルのオープンに失敗しました。");
    EXPECT_EQ(ALLBMPC::GetBMPError(-2), "上書きに失敗しました。");
    EXPECT_EQ(ALLBMPC::GetBMPError(-3), "読み込みできませんでした。");
    EXPECT_EQ(ALLBMPC::GetBMPError(-4), "対応していないビットマップです。");
    EXPECT_EQ(ALLBMPC::GetBMPError(0), "");
    EXPECT_EQ(ALLBMPC::GetBMPError(-99), "");
}

// ---- The BMP Suite ---------------------------------------------------------------------

std::string Suite() {
    const std::string root = CorpusDir();
    return root.empty() ? root : root + "/bmp/bmpsuite/";
}

// Compares our file-order rows with a top-down reference: colours through `level`, and our
// fourth byte with `alpha(x, y)`.
template <class Level, class Alpha>
void ExpectSamePicture(const PixelBuffer& ours, const testing::RgbaPicture& ref, Level level,
                       Alpha alpha, const std::string& name) {
    ASSERT_EQ(ours.Width(), ref.Width) << name;
    ASSERT_EQ(ours.Height(), ref.Height) << name;
    int bad = 0;
    for (int32_t y = 0; y < ref.Height && bad < 5; ++y)
        for (int32_t x = 0; x < ref.Width && bad < 5; ++x) {
            const Bgra o = *ours.Get(x, ours.Height() - 1 - y);
            const uint8_t* r = ref.At(x, y);
            const Bgra want{level(2, r[2]), level(1, r[1]), level(0, r[0]), alpha(x, y)};
            if (o != want) {
                ++bad;
                ADD_FAILURE() << name << " at " << x << "," << y << ": got " << int{o.r} << " "
                              << int{o.g} << " " << int{o.b} << " " << int{o.a} << ", want "
                              << int{want.r} << " " << int{want.g} << " " << int{want.b} << " "
                              << int{want.a};
            }
        }
}

TEST(BmpSuite, FilesReadAsTheFormatSaysMatchImageMagick) {
    if (Suite().empty() || !testing::HaveImageMagick()) GTEST_SKIP() << "no corpus or convert";
    auto same = [](int, uint8_t v) { return v; };
    auto opaque = [](int32_t, int32_t) -> uint8_t { return 0; };
    // Channels of `bits` bits come back shifted up, without the low bits filled in; ImageMagick
    // scales them to the full range (only for 16 bits with 2-3-1 masks it shifts as we do).
    auto levels = [](std::array<int, 3> bitsRgb) {
        return [bitsRgb](int channel, uint8_t v) {
            const int bits = bitsRgb[static_cast<size_t>(channel)];
            const int top = (1 << bits) - 1;
            return static_cast<uint8_t>(((v * top + 127) / 255) << (8 - bits));
        };
    };
    struct Case {
        const char* file;
        const char* reference;  // a reference picture of html/, or the file itself
        std::array<int, 3> bits;
    };
    const Case cases[] = {
        {"g/pal1.bmp", nullptr, {8, 8, 8}},
        {"g/pal1bg.bmp", nullptr, {8, 8, 8}},
        {"g/pal1wb.bmp", nullptr, {8, 8, 8}},
        {"g/pal8-0.bmp", nullptr, {8, 8, 8}},
        {"g/rgb24.bmp", nullptr, {8, 8, 8}},
        {"q/pal2.bmp", "html/pal2.png", {8, 8, 8}},
        {"q/pal2color.bmp", "html/pal2color.png", {8, 8, 8}},
        {"g/rgb16.bmp", nullptr, {5, 5, 5}},
        {"g/rgb16bfdef.bmp", nullptr, {5, 5, 5}},
        {"g/rgb16-565.bmp", nullptr, {5, 6, 5}},
        {"q/rgb16-231.bmp", nullptr, {8, 8, 8}},
        {"q/rgb16faketrns.bmp", nullptr, {5, 5, 5}},
        {"g/pal4rle.bmp", "html/pal4.png", {8, 8, 8}},
        {"g/pal8rle.bmp", "html/pal8.png", {8, 8, 8}},
        {"q/pal4rletrns.bmp", "html/pal4rletrns-b.png", {8, 8, 8}},
        {"q/pal8rletrns.bmp", "html/pal8rletrns-b.png", {8, 8, 8}},
        {"q/pal4rlecut.bmp", "html/pal4rlecut-b.png", {8, 8, 8}},
        {"q/pal8rlecut.bmp", "html/pal8rlecut-b.png", {8, 8, 8}},
    };
    for (const Case& c : cases) {
        PixelBuffer ours;
        ASSERT_EQ(ALLBMPC().GetBMPFile(Suite() + c.file, ours, nullptr, false), 0) << c.file;
        const auto ref = testing::MagickDecode(Suite() + (c.reference ? c.reference : c.file));
        ASSERT_TRUE(ref) << c.file;
        if (c.bits == std::array<int, 3>{8, 8, 8})
            ExpectSamePicture(ours, *ref, same, opaque, c.file);
        else
            ExpectSamePicture(ours, *ref, levels(c.bits), opaque, c.file);
    }

    // 32 bits: colours as ImageMagick reads them, the fourth byte the complement of the file's.
    for (const char* name :
         {"g/rgb32.bmp", "g/rgb32bfdef.bmp", "q/rgb32fakealpha.bmp", "q/rgba32abf.bmp"}) {
        const auto file = ReadWholeFile(Suite() + name);
        ASSERT_TRUE(file);
        PixelBuffer ours;
        const int32_t r = ALLBMPC().GetBMPBytes(*file, ours, nullptr, false);
        if (std::string(name) == "q/rgba32abf.bmp") {
            EXPECT_EQ(r, kBmpErrUnsupported);  // compression 6 is not ours
            continue;
        }
        ASSERT_EQ(r, 0) << name;
        ByteReader head(*file);
        head.Skip(10);
        const size_t off = head.U32LE();
        const size_t stride = 4 * static_cast<size_t>(ours.Width());
        auto fileAlpha = [&](int32_t x, int32_t y) {
            const size_t row = static_cast<size_t>(ours.Height() - 1 - y);
            return static_cast<uint8_t>(255 - (*file)[off + row * stride + 4 * x + 3]);
        };
        const auto ref = testing::MagickDecode(Suite() + name);
        ASSERT_TRUE(ref);
        ExpectSamePicture(ours, *ref, same, fileAlpha, name);
    }
}

TEST(BmpSuite, ThirtyTwoBitRowsAreCopiedWholeWhateverTheMasks) {
    if (Suite().empty()) GTEST_SKIP() << "no corpus";
    // Channels in an unusual order: the masks are read but the rows copied as they stand.
    const auto file = ReadWholeFile(Suite() + "g/rgb32bf.bmp");
    ASSERT_TRUE(file);
    PixelBuffer ours;
    ASSERT_EQ(ALLBMPC().GetBMPBytes(*file, ours, nullptr, false), 0);
    std::vector<uint8_t> raw(file->begin() + 66, file->begin() + 66 + 32512);
    for (size_t i = 3; i < raw.size(); i += 4)
        raw[i] = static_cast<uint8_t>(255 - raw[i]);
    EXPECT_EQ(ours.Vector(), raw);
}

// The same file laid out so that a reader of the published format sees what ours sees: a
// 40-byte header, 2^depth palette entries (plus masks) right behind it, the rows right after.
std::vector<uint8_t> AsOurReaderSeesIt(std::vector<uint8_t> file) {
    ByteReader r(file);
    r.Skip(28);
    const uint16_t bits = r.U16LE();
    const uint32_t compression = r.U32LE();
    const uint32_t sizeImage = r.U32LE();
    const size_t palette = bits < 9 ? size_t{4} << bits : 0;
    const size_t off = 54 + palette + (compression == 3 ? 12 : 0);
    const size_t end = off + sizeImage;
    if (file.size() < end) file.resize(end, 0);
    auto put32 = [&](size_t at, uint32_t v) {
        for (int i = 0; i < 4; ++i)
            file[at + static_cast<size_t>(i)] = static_cast<uint8_t>(v >> (8 * i));
    };
    put32(2, static_cast<uint32_t>(file.size()));
    put32(10, static_cast<uint32_t>(off));
    put32(14, 40);
    put32(46, 0);  // biClrUsed
    return file;
}

TEST(BmpSuite, ShortPalettesAndLongHeadersReadShiftedAsAlways) {
    if (Suite().empty() || !testing::HaveImageMagick()) GTEST_SKIP() << "no corpus or convert";
    for (const char* name :
         {"g/pal4.bmp", "g/pal4gs.bmp", "g/pal8.bmp", "g/pal8gs.bmp", "g/pal8nonsquare.bmp",
          "g/pal8v4.bmp", "g/pal8v5.bmp", "g/pal8w124.bmp", "g/pal8w125.bmp", "g/pal8w126.bmp",
          "q/pal8offs.bmp", "q/pal8oversizepal.bmp", "q/pal1p1.bmp", "b/pal8badindex.bmp",
          "g/rgb24pal.bmp", "q/rgb24largepal.bmp", "q/rgb24prof.bmp"}) {
        const auto file = ReadWholeFile(Suite() + name);
        ASSERT_TRUE(file);
        PixelBuffer ours;
        ASSERT_EQ(ALLBMPC().GetBMPBytes(*file, ours, nullptr, false), 0) << name;
        const auto ref = testing::MagickDecodeBytes(AsOurReaderSeesIt(*file), ".bmp");
        ASSERT_TRUE(ref) << name;
        ExpectSamePicture(
            ours, *ref, [](int, uint8_t v) { return v; },
            [](int32_t, int32_t) -> uint8_t { return 0; }, name);
    }
}

TEST(BmpSuite, EveryFileGivesACodeAndIsBmpKeepsItsLimit) {
    if (Suite().empty()) GTEST_SKIP() << "no corpus";
    const std::set<std::string> refused = {
        "g/pal8topdown.bmp", "b/rletopdown.bmp", "b/reallybig.bmp", "g/pal8os2.bmp",
        "b/badwidth.bmp",    "q/rgb24jpeg.bmp",  "q/rgb24png.bmp",  "q/rgba32abf.bmp"};
    int files = 0;
    for (const std::string& path : ListFilesRecursive(Suite())) {
        if (path.size() < 4 || path.substr(path.size() - 4) != ".bmp") continue;
        ++files;
        const std::string name = path.substr(Suite().size());
        PixelBuffer p;
        BitmapInfoHeader bmi;
        const int32_t r = ALLBMPC().GetBMPFile(path, p, &bmi, false);
        EXPECT_TRUE(r == 0 || r == kBmpErrRead || r == kBmpErrUnsupported) << name << " " << r;
        if (refused.contains(name)) {
            EXPECT_EQ(r, kBmpErrUnsupported) << name;
        }
        if (r == 0) {
            EXPECT_EQ(p.Width(), bmi.biWidth) << name;
            EXPECT_EQ(p.Height(), bmi.biHeight) << name;
            EXPECT_EQ(bmi.biBitCount, 32) << name;
        }
        if (name[0] == 'g') {
            EXPECT_TRUE(ALLBMPC::IsBMP(path)) << name;
        }
        if (name == "b/badfilesize.bmp" || name == "b/reallybig.bmp") {
            EXPECT_FALSE(ALLBMPC::IsBMP(path)) << name;
        }
    }
    EXPECT_GT(files, 80);
}

TEST(BmpSuite, TruncatedAndFlippedCopiesNeverCrash) {
    if (Suite().empty()) GTEST_SKIP() << "no corpus";
    std::mt19937 rng(1234);
    const ALLBMPC reader(BmpLimits{.MaxPixels = 1 << 22});
    for (const std::string& path : ListFilesRecursive(Suite())) {
        if (path.size() < 4 || path.substr(path.size() - 4) != ".bmp") continue;
        const auto file = ReadWholeFile(path);
        ASSERT_TRUE(file);
        auto check = [&](const std::vector<uint8_t>& bytes) {
            PixelBuffer p;
            const int32_t r = reader.GetBMPBytes(bytes, p, nullptr, false);
            EXPECT_TRUE(r == 0 || r == kBmpErrRead || r == kBmpErrUnsupported) << path;
        };
        for (size_t cut : {size_t{0}, size_t{13}, size_t{14}, size_t{53}, size_t{54}, size_t{60},
                           file->size() / 2, file->size() - 1})
            check(std::vector<uint8_t>(
                file->begin(),
                file->begin() + static_cast<std::ptrdiff_t>(std::min(cut, file->size()))));
        for (int i = 0; i < 40; ++i) {
            std::vector<uint8_t> bytes = *file;
            // Flips land in the headers half of the time, where they matter most.
            const size_t span = i % 2 ? bytes.size() : std::min<size_t>(bytes.size(), 70);
            for (int k = 0; k < 3; ++k)
                bytes[rng() % span] ^= static_cast<uint8_t>(1u << (rng() % 8));
            check(bytes);
        }
    }
}

}  // namespace
}  // namespace brv
