#include "formats/png_codec.h"

#include <gtest/gtest.h>

#include "core/file_io.h"
#include "formats/png_test_files.h"
#include "tests/support/fake_host.h"

namespace brv {
namespace {

using namespace pngtest;
using testing::FakeHost;
using testing::TempFolder;

struct Decoded {
    int32_t result = 0;
    bool cancelled = false;
    PixelBuffer pixels;
};

Decoded Decode(const Bytes& file, PNGC& png, bool flip = false, bool xorAlpha = false,
               const PNGCallBack& cb = nullptr) {
    Decoded d;
    d.result = png.DecodePNG(file, d.pixels, flip, xorAlpha, cb, d.cancelled);
    return d;
}

Decoded Decode(const Bytes& file) {
    PNGC png;
    return Decode(file, png);
}

Bgra At(const Decoded& d, int32_t x, int32_t y) {
    return d.pixels.Get(x, y).value_or(Bgra{});
}

// A file of one grey row of 8-bit samples, filter None.
Bytes GreyRow(const Bytes& samples, const std::vector<Bytes>& extra = {}) {
    Bytes rows{0};
    Append(rows, samples);
    return File(IHDR(static_cast<uint32_t>(samples.size()), 1, 8, 0), rows, extra);
}

TEST(PNGReader, RefusesWithTheDescribedCodes) {
    PNGC png;
    PixelBuffer out;
    bool cancelled = false;
    EXPECT_EQ(png.DecodePNG({}, out, false, false, nullptr, cancelled), kPNGMissing);
    EXPECT_EQ(png.GetPNG("", out, false, false, nullptr, cancelled), kPNGMissing);
    TempFolder dir;
    EXPECT_EQ(png.GetPNG(dir.File("none.png"), out, false, false, nullptr, cancelled), kPNGMissing);
    ASSERT_TRUE(WriteWholeFile(dir.File("empty.png"), {}));
    EXPECT_EQ(png.GetPNG(dir.File("empty.png"), out, false, false, nullptr, cancelled),
              kPNGMissing);

    const Bytes row{0, 7};
    EXPECT_EQ(Decode(File(IHDR(0, 1, 8, 0), row)).result, kPNGNotPNG);
    EXPECT_EQ(Decode(File(IHDR(1, 0, 8, 0), row)).result, kPNGNotPNG);
    EXPECT_EQ(Decode(File(IHDR(1, 1, 8, 7), row)).result, kPNGNotPNG);
    EXPECT_EQ(Decode(File(IHDR(1, 1, 0, 0), row)).result, kPNGNotPNG);
    // A file shorter than the header reads zeros there.
    EXPECT_EQ(Decode(Signature()).result, kPNGNotPNG);

    // Colour types 1 and 5 pass the header test and fail at conversion.
    EXPECT_EQ(Decode(File(IHDR(1, 1, 8, 1), row)).result, kPNGUnsupported);
    EXPECT_EQ(Decode(File(IHDR(1, 1, 8, 5), Bytes{0, 7, 7})).result, kPNGUnsupported);
}

TEST(PNGReader, ChunkWalk) {
    const Bytes good = GreyRow({7});
    const size_t idatAt = 8 + 25;  // signature, IHDR chunk

    Bytes huge = good;
    for (int i = 0; i < 4; ++i)
        huge[idatAt + i] = 0xFF;
    EXPECT_EQ(Decode(huge).result, kPNGChunkNumber);
    huge[idatAt] = 0x80;
    huge[idatAt + 1] = huge[idatAt + 2] = huge[idatAt + 3] = 0;
    EXPECT_EQ(Decode(huge).result, kPNGChunkNumber);
    huge[idatAt] = 0x7F;
    huge[idatAt + 1] = huge[idatAt + 2] = huge[idatAt + 3] = 0xFF;
    EXPECT_EQ(Decode(huge).result, kPNGChunkPastEnd);

    // Without IEND the walk runs past the end of the file.
    Bytes noEnd(good.begin(), good.end() - 12);
    EXPECT_EQ(Decode(noEnd).result, kPNGChunkPastEnd);
    // Data that ends exactly at the end of the file is read; the missing CRC is not.
    Bytes flush(good.begin(), good.end() - 4);
    EXPECT_EQ(Decode(flush).result, kPNGOk);
}

TEST(PNGReader, IgnoresSignatureCrcsAndOtherChunks) {
    Bytes f = GreyRow({7, 9});
    f[0] = 'X';
    f[3] = 'x';
    Decoded d = Decode(f);
    EXPECT_EQ(d.result, kPNGOk);
    EXPECT_EQ(At(d, 1, 0), (Bgra{9, 9, 9, 255}));

    // Every CRC wrong, an unknown chunk, a text chunk, and the IDAT cut in three.
    const Bytes zipped = Zlib({0, 7, 9});
    Bytes g = Signature();
    Append(g, Chunk("IHDR", IHDR(2, 1, 8, 0), false));
    Append(g, Chunk("tEXt", {'a', 0, 'b'}, false));
    Append(g, Chunk("zzZz", {1, 2, 3, 4, 5}, false));
    Append(g, Chunk("IDAT", Bytes(zipped.begin(), zipped.begin() + 3), false));
    Append(g, Chunk("IDAT", Bytes(zipped.begin() + 3, zipped.begin() + 5), false));
    Append(g, Chunk("IDAT", Bytes(zipped.begin() + 5, zipped.end()), false));
    Append(g, Chunk("IEND", {}, false));
    d = Decode(g);
    EXPECT_EQ(d.result, kPNGOk);
    EXPECT_EQ(At(d, 0, 0), (Bgra{7, 7, 7, 255}));

    // The header is taken from offset 16 whatever the first chunk is called.
    Bytes h = GreyRow({5});
    h[12] = 'a';
    h[13] = 'b';
    d = Decode(h);
    EXPECT_EQ(d.result, kPNGOk);
    EXPECT_EQ(At(d, 0, 0), (Bgra{5, 5, 5, 255}));
}

TEST(PNGReader, InflateBufferEstimate) {
    // 1-bit grey 1x1: 1 / 8 * 5 * 1.01 + 12 = 12.63, so 12 bytes fit and 13 do not.
    Bytes twelve(12, 0);
    EXPECT_EQ(Decode(File(IHDR(1, 1, 1, 0), twelve)).result, kPNGOk);
    Bytes thirteen(13, 0);
    EXPECT_EQ(Decode(File(IHDR(1, 1, 1, 0), thirteen)).result, kPNGInflateFailed);

    Bytes broken = GreyRow({1, 2, 3});
    broken[8 + 25 + 8] ^= 0xFF;  // the zlib header
    EXPECT_EQ(Decode(broken).result, kPNGInflateFailed);
    Bytes noData = Signature();
    Append(noData, Chunk("IHDR", IHDR(1, 1, 8, 0)));
    Append(noData, Chunk("IEND", {}));
    EXPECT_EQ(Decode(noData).result, kPNGInflateFailed);
}

TEST(PNGReader, SizesBeyondTheLimitsFailAsOutOfMemory) {
    PNGC png;
    Decoded d = Decode(File(IHDR(40000, 1, 8, 0), Bytes(40001, 0)), png);
    EXPECT_EQ(d.result, kPNGRuntime);
    EXPECT_EQ(png.GetPNGError(kPNGRuntime),
              "メモリが不足しています。\nPNGファイルの読み込みが出来ません。");
    png.MaxPixels = 99;
    EXPECT_EQ(Decode(File(IHDR(10, 10, 8, 0), Bytes(110, 0)), png).result, kPNGRuntime);
    png.MaxPixels = 100;
    EXPECT_EQ(Decode(File(IHDR(10, 10, 8, 0), Bytes(110, 0)), png).result, kPNGOk);
}

TEST(PNGReader, Grey) {
    Decoded d = Decode(GreyRow({0, 7, 200}));
    ASSERT_EQ(d.result, kPNGOk);
    EXPECT_EQ(At(d, 0, 0), (Bgra{0, 0, 0, 255}));
    EXPECT_EQ(At(d, 2, 0), (Bgra{200, 200, 200, 255}));

    // The key is the first tRNS byte unless it is zero, then the second.
    d = Decode(GreyRow({5, 7}, {Chunk("tRNS", {0, 7})}));
    EXPECT_EQ(At(d, 0, 0), (Bgra{5, 5, 5, 255}));
    EXPECT_EQ(At(d, 1, 0), (Bgra{0, 0, 0, 0}));
    d = Decode(GreyRow({5, 7}, {Chunk("tRNS", {5, 7})}));
    EXPECT_EQ(At(d, 0, 0), (Bgra{0, 0, 0, 0}));
    EXPECT_EQ(At(d, 1, 0), (Bgra{7, 7, 7, 255}));
    d = Decode(GreyRow({5, 7}, {Chunk("tRNS", {0, 7, 0})}));
    EXPECT_EQ(At(d, 1, 0), (Bgra{7, 7, 7, 255}));

    // 16 bits: the first Width bytes of the row, high and low bytes alike.
    d = Decode(File(IHDR(3, 1, 16, 0), {0, 0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC}));
    ASSERT_EQ(d.result, kPNGOk);
    EXPECT_EQ(At(d, 0, 0), (Bgra{0x12, 0x12, 0x12, 255}));
    EXPECT_EQ(At(d, 1, 0), (Bgra{0x34, 0x34, 0x34, 255}));
    EXPECT_EQ(At(d, 2, 0), (Bgra{0x56, 0x56, 0x56, 255}));

    // Below 8 bits nothing is converted.
    for (uint8_t depth : {1, 2, 4}) {
        d = Decode(File(IHDR(4, 2, depth, 0), {0, 0xFF, 0, 0xAB}));
        ASSERT_EQ(d.result, kPNGOk) << int{depth};
        for (uint8_t b : d.pixels.Bytes())
            ASSERT_EQ(b, 0);
    }
}

TEST(PNGReader, RGBAndItsKey) {
    const Bytes row{0, 10, 20, 30, 0, 0, 0, 10, 20, 31};
    Decoded d = Decode(File(IHDR(3, 1, 8, 2), row));
    EXPECT_EQ(At(d, 0, 0), (Bgra{30, 20, 10, 255}));
    EXPECT_EQ(At(d, 1, 0), (Bgra{0, 0, 0, 255}));

    // A published 8-bit key (high bytes zero) reads as black.
    d = Decode(File(IHDR(3, 1, 8, 2), row, {Chunk("tRNS", {0, 10, 0, 20, 0, 30})}));
    EXPECT_EQ(At(d, 0, 0), (Bgra{30, 20, 10, 255}));
    EXPECT_EQ(At(d, 1, 0), (Bgra{0, 0, 0, 0}));
    d = Decode(File(IHDR(3, 1, 8, 2), row, {Chunk("tRNS", {10, 0, 20, 0, 30, 0})}));
    EXPECT_EQ(At(d, 0, 0), (Bgra{30, 20, 10, 0}));
    EXPECT_EQ(At(d, 2, 0), (Bgra{31, 20, 10, 255}));
    // Too long a tRNS is no key; too short one for bytes 0, 2, 4 is a fault.
    d = Decode(File(IHDR(3, 1, 8, 2), row, {Chunk("tRNS", Bytes(257, 0))}));
    EXPECT_EQ(At(d, 1, 0), (Bgra{0, 0, 0, 255}));
    PNGC png;
    d = Decode(File(IHDR(3, 1, 8, 2), row, {Chunk("tRNS", {0, 0})}), png);
    EXPECT_EQ(d.result, kPNGRuntime);
    EXPECT_EQ(png.LastFailure(), "インデックスが有効範囲にありません。");

    // 16 bits: high bytes; the key test takes green for blue.
    const Bytes row16{0,    0x10, 1,    0x20, 2,    0x77, 3,  //
                      0x10, 4,    0x20, 5,    0x20, 6,        //
                      0x10, 7,    0x21, 8,    0x20, 9};
    d = Decode(File(IHDR(3, 1, 16, 2), row16, {Chunk("tRNS", {0x10, 0, 0x20, 0, 0x20, 0})}));
    ASSERT_EQ(d.result, kPNGOk);
    EXPECT_EQ(At(d, 0, 0), (Bgra{0x77, 0x20, 0x10, 0}));
    EXPECT_EQ(At(d, 1, 0), (Bgra{0x20, 0x20, 0x10, 0}));
    EXPECT_EQ(At(d, 2, 0), (Bgra{0x20, 0x21, 0x10, 255}));
}

TEST(PNGReader, Palette) {
    const Bytes plte{255, 0, 0, 0, 255, 0, 0, 0, 255};
    // 2 bits, indices 0 1 2 3 | 1: most significant first; entry 3 is beyond PLTE.
    const Bytes rows{0, 0b00011011, 0b01000000};
    Decoded d = Decode(File(IHDR(5, 1, 2, 3), rows, {Chunk("PLTE", plte), Chunk("tRNS", {9, 99})}));
    ASSERT_EQ(d.result, kPNGOk);
    EXPECT_EQ(At(d, 0, 0), (Bgra{0, 0, 255, 9}));
    EXPECT_EQ(At(d, 1, 0), (Bgra{0, 255, 0, 99}));
    EXPECT_EQ(At(d, 2, 0), (Bgra{255, 0, 0, 255}));
    EXPECT_EQ(At(d, 3, 0), (Bgra{0, 0, 0, 255}));
    EXPECT_EQ(At(d, 4, 0), (Bgra{0, 255, 0, 99}));

    // A tRNS longer than 256 entries is not used.
    d = Decode(File(IHDR(5, 1, 2, 3), rows, {Chunk("PLTE", plte), Chunk("tRNS", Bytes(300, 1))}));
    EXPECT_EQ(At(d, 0, 0), (Bgra{0, 0, 255, 255}));

    d = Decode(File(IHDR(2, 1, 8, 3), {0, 2, 0}, {Chunk("PLTE", plte)}));
    EXPECT_EQ(At(d, 0, 0), (Bgra{255, 0, 0, 255}));
    EXPECT_EQ(At(d, 1, 0), (Bgra{0, 0, 255, 255}));
    d = Decode(File(IHDR(8, 1, 1, 3), {0, 0b10000001}, {Chunk("PLTE", plte)}));
    EXPECT_EQ(At(d, 0, 0), (Bgra{0, 255, 0, 255}));
    EXPECT_EQ(At(d, 1, 0), (Bgra{0, 0, 255, 255}));
    EXPECT_EQ(At(d, 7, 0), (Bgra{0, 255, 0, 255}));
}

TEST(PNGReader, AlphaKindsAndTheirSixteenBitStrides) {
    Decoded d = Decode(File(IHDR(2, 1, 8, 4), {0, 50, 60, 70, 80}));
    EXPECT_EQ(At(d, 0, 0), (Bgra{50, 50, 50, 60}));
    EXPECT_EQ(At(d, 1, 0), (Bgra{70, 70, 70, 80}));
    d = Decode(File(IHDR(2, 1, 8, 6), {0, 1, 2, 3, 4, 5, 6, 7, 8}));
    EXPECT_EQ(At(d, 0, 0), (Bgra{3, 2, 1, 4}));
    EXPECT_EQ(At(d, 1, 0), (Bgra{7, 6, 5, 8}));

    // 16-bit grey+alpha is walked at 3 bytes a pixel, 16-bit RGBA at 7.
    d = Decode(File(IHDR(2, 1, 16, 4), {0, 10, 11, 12, 13, 20, 21, 22, 23}));
    ASSERT_EQ(d.result, kPNGOk);
    EXPECT_EQ(At(d, 0, 0), (Bgra{10, 10, 10, 12}));
    EXPECT_EQ(At(d, 1, 0), (Bgra{13, 13, 13, 21}));
    Bytes rgba16{0};
    for (uint8_t i = 0; i < 16; ++i)
        rgba16.push_back(i);
    d = Decode(File(IHDR(2, 1, 16, 6), rgba16));
    ASSERT_EQ(d.result, kPNGOk);
    EXPECT_EQ(At(d, 0, 0), (Bgra{4, 2, 0, 6}));
    EXPECT_EQ(At(d, 1, 0), (Bgra{11, 9, 7, 13}));
    // ... and unfiltered with 7 bytes a pixel: Sub adds the byte 7 places back.
    Bytes sub = rgba16;
    sub[0] = 1;
    d = Decode(File(IHDR(2, 1, 16, 6), sub));
    EXPECT_EQ(At(d, 1, 0), (Bgra{11 + 4, 9 + 2, 7 + 0, 13 + 6}));
}

TEST(PNGReader, UnknownFilterLeavesTheRowZero) {
    // Row 0 has filter 5 and stays zero; row 1 adds "Up" to that zero row.
    Decoded d = Decode(File(IHDR(2, 2, 8, 0), {5, 9, 9, 2, 3, 4}));
    ASSERT_EQ(d.result, kPNGOk);
    EXPECT_EQ(At(d, 0, 0), (Bgra{0, 0, 0, 255}));
    EXPECT_EQ(At(d, 1, 1), (Bgra{4, 4, 4, 255}));
}

TEST(PNGReader, FlipAndAlphaMask) {
    Decoded d;
    PNGC png;
    d = Decode(File(IHDR(1, 2, 8, 4), {0, 10, 255, 0, 20, 0}), png, true, true);
    ASSERT_EQ(d.result, kPNGOk);
    EXPECT_EQ(At(d, 0, 0), (Bgra{20, 20, 20, 255}));
    EXPECT_EQ(At(d, 0, 1), (Bgra{10, 10, 10, 0}));
}

TEST(PNGReader, Adam7) {
    // A 1-bit interlaced picture is refused with a message; the rows stay empty.
    FakeHost host;
    PNGC png(&host);
    const Bytes plte{1, 2, 3, 4, 5, 6};
    Decoded d = Decode(File(IHDR(8, 8, 1, 3, 1), Bytes(20, 0xFF), {Chunk("PLTE", plte)}), png);
    EXPECT_EQ(d.result, kPNGOk);
    ASSERT_EQ(host.messages.size(), 1u);
    EXPECT_EQ(host.messages[0], "ビット境界が1バイト未満です。");
    for (int32_t y = 0; y < 8; ++y)
        for (int32_t x = 0; x < 8; ++x)
            ASSERT_EQ(At(d, x, y), (Bgra{3, 2, 1, 255}));

    // 8-bit grey 2x2: passes 1 (0,0), 6 (1,0), 7 (0,1)-(1,1), one byte a pixel.
    const Bytes passes{0, 10, 0, 20, 0, 30, 40};
    d = Decode(File(IHDR(2, 2, 8, 0, 1), passes));
    ASSERT_EQ(d.result, kPNGOk);
    EXPECT_EQ(At(d, 0, 0).r, 10);
    EXPECT_EQ(At(d, 1, 0).r, 20);
    EXPECT_EQ(At(d, 0, 1).r, 30);
    EXPECT_EQ(At(d, 1, 1).r, 40);

    Bytes badFilter = passes;
    badFilter[2] = 5;
    EXPECT_EQ(Decode(File(IHDR(2, 2, 8, 0, 1), badFilter)).result, kPNGBadInterlace);
    EXPECT_EQ(Decode(File(IHDR(2, 2, 8, 0, 1), Bytes(passes.begin(), passes.end() - 1))).result,
              kPNGBadInterlace);
}

TEST(PNGReader, ProgressAndCancel) {
    const Bytes file = File(IHDR(4, 1, 8, 0), {0, 1, 2, 3, 4});
    std::vector<int32_t> calls;
    std::vector<std::pair<double, double>> events;
    int32_t cancelAt = -1;
    auto cb = [&](int32_t pos, int32_t total) {
        EXPECT_EQ(total, 100);
        calls.push_back(pos);
        return pos == cancelAt ? 1 : 0;
    };
    PNGC png;
    png.ProgressEvent = [&](double v, double m) { events.emplace_back(v, m); };
    Decoded d = Decode(file, png, false, false, cb);
    EXPECT_EQ(d.result, kPNGOk);
    EXPECT_FALSE(d.cancelled);
    EXPECT_EQ(calls, (std::vector<int32_t>{0, 10, 20, 30, 50, 50, 62, 75, 88}));
    ASSERT_EQ(events.size(), 9u);
    EXPECT_EQ(events[0], (std::pair<double, double>{0, 0}));
    EXPECT_EQ(events[1], (std::pair<double, double>{0.1, 1}));
    EXPECT_EQ(events[8], (std::pair<double, double>{0.875, 1}));

    for (auto [at, seen] : {std::pair{0, 1}, {10, 2}, {20, 6}, {62, 7}}) {
        calls.clear();
        cancelAt = at;
        d = Decode(file, png, false, false, cb);
        EXPECT_EQ(d.result, kPNGOk) << at;
        EXPECT_TRUE(d.cancelled) << at;
        EXPECT_EQ(calls.size(), static_cast<size_t>(seen)) << at;
    }
}

TEST(PNGReader, ErrorTexts) {
    PNGC png;
    EXPECT_EQ(png.GetPNGError(-1), "ファイルがオープンできません。");
    EXPECT_EQ(png.GetPNGError(-2),
              "ファイルが存在しないか、サイズが０、もしくは他ソフトが使用中です。");
    EXPECT_EQ(png.GetPNGError(-4),
              "PNGフォーマットに従っていないファイルです。PNGファイルでないか、ファイルが壊れてい"
              "る可能性があります。");
    EXPECT_EQ(png.GetPNGError(-5),
              "PNGのチャンクのサイズがファイルの大きさを超えています。ファイルが壊れている可能性が"
              "あります。");
    EXPECT_EQ(png.GetPNGError(-6), "圧縮データの解凍に失敗しました。");
    EXPECT_EQ(png.GetPNGError(-7), "対応していないPNGフォーマットです。");
    EXPECT_EQ(png.GetPNGError(-8),
              "チャンクの数字の中に２の３１乗を超える数字が現れました。ファイルが壊れている可能性"
              "があります。");
    EXPECT_EQ(png.GetPNGError(-9),
              "インターレースが正常に書き込まれていません。ファイルが壊れている可能性があります。");
    EXPECT_EQ(png.GetPNGError(-10), "保存元の画像が不正です。");
    EXPECT_EQ(png.GetPNGError(-11), "一時フォルダの指定が不正です。");
    EXPECT_EQ(png.GetPNGError(0), "");
    EXPECT_EQ(png.GetPNGError(-12), "");
}

TEST(PNGReader, IsPNGLooksOnlyAtTheHeaderFields) {
    Bytes f = GreyRow({1});
    EXPECT_TRUE(PNGC::IsPNGBytes(f));
    f[0] = 0;
    EXPECT_TRUE(PNGC::IsPNGBytes(f));
    EXPECT_FALSE(PNGC::IsPNGBytes(File(IHDR(32768, 1, 8, 0), {})));
    EXPECT_FALSE(PNGC::IsPNGBytes(File(IHDR(1, 32768, 8, 0), {})));
    EXPECT_TRUE(PNGC::IsPNGBytes(File(IHDR(32767, 32767, 32, 6), {})));
    EXPECT_FALSE(PNGC::IsPNGBytes(File(IHDR(1, 1, 33, 0), {})));
    EXPECT_FALSE(PNGC::IsPNGBytes(File(IHDR(1, 1, 8, 7), {})));

    TempFolder dir;
    EXPECT_FALSE(PNGC::IsPNG(""));
    EXPECT_FALSE(PNGC::IsPNG(dir.File("none.png")));
    ASSERT_TRUE(WriteWholeFile(dir.File("zero"), {}));
    EXPECT_FALSE(PNGC::IsPNG(dir.File("zero")));
    ASSERT_TRUE(WriteWholeFile(dir.File("a.bin"), f));
    EXPECT_TRUE(PNGC::IsPNG(dir.File("a.bin")));
}

}  // namespace
}  // namespace brv
