// PngSuite through our reader. Where the reader follows the published format its pixels must
// equal ImageMagick's (tests/data/png/make_pngsuite_expected.py, which also applies the rules
// where this reader deliberately differs: grey below 8 bits, 16-bit grey, the RGB key). The
// rest is checked by facts here: the 16-bit alpha kinds, interlacing below one byte a pixel
// and the corrupt files. Every file, cut short or with bytes changed, must end in a code.
#include <gtest/gtest.h>
#include <zlib.h>

#include <fstream>
#include <map>
#include <random>
#include <sstream>

#include "core/file_io.h"
#include "formats/png_codec.h"
#include "tests/support/fake_host.h"

namespace brv {
namespace {

using testing::FakeHost;

std::string SuiteDir() {
    const std::string corpus = testing::CorpusDir();
    return corpus.empty() ? std::string() : corpus + "/png/pngsuite/";
}

struct Read {
    int32_t result = 0;
    PixelBuffer pixels;
    size_t messages = 0;
};

Read ReadSuiteFile(const std::string& name) {
    FakeHost host;
    PNGC png(&host);
    Read r;
    bool cancelled = false;
    r.result = png.GetPNG(SuiteDir() + name, r.pixels, false, false, nullptr, cancelled);
    r.messages = host.messages.size();
    return r;
}

uint32_t Crc(const PixelBuffer& p) {
    return static_cast<uint32_t>(
        crc32(crc32(0L, Z_NULL, 0), p.Bytes().data(), static_cast<uInt>(p.ByteSize())));
}

TEST(PNGCorpus, MatchesImageMagickWhereTheReadingAgrees) {
    if (SuiteDir().empty()) GTEST_SKIP() << "no corpus";
    std::ifstream list(BRV_SOURCE_DIR "/tests/data/png/pngsuite_expected.txt");
    ASSERT_TRUE(list);
    std::string line;
    int files = 0;
    while (std::getline(list, line)) {
        if (line.empty() || line[0] == '#') continue;
        std::istringstream in(line);
        std::string name;
        int32_t w = 0, h = 0;
        std::string crcHex;
        in >> name >> w >> h >> crcHex;
        const Read r = ReadSuiteFile(name);
        ASSERT_EQ(r.result, kPNGOk) << name;
        EXPECT_EQ(r.pixels.Width(), w) << name;
        EXPECT_EQ(r.pixels.Height(), h) << name;
        EXPECT_EQ(Crc(r.pixels), std::stoul(crcHex, nullptr, 16)) << name;
        ++files;
    }
    EXPECT_GE(files, 130);
}

TEST(PNGCorpus, SixteenBitAlphaKindsReadAtSevenAndThreeBytes) {
    if (SuiteDir().empty()) GTEST_SKIP() << "no corpus";
    // Plain files read without an error. The first pixel is whole whatever the filter;
    // these are ImageMagick's high bytes of it.
    const std::map<std::string, Bgra> firstPixel = {
        {"basn6a16.png", {0, 255, 255, 0}},
        {"basn4a16.png", {0, 0, 0, 0}},
    };
    for (const auto& [name, pixel] : firstPixel) {
        const Read r = ReadSuiteFile(name);
        ASSERT_EQ(r.result, kPNGOk) << name;
        EXPECT_EQ(r.pixels.Width(), 32) << name;
        EXPECT_EQ(r.pixels.Get(0, 0), pixel) << name;
    }
    for (const char* name : {"bgan6a16.png", "bggn4a16.png", "bgyn6a16.png"})
        EXPECT_EQ(ReadSuiteFile(name).result, kPNGOk) << name;
    // The second pixel starts on byte 7 and is not the published one (ImageMagick: red 0xFC,
    // green 0xFF, blue 0, alpha 0).
    EXPECT_NE(ReadSuiteFile("basn6a16.png").pixels.Get(1, 0), (Bgra{0, 255, 252, 0}));

    // Interlaced at 7 or 3 bytes instead of 8 or 4, the passes slip against the data until a
    // byte taken for a filter type is above 4, which ends the read.
    for (const char* name : {"basi4a16.png", "basi6a16.png", "bgai4a16.png"})
        EXPECT_EQ(ReadSuiteFile(name).result, kPNGBadInterlace) << name;
}

TEST(PNGCorpus, InterlacedBelowOneByteIsRefusedWithAMessage) {
    if (SuiteDir().empty()) GTEST_SKIP() << "no corpus";
    int files = 0;
    for (const std::string& path : ListFiles(SuiteDir())) {
        const std::string name = ShortName(path);
        auto bytes = ReadWholeFile(path);
        ASSERT_TRUE(bytes);
        const PNGHeader h = ReadPNGHeader(*bytes);
        if (name[0] == 'x' || h.Interlace == 0 || Adam7BytesPerPixel(h) > 0) continue;
        const Read r = ReadSuiteFile(name);
        EXPECT_EQ(r.result, kPNGOk) << name;
        EXPECT_EQ(r.messages, 1u) << name;
        // Nothing filled: palette index 0 everywhere, or zero for grey.
        const Bgra first = r.pixels.Get(0, 0).value_or(Bgra{1, 1, 1, 1});
        for (int32_t y = 0; y < r.pixels.Height(); ++y)
            for (int32_t x = 0; x < r.pixels.Width(); ++x)
                ASSERT_EQ(r.pixels.Get(x, y), first) << name;
        if (h.ColorType == 0) {
            EXPECT_EQ(first, (Bgra{0, 0, 0, 0})) << name;
        }
        ++files;
    }
    EXPECT_EQ(files, 24);  // basi0g01..04, basi3p01..04, s01i3p01..s40i3p04
}

TEST(PNGCorpus, CorruptFilesByTheDescribedRules) {
    if (SuiteDir().empty()) GTEST_SKIP() << "no corpus";
    // Signature changes and bad CRCs go unnoticed.
    for (const char* name :
         {"xs1n0g01.png", "xs2n0g01.png", "xs4n0g01.png", "xs7n0g01.png", "xcsn0g01.png"})
        EXPECT_EQ(ReadSuiteFile(name).result, kPNGOk) << name;
    const Read bad = ReadSuiteFile("xhdn0g08.png");
    ASSERT_EQ(bad.result, kPNGOk);
    EXPECT_EQ(bad.pixels, ReadSuiteFile("basn0g08.png").pixels);

    EXPECT_EQ(ReadSuiteFile("xc1n0g08.png").result, kPNGUnsupported);
    EXPECT_EQ(ReadSuiteFile("xc9n2c08.png").result, kPNGNotPNG);
    EXPECT_EQ(ReadSuiteFile("xd0n2c08.png").result, kPNGNotPNG);
    EXPECT_EQ(ReadSuiteFile("xdtn0g01.png").result, kPNGInflateFailed);
    // Line-end damage moves the header: whatever comes of it is a code, not a crash.
    for (const char* name : {"xcrn0g04.png", "xlfn0g04.png", "xd3n2c08.png", "xd9n2c08.png"})
        EXPECT_LE(ReadSuiteFile(name).result, kPNGOk) << name;
}

TEST(PNGCorpus, TruncatedAndFlippedFilesNeverCrash) {
    if (SuiteDir().empty()) GTEST_SKIP() << "no corpus";
    FakeHost host;
    PNGC png(&host);
    png.MaxPixels = 1 << 20;
    png.MaxDataBytes = 1 << 24;
    std::mt19937 rng(2024);
    int decodes = 0;
    auto decode = [&](const std::vector<uint8_t>& bytes) {
        PixelBuffer out;
        bool cancelled = false;
        const int32_t r = png.DecodePNG(bytes, out, true, true, nullptr, cancelled);
        ASSERT_TRUE(r <= 0 && r >= kPNGBadInterlace) << r;
        if (r == kPNGOk) {
            ASSERT_GT(out.Width(), 0);
        }
        ++decodes;
    };
    for (const std::string& path : ListFiles(SuiteDir())) {
        if (path.size() < 4 || path.substr(path.size() - 4) != ".png") continue;
        auto bytes = ReadWholeFile(path);
        ASSERT_TRUE(bytes);
        const size_t n = bytes->size();
        for (size_t cut : {size_t{0}, size_t{7}, size_t{8}, size_t{20}, size_t{29}, size_t{33},
                           size_t{40}, n / 4, n / 2, n - 13, n - 12, n - 5, n - 1}) {
            if (cut >= n) continue;
            decode(std::vector<uint8_t>(bytes->begin(), bytes->begin() + static_cast<long>(cut)));
        }
        for (int i = 0; i < 48; ++i) {
            std::vector<uint8_t> flipped = *bytes;
            const int changes = 1 + static_cast<int>(rng() % 3);
            for (int c = 0; c < changes; ++c)
                flipped[rng() % n] ^= static_cast<uint8_t>(1 + rng() % 255);
            decode(flipped);
        }
    }
    EXPECT_GT(decodes, 170 * 50);
}

}  // namespace
}  // namespace brv
