#include <gtest/gtest.h>

#include <random>

#include "core/file_io.h"
#include "formats/png_codec.h"
#include "formats/png_test_files.h"
#include "tests/support/fake_host.h"

namespace brv {
namespace {

using namespace pngtest;
using testing::FakeHost;
using testing::TempFolder;

// A picture with opaque, transparent and half-transparent pixels, black included, and at
// most 64 colours.
PixelBuffer Picture(int32_t w, int32_t h, bool partialAlpha) {
    PixelBuffer p(w, h);
    for (int32_t y = 0; y < h; ++y)
        for (int32_t x = 0; x < w; ++x) {
            const int32_t k = (x * 7 + y * 3) % 16;
            uint8_t a = k == 3 ? 0 : (k == 5 ? 60 : 255);
            if (partialAlpha && k == 9) a = 200;
            Bgra c{static_cast<uint8_t>(k * 16), static_cast<uint8_t>(y % 4 * 60),
                   static_cast<uint8_t>(255 - k), a};
            if (k == 11) c = {0, 0, 0, 255};
            p.Set(x, y, c);
        }
    return p;
}

// What a file of this colour choice should read back as, top-down rows with straight alpha,
// from a bottom-up source.
PixelBuffer Expected(const PixelBuffer& bottomUp, int32_t colorBit) {
    PixelBuffer e = bottomUp;
    FlipAndInvert(e, true, false);
    if (colorBit == 32) return e;
    for (int32_t y = 0; y < e.Height(); ++y)
        for (int32_t x = 0; x < e.Width(); ++x) {
            uint8_t* px = e.PixelPtr(x, y);
            const bool black = px[0] == 0 && px[1] == 0 && px[2] == 0;
            // Below 128 is transparent in both; black is the key of the 24-bit file.
            if (px[3] < 128 || (colorBit == 24 && black))
                px[0] = px[1] = px[2] = px[3] = 0;
            else
                px[3] = 255;
        }
    return e;
}

Bytes Encode(PNGC& png, const PixelBuffer& p, int32_t bits, int32_t filter, bool interlace) {
    Bytes file;
    EXPECT_EQ(png.EncodePNG(p, bits, filter, interlace, file), kPNGOk);
    return file;
}

TEST(PNGWriter, ChunksOfEachColourChoice) {
    PNGC png;
    const PixelBuffer p = Picture(5, 4, false);
    auto chunks = ParseChunks(Encode(png, p, 8, 4, false));
    ASSERT_EQ(chunks.size(), 5u);
    EXPECT_EQ(chunks[0].type, "IHDR");
    EXPECT_EQ(chunks[0].data, IHDR(5, 4, 8, 3, 0));
    EXPECT_EQ(chunks[1].type, "PLTE");
    EXPECT_EQ(chunks[1].data.size(), 768u);
    EXPECT_EQ((Bytes(chunks[1].data.begin(), chunks[1].data.begin() + 9)),
              (Bytes{0, 0, 0, 255, 255, 255, 0, 0, 0}));
    EXPECT_EQ(chunks[2].type, "tRNS");
    EXPECT_EQ(chunks[2].data, Bytes{0});
    EXPECT_EQ(chunks[3].type, "IDAT");
    EXPECT_EQ(chunks[4].type, "IEND");
    for (const auto& c : chunks)
        EXPECT_TRUE(c.crcSound) << c.type;

    // No transparent pixel at all: still a one-byte tRNS.
    PixelBuffer opaque(3, 3);
    opaque.Fill({1, 2, 3, 255});
    chunks = ParseChunks(Encode(png, opaque, 8, 0, false));
    ASSERT_EQ(chunks[2].type, "tRNS");
    EXPECT_EQ(chunks[2].data, Bytes{0});

    chunks = ParseChunks(Encode(png, p, 24, 0, true));
    ASSERT_EQ(chunks.size(), 4u);
    EXPECT_EQ(chunks[0].data, IHDR(5, 4, 8, 2, 1));
    EXPECT_EQ(chunks[1].type, "tRNS");
    EXPECT_EQ(chunks[1].data, Bytes(6, 0));
    EXPECT_EQ(chunks[2].type, "IDAT");

    chunks = ParseChunks(Encode(png, p, 32, 5, false));
    ASSERT_EQ(chunks.size(), 3u);
    EXPECT_EQ(chunks[0].data, IHDR(5, 4, 8, 6, 0));
    EXPECT_EQ(chunks[1].type, "IDAT");
    EXPECT_EQ(chunks[2].type, "IEND");
    for (const auto& c : chunks)
        EXPECT_TRUE(c.crcSound) << c.type;
}

TEST(PNGWriter, RowsAreFlippedAndSwapped) {
    PixelBuffer p(2, 2);  // bottom-up: row 0 is the bottom of the picture
    p.Set(0, 0, {1, 2, 3, 4});
    p.Set(1, 1, {5, 6, 7, 8});
    PNGC png;
    auto chunks = ParseChunks(Encode(png, p, 32, 0, false));
    ASSERT_EQ(chunks[1].type, "IDAT");
    EXPECT_EQ(Inflate(chunks[1].data, 18),
              (Bytes{0, 0, 0, 0, 0, 7, 6, 5, 8, 0, 3, 2, 1, 4, 0, 0, 0, 0}));
}

TEST(PNGWriter, EveryFilterAndInterlaceReadsBack) {
    PNGC png;
    for (auto [w, h] : {std::pair{1, 1}, {3, 2}, {5, 9}, {17, 13}})
        for (int32_t bits : {8, 24, 32})
            for (int32_t filter = 0; filter <= 5; ++filter)
                for (bool interlace : {false, true}) {
                    const PixelBuffer src = Picture(w, h, bits == 32);
                    const Bytes file = Encode(png, src, bits, filter, interlace);
                    PixelBuffer back;
                    bool cancelled = false;
                    ASSERT_EQ(png.DecodePNG(file, back, false, false, nullptr, cancelled), kPNGOk);
                    EXPECT_EQ(back, Expected(src, bits))
                        << w << "x" << h << " bits " << bits << " filter " << filter
                        << " interlace " << interlace;
                }
}

TEST(PNGWriter, RefusalsComeBeforeAnythingIsWritten) {
    TempFolder dir;
    PNGC png;
    const PixelBuffer p = Picture(4, 4, false);
    int32_t bits = 4;
    EXPECT_EQ(png.SavePNG(dir.File("a.png"), p, bits, 0, nullptr, false, dir.Path()),
              kPNGBadSource);
    bits = 32;
    EXPECT_EQ(png.SavePNG(dir.File("a.png"), p, bits, 6, nullptr, false, ""), kPNGBadTempFolder);
    EXPECT_EQ(png.SavePNG(dir.File("a.png"), PixelBuffer(), bits, 0, nullptr, false, ""),
              kPNGBadSource);
    EXPECT_TRUE(ListFiles(dir.Path()).empty());

    bits = 0;
    EXPECT_EQ(png.SavePNG(dir.File("a.png"), p, bits, 0, nullptr, false, ""), kPNGOk);
    EXPECT_EQ(bits, 32);  // the picture has alpha 60 here and there
    PixelBuffer flat(3, 3);
    flat.Fill({1, 2, 3, 255});
    bits = 0;
    EXPECT_EQ(png.SavePNG(dir.File("a.png"), flat, bits, 0, nullptr, false, ""), kPNGOk);
    EXPECT_EQ(bits, 8);
    EXPECT_TRUE(PNGC::IsPNG(dir.File("a.png")));
}

TEST(PNGWriter, SixWritesKeepTheSmallestLowestDigitOnTies) {
    TempFolder out, temp;
    PNGC png;
    const std::string target = out.File("pic.png");
    ASSERT_TRUE(WriteWholeFile(target, Bytes{1, 2, 3}));  // a file in the way

    for (const PixelBuffer& p : {Picture(40, 30, true), PixelBuffer(1, 1)}) {
        int32_t bits = 32;
        ASSERT_EQ(png.SavePNG(target, p, bits, 6, nullptr, true, temp.Path()), kPNGOk);
        size_t best = SIZE_MAX;
        Bytes expected;
        for (int32_t f = 0; f <= 5; ++f) {
            Bytes file = Encode(png, p, 32, f, true);
            if (file.size() < best) {
                best = file.size();
                expected = std::move(file);
            }
        }
        EXPECT_EQ(ReadWholeFile(target), expected);
        EXPECT_TRUE(ListFiles(temp.Path()).empty());
        EXPECT_EQ(ListFiles(out.Path()).size(), 1u);
    }
}

TEST(PNGWriter, ProgressAndYield) {
    FakeHost host;
    PNGC png(&host);
    std::vector<int32_t> calls;
    TempFolder dir;
    int32_t bits = 32;
    ASSERT_EQ(png.SavePNG(
                  dir.File("p.png"), Picture(3, 25, false), bits, 1,
                  [&](int32_t pos, int32_t) {
                      calls.push_back(pos);
                      return 1;  // the writer does not stop
                  },
                  false, ""),
              kPNGOk);
    EXPECT_EQ(calls, (std::vector<int32_t>{0, 10, 20, 24, 28, 30, 100}));
    EXPECT_EQ(host.doEventsCalls, 25);
}

// The independent check: ImageMagick (through libpng) reads what we write.
bool HaveImageMagick() {
    static const bool have = std::system("identify -version > /dev/null 2>&1") == 0 &&
                             std::system("convert -version 2>/dev/null | grep -q ImageMagick") == 0;
    return have;
}

TEST(PNGWriter, ImageMagickReadsOurFiles) {
    if (!HaveImageMagick()) GTEST_SKIP() << "ImageMagick is not installed";
    TempFolder dir;
    PNGC png;
    const PixelBuffer src = Picture(19, 11, false);
    for (int32_t bits : {8, 24, 32})
        for (int32_t filter : {0, 4, 5, 6})
            for (bool interlace : {false, true}) {
                const std::string name =
                    dir.File("w" + std::to_string(bits) + "_" + std::to_string(filter) +
                             (interlace ? "i" : "n") + ".png");
                int32_t b = bits;
                ASSERT_EQ(png.SavePNG(name, src, b, filter, nullptr, interlace, dir.Path()),
                          kPNGOk);
                const std::string raw = name + ".rgba";
                const std::string cmd = "convert '" + name + "' -depth 8 rgba:'" + raw + "'";
                ASSERT_EQ(std::system(cmd.c_str()), 0) << cmd;
                auto rgba = ReadWholeFile(raw);
                ASSERT_TRUE(rgba);
                PixelBuffer expected = Expected(src, bits);
                ASSERT_EQ(rgba->size(), expected.ByteSize());
                for (size_t i = 0; i < rgba->size(); i += 4)
                    std::swap((*rgba)[i], (*rgba)[i + 2]);
                EXPECT_TRUE(*rgba == expected.Vector()) << name;
                DeleteFile(raw);
            }
}

}  // namespace
}  // namespace brv
