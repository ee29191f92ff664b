#include "formats/ico_codec.h"

#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <set>

#include <sys/wait.h>

#include "core/byte_io.h"
#include "core/file_io.h"
#include "tests/support/fake_host.h"

namespace brv {
namespace {

using testing::CorpusDir;
using testing::TempFolder;

PixelBuffer Pic(int32_t w, int32_t h, const std::function<Bgra(int32_t, int32_t)>& f) {
    PixelBuffer p(w, h);
    for (int32_t y = 0; y < h; ++y)
        for (int32_t x = 0; x < w; ++x)
            p.Set(x, y, f(x, y));
    return p;
}

Bgra Px(const PixelBuffer& p, int32_t x, int32_t y) {
    return p.Get(x, y).value_or(Bgra{1, 2, 3, 4});
}

// A hand-made image: header fields, raw palette, colour and mask bytes.
struct RawImage {
    int32_t width = 1;
    int32_t height = 1;  // the image height; biHeight is twice it
    int16_t depth = 32;
    std::vector<uint32_t> palette;
    std::vector<uint8_t> colour;
    std::vector<uint8_t> mask;
    int16_t planes = 1;
    int16_t bitCount = 32;
    uint8_t colourCount = 0;
    int32_t biSize = 40;
};

// Directory first, then the images in the order given by `order` (directory order if empty).
std::vector<uint8_t> BuildIco(uint16_t type, const std::vector<RawImage>& images,
                              std::vector<size_t> order = {}) {
    if (order.empty())
        for (size_t i = 0; i < images.size(); ++i)
            order.push_back(i);
    std::vector<uint32_t> sizes, offsets(images.size());
    for (const auto& im : images)
        sizes.push_back(
            static_cast<uint32_t>(40 + 4 * im.palette.size() + im.colour.size() + im.mask.size()));
    uint32_t at = static_cast<uint32_t>(6 + 16 * images.size());
    for (size_t k : order) {
        offsets[k] = at;
        at += sizes[k];
    }
    ByteWriter w;
    w.U16LE(0);
    w.U16LE(type);
    w.U16LE(static_cast<uint16_t>(images.size()));
    for (size_t i = 0; i < images.size(); ++i) {
        w.U8(static_cast<uint8_t>(images[i].width));
        w.U8(static_cast<uint8_t>(images[i].height));
        w.U8(images[i].colourCount);
        w.U8(0);
        w.I16LE(images[i].planes);
        w.I16LE(images[i].bitCount);
        w.U32LE(sizes[i]);
        w.U32LE(offsets[i]);
    }
    for (size_t k : order) {
        const RawImage& im = images[k];
        w.I32LE(im.biSize);
        w.I32LE(im.width);
        w.I32LE(2 * im.height);
        w.I16LE(1);
        w.I16LE(im.depth);
        w.Zeros(24);
        for (uint32_t e : im.palette)
            w.U32LE(e);
        w.Bytes(im.colour);
        w.Bytes(im.mask);
    }
    return std::move(w).Take();
}

RawImage Opaque32(int32_t w, int32_t h, uint8_t seed) {
    RawImage im;
    im.width = w;
    im.height = h;
    for (int32_t i = 0; i < w * h; ++i) {
        const auto v = static_cast<uint8_t>(seed + i);
        im.colour.insert(im.colour.end(), {v, static_cast<uint8_t>(v ^ 0x55), seed, 255});
    }
    im.mask.assign(static_cast<size_t>(IconRowBytes(w, 1) * h), 0);
    return im;
}

// ---------------------------------------------------------------------------------------------
// The validity test and the header checks of the reader.

TEST(IconValidity, CodesInTheirOrder) {
    IconC ico;
    const auto good = BuildIco(1, {Opaque32(2, 2, 9)});
    EXPECT_EQ(IconC::IsIconBytes(good, good.size()), 0);
    EXPECT_EQ(IconC::IsIconBytes({}, 0), -6);

    auto with = [&](size_t at, uint8_t v) {
        auto b = good;
        b[at] = v;
        return IconC::IsIconBytes(b, b.size());
    };
    EXPECT_EQ(with(0, 1), -2);      // reserved
    EXPECT_EQ(with(2, 3), -2);      // type
    EXPECT_EQ(with(2, 2), 0);       // cursor
    EXPECT_EQ(with(8, 32), 0);      // colour count 32 still passes
    EXPECT_EQ(with(8, 33), -2);     // ... 33 does not
    EXPECT_EQ(with(8, 0), 0);       // a 256-colour image says 0
    EXPECT_EQ(with(20, 0xFF), -2);  // image offset far past the end
    EXPECT_EQ(with(16, 0xFF), -2);  // bytes in resource past the end

    // Offset exactly at the length passes; the image's end is never compared.
    auto atEnd = good;
    atEnd[18] = static_cast<uint8_t>(good.size());
    atEnd[19] = static_cast<uint8_t>(good.size() >> 8);
    EXPECT_EQ(IconC::IsIconBytes(atEnd, atEnd.size()), 0);

    // The count is compared as a signed word: 1001 fails, 0x8000 is below 1 and passes.
    auto count = [&](uint16_t c) {
        auto b = good;
        b[4] = static_cast<uint8_t>(c);
        b[5] = static_cast<uint8_t>(c >> 8);
        return IconC::IsIconBytes(b, b.size());
    };
    EXPECT_EQ(count(1001), -2);
    EXPECT_EQ(count(0x8000), 0);
    EXPECT_EQ(count(0), 0);
    (void)ico;
}

TEST(IconValidity, FilesMissingEmptyAndWithoutImages) {
    TempFolder dir;
    IconC ico;
    EXPECT_EQ(ico.IsIcon(dir.File("missing.ico")), -6);
    ASSERT_TRUE(WriteWholeFile(dir.File("empty.ico"), {}));
    EXPECT_EQ(ico.IsIcon(dir.File("empty.ico")), -6);
    EXPECT_EQ(ico.IconCount(dir.File("missing.ico")), -1);

    const std::vector<uint8_t> none = {0, 0, 1, 0, 0, 0};
    ASSERT_TRUE(WriteWholeFile(dir.File("none.ico"), none));
    EXPECT_EQ(ico.IsIcon(dir.File("none.ico")), 0);
    EXPECT_EQ(ico.IconCount(dir.File("none.ico")), 0);
    PixelBuffer pic;
    int32_t hx = 0, hy = 0;
    EXPECT_EQ(ico.LoadIcon(dir.File("none.ico"), 1, pic, hx, hy, false), -2);
    EXPECT_EQ(ico.LoadIcon(dir.File("missing.ico"), 1, pic, hx, hy, false), -1);
}

TEST(IconReader, IndexAndHeaderChecks) {
    IconC ico;
    PixelBuffer pic;
    int32_t hx = 0, hy = 0;
    const auto two = BuildIco(1, {Opaque32(2, 2, 1), Opaque32(3, 1, 2)});
    EXPECT_EQ(ico.LoadIconBytes(two, 0, pic, hx, hy, false), -3);
    EXPECT_EQ(ico.LoadIconBytes(two, 3, pic, hx, hy, false), -3);
    EXPECT_EQ(ico.LoadIconBytes(two, 2, pic, hx, hy, false), 32);
    EXPECT_EQ(pic.Width(), 3);
    EXPECT_EQ(pic.Height(), 1);

    auto oneWith = [&](auto change) {
        RawImage im = Opaque32(2, 2, 1);
        change(im);
        return ico.LoadIconBytes(BuildIco(1, {im}), 1, pic, hx, hy, false);
    };
    EXPECT_EQ(oneWith([](RawImage& im) { im.biSize = 41; }), -4);
    EXPECT_EQ(oneWith([](RawImage& im) { im.depth = 33; }), -4);
    EXPECT_EQ(oneWith([](RawImage& im) { im.width = 65537; }), -4);
    EXPECT_EQ(oneWith([](RawImage& im) { im.depth = 16; }), -5);
    EXPECT_EQ(oneWith([](RawImage& im) { im.depth = 0; }), -5);
    EXPECT_EQ(oneWith([](RawImage& im) { im.width = 0; }), -5);
    EXPECT_EQ(oneWith([](RawImage& im) { im.width = 40000; }), -5);  // beyond any picture

    // A PNG-compressed image: its signature stands where the 40-byte header should.
    auto png = two;
    const uint8_t sig[8] = {0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A};
    std::copy(sig, sig + 8, png.begin() + 6 + 32);
    EXPECT_EQ(ico.LoadIconBytes(png, 1, pic, hx, hy, false), -4);

    // An offset past the end reads zeros: no header.
    auto far = two;
    far[6 + 12] = 0xF0;
    EXPECT_EQ(ico.LoadIconBytes(far, 1, pic, hx, hy, false), -4);
}

TEST(IconReader, LimitsRefuseHugeImagesBeforeAllocating) {
    IconC small(IconLimits{.MaxPixels = 64});
    PixelBuffer pic;
    int32_t hx = 0, hy = 0;
    RawImage big = Opaque32(1, 1, 0);
    big.width = 9;
    big.height = 9;  // 81 pixels, data missing altogether
    EXPECT_EQ(small.LoadIconBytes(BuildIco(1, {big}), 1, pic, hx, hy, false), -5);
    big.width = 8;
    big.height = 8;
    EXPECT_EQ(small.LoadIconBytes(BuildIco(1, {big}), 1, pic, hx, hy, false), 32);
}

// ---------------------------------------------------------------------------------------------
// Each depth decoded, by hand.

TEST(IconDecoder, OneBitPaletteAndMaskBothWays) {
    RawImage im;
    im.width = 3;
    im.height = 2;
    im.depth = 1;
    im.palette = {0x001E140A, 0x003264C8};       // (B10,G20,R30), (B200,G100,R50)
    im.colour = {0xA0, 0, 0, 0, 0x40, 0, 0, 0};  // bottom row 1,0,1; top row 0,1,0
    im.mask = {0x20, 0, 0, 0, 0x00, 0, 0, 0};    // bottom row's third pixel transparent
    im.planes = 5;
    im.bitCount = 7;
    const auto file = BuildIco(2, {im});
    IconC ico;
    PixelBuffer pic;
    int32_t hx = 0, hy = 0;
    ASSERT_EQ(ico.LoadIconBytes(file, 1, pic, hx, hy, false), 1);
    EXPECT_EQ(hx, 5);
    EXPECT_EQ(hy, 7);
    const Bgra a{10, 20, 30, 255}, b{200, 100, 50, 255};
    EXPECT_EQ(Px(pic, 0, 0), b);
    EXPECT_EQ(Px(pic, 1, 0), a);
    EXPECT_EQ(Px(pic, 2, 0), (Bgra{200, 100, 50, 0}));
    EXPECT_EQ(Px(pic, 0, 1), a);
    EXPECT_EQ(Px(pic, 1, 1), b);
    EXPECT_EQ(Px(pic, 2, 1), a);

    ASSERT_EQ(ico.LoadIconBytes(file, 1, pic, hx, hy, true), 1);
    EXPECT_EQ(Px(pic, 2, 0).a, 255);  // mask bit set: transparent in the reversed sense
    EXPECT_EQ(Px(pic, 0, 0).a, 0);
}

TEST(IconDecoder, FourAndEightBitIndices) {
    RawImage four;
    four.width = 3;
    four.depth = 4;
    for (uint32_t i = 0; i < 16; ++i)
        four.palette.push_back(i | (2 * i) << 8 | (3 * i) << 16);
    four.colour = {0x5A, 0xF0, 0, 0};
    four.mask = {0, 0, 0, 0};
    IconC ico;
    PixelBuffer pic;
    int32_t hx = 0, hy = 0;
    ASSERT_EQ(ico.LoadIconBytes(BuildIco(1, {four}), 1, pic, hx, hy, false), 4);
    EXPECT_EQ(Px(pic, 0, 0), (Bgra{5, 10, 15, 255}));
    EXPECT_EQ(Px(pic, 1, 0), (Bgra{10, 20, 30, 255}));
    EXPECT_EQ(Px(pic, 2, 0), (Bgra{15, 30, 45, 255}));

    RawImage eight;
    eight.width = 2;
    eight.depth = 8;
    eight.palette.assign(256, 0);
    eight.palette[7] = 0x00112233;
    eight.palette[255] = 0x00AABBCC;
    eight.colour = {7, 255, 0, 0};
    eight.mask = {0x40, 0, 0, 0};
    ASSERT_EQ(ico.LoadIconBytes(BuildIco(1, {eight}), 1, pic, hx, hy, false), 8);
    EXPECT_EQ(Px(pic, 0, 0), (Bgra{0x33, 0x22, 0x11, 255}));
    EXPECT_EQ(Px(pic, 1, 0), (Bgra{0xCC, 0xBB, 0xAA, 0}));
}

TEST(IconDecoder, TwentyFourBitsTakeAlphaFromTheMask) {
    RawImage im;
    im.width = 2;
    im.depth = 24;
    im.colour = {1, 2, 3, 4, 5, 6, 0, 0};
    im.mask = {0x40, 0, 0, 0};
    IconC ico;
    PixelBuffer pic;
    int32_t hx = 0, hy = 0;
    ASSERT_EQ(ico.LoadIconBytes(BuildIco(1, {im}), 1, pic, hx, hy, false), 24);
    EXPECT_EQ(Px(pic, 0, 0), (Bgra{1, 2, 3, 255}));
    EXPECT_EQ(Px(pic, 1, 0), (Bgra{4, 5, 6, 0}));
    ASSERT_EQ(ico.LoadIconBytes(BuildIco(1, {im}), 1, pic, hx, hy, true), 24);
    EXPECT_EQ(Px(pic, 0, 0).a, 0);
    EXPECT_EQ(Px(pic, 1, 0).a, 255);
}

TEST(IconDecoder, ThirtyTwoBitsIgnoreTheMaskAndReverseOnRequest) {
    RawImage im;
    im.width = 2;
    im.colour = {1, 2, 3, 0, 4, 5, 6, 200};
    im.mask = {0xC0, 0, 0, 0};
    IconC ico;
    PixelBuffer pic;
    int32_t hx = 0, hy = 0;
    ASSERT_EQ(ico.LoadIconBytes(BuildIco(1, {im}), 1, pic, hx, hy, false), 32);
    EXPECT_EQ(Px(pic, 0, 0), (Bgra{1, 2, 3, 0}));
    EXPECT_EQ(Px(pic, 1, 0), (Bgra{4, 5, 6, 200}));
    ASSERT_EQ(ico.LoadIconBytes(BuildIco(1, {im}), 1, pic, hx, hy, true), 32);
    EXPECT_EQ(Px(pic, 0, 0).a, 255);
    EXPECT_EQ(Px(pic, 1, 0).a, 55);

    // The missing end of a cut-off image reads as zeros.
    auto file = BuildIco(1, {im});
    file.resize(file.size() - 4);
    ASSERT_EQ(ico.LoadIconBytes(file, 1, pic, hx, hy, false), 32);
    EXPECT_EQ(Px(pic, 1, 0), (Bgra{4, 5, 6, 200}));
    file.resize(file.size() - 2);
    ASSERT_EQ(ico.LoadIconBytes(file, 1, pic, hx, hy, false), 32);
    EXPECT_EQ(Px(pic, 1, 0), (Bgra{4, 5, 0, 0}));
}

TEST(IconDecoder, FromAnOpenReaderKeepsTheHeader) {
    RawImage im = Opaque32(2, 1, 40);
    const auto file = BuildIco(1, {im});
    ByteReader r(file);
    ASSERT_TRUE(r.Seek(22));
    IconBitmapHeader bmi;
    bmi.biWidth = 2;
    bmi.biHeight = 2;
    bmi.biBitCount = 32;
    ASSERT_TRUE(r.Skip(40));
    IconC ico;
    PixelBuffer pic;
    EXPECT_EQ(ico.LoadIconFromOpenFile(r, bmi, pic, false), 0);
    EXPECT_EQ(bmi.biWidth, 2);
    EXPECT_EQ(Px(pic, 1, 0), (Bgra{41, 41 ^ 0x55, 40, 255}));
    bmi.biBitCount = 16;
    EXPECT_EQ(ico.LoadIconFromOpenFile(r, bmi, pic, false), -5);
}

// ---------------------------------------------------------------------------------------------
// Colour counting and the choice of depth.

TEST(IconEncoder, ColourCountSeedsBlackAndWhite) {
    EXPECT_EQ(IconC::GetColorsInIcon(Pic(2, 2,
                                         [](int, int) {
                                             return Bgra{0, 0, 0, 255};
                                         }),
                                     true),
              2);
    auto bw = Pic(2, 1, [](int x, int) { return x ? Bgra{255, 255, 255, 0} : Bgra{0, 0, 0, 255}; });
    EXPECT_EQ(IconC::GetColorsInIcon(bw, true), 2);
    auto three = Pic(3, 1, [](int x, int) { return Bgra{static_cast<uint8_t>(x + 1), 0, 0, 255}; });
    EXPECT_EQ(IconC::GetColorsInIcon(three, true), 5);
    // Soft alpha under 256 counted colours is forced to 258.
    auto soft = three;
    soft.Set(0, 0, {1, 0, 0, 100});
    EXPECT_EQ(IconC::GetColorsInIcon(soft, true), 258);
    // With soft alpha the keys carry the alpha: opaque black is no longer the seed.
    auto blackSoft = Pic(2, 1, [](int x, int) {
        return Bgra{0, 0, 0, x ? uint8_t{100} : uint8_t{255}};
    });
    EXPECT_EQ(IconC::GetColorsInIcon(blackSoft, false), 258);

    auto many = Pic(600, 1, [](int x, int) {
        return Bgra{static_cast<uint8_t>(x), static_cast<uint8_t>(x >> 8), 9, 255};
    });
    EXPECT_EQ(IconC::GetColorsInIcon(many, true), 257);
    EXPECT_EQ(IconC::GetColorsInIcon(many, false), 602);
}

TEST(IconEncoder, OneColourIsFourBitsWithOnlyThatColour) {
    auto red = Pic(3, 3, [](int, int) { return Bgra{0, 0, 255, 255}; });
    IconImageRecord rec;
    ASSERT_EQ(IconC::EncodeIconImage(red, rec, 0), 0);
    EXPECT_EQ(rec.Header.biBitCount, 4);
    ASSERT_EQ(rec.Palette.size(), 16u);
    EXPECT_EQ(rec.Palette[0], 0xFF0000u);
    for (size_t i = 1; i < 16; ++i)
        EXPECT_EQ(rec.Palette[i], 0u) << i;
    EXPECT_EQ(rec.ColorBits, std::vector<uint8_t>(12, 0));
    EXPECT_EQ(rec.MaskBits, std::vector<uint8_t>(12, 0));
    EXPECT_EQ(rec.Entry.ColorCount, 16);
    EXPECT_EQ(rec.Entry.Width, 3);
    EXPECT_EQ(rec.Entry.BytesInRes, 12u + 12u + 40u + 64u);
    EXPECT_EQ(rec.Header.biHeight, 6);
    EXPECT_EQ(rec.Header.biPlanes, 1);
    EXPECT_EQ(rec.Header.biSizeImage, 0);
}

TEST(IconEncoder, SoftAlphaGoesToThirtyTwoBitsButNotAtExactly256Colours) {
    // 255 opaque colours and one pixel at alpha 100.
    auto soft = Pic(16, 16, [](int x, int y) {
        const int i = x + 16 * y;
        return Bgra{static_cast<uint8_t>(i), 77, 1, i == 255 ? uint8_t{100} : uint8_t{255}};
    });
    IconImageRecord rec;
    ASSERT_EQ(IconC::EncodeIconImage(soft, rec, 0), 0);
    EXPECT_EQ(rec.Header.biBitCount, 32);
    EXPECT_EQ(rec.ColorBits, soft.Vector());  // alpha taken over unchanged

    // 254 new keys, one of them soft: the count is 256, not forced, and the depth is 8.
    auto edge = Pic(254, 1, [](int x, int) {
        return Bgra{static_cast<uint8_t>(x), 5, 5, x == 3 ? uint8_t{100} : uint8_t{255}};
    });
    EXPECT_EQ(IconC::GetColorsInIcon(edge, true), 256);
    ASSERT_EQ(IconC::EncodeIconImage(edge, rec, 0), 0);
    EXPECT_EQ(rec.Header.biBitCount, 8);
    EXPECT_EQ(rec.MaskBits[0], 0x10);  // alpha 100 is below 128: masked
}

TEST(IconEncoder, EightBitsStopAtThe257thColour) {
    auto many = Pic(300, 1, [](int x, int) {
        return Bgra{static_cast<uint8_t>(x), static_cast<uint8_t>(x >> 8), 7, 255};
    });
    IconImageRecord rec;
    ASSERT_EQ(IconC::EncodeIconImage(many, rec, 8), 0);
    ASSERT_EQ(rec.Header.biBitCount, 8);
    ASSERT_EQ(rec.ColorBits.size(), 300u);
    for (int x = 0; x < 256; ++x) {
        EXPECT_EQ(rec.ColorBits[static_cast<size_t>(x)], x);
        EXPECT_EQ(rec.Palette[static_cast<size_t>(x)], static_cast<uint32_t>(x | 0x070000));
    }
    for (int x = 256; x < 300; ++x)
        EXPECT_EQ(rec.ColorBits[static_cast<size_t>(x)], 0) << x;
    EXPECT_EQ(rec.Entry.ColorCount, 0);
    EXPECT_EQ(rec.Entry.BytesInRes, 40u + 1024u + 300u + 40u);
}

TEST(IconEncoder, EightBitPaletteKeepsItsPreparedEntries) {
    auto one = Pic(2, 1, [](int, int) { return Bgra{9, 8, 7, 255}; });
    IconImageRecord rec;
    ASSERT_EQ(IconC::EncodeIconImage(one, rec, 8), 0);
    EXPECT_EQ(rec.Palette[0], 0x070809u);
    EXPECT_EQ(rec.Palette[1], 0xFF00FFu);
    EXPECT_EQ(rec.Palette[2], 0x00FF00u);
    EXPECT_EQ(rec.Palette[3], 0u);
}

TEST(IconEncoder, OneBitIsFourBitsWithTwoColoursAndAnUncheckedThirdIndex) {
    auto three = Pic(3, 1, [](int x, int) {
        return Bgra{static_cast<uint8_t>(10 * x + 10), 0, 0, 255};
    });
    IconImageRecord rec;
    ASSERT_EQ(IconC::EncodeIconImage(three, rec, 1), 0);
    EXPECT_EQ(rec.Header.biBitCount, 4);
    EXPECT_EQ(rec.Palette[0], 10u);
    EXPECT_EQ(rec.Palette[1], 20u);
    EXPECT_EQ(rec.Palette[2], 0u);  // the third colour was not taken
    EXPECT_EQ(rec.ColorBits[0], 0x01);
    EXPECT_EQ(rec.ColorBits[1], 0x20);  // index 2: one past the last entry in use
}

TEST(IconEncoder, SeventeenthColourInAHighNibbleFailsTheConversion) {
    auto many = Pic(17, 1, [](int x, int) { return Bgra{static_cast<uint8_t>(x), 1, 1, 255}; });
    IconImageRecord rec;
    EXPECT_EQ(IconC::EncodeIconImage(many, rec, 4), -7);
    TempFolder dir;
    IconC ico;
    EXPECT_EQ(ico.SaveIcon(dir.File("x.ico"), many, 0, 0, 0, 0, 4), -7);
}

TEST(IconEncoder, MaskAndSidesOf256) {
    auto pic = Pic(256, 256, [](int x, int y) {
        return Bgra{1, 2, 3, static_cast<uint8_t>((x + y) % 2 ? 127 : 128)};
    });
    auto mask = IconC::MakeIconMask(pic);
    ASSERT_EQ(mask.size(), 32u * 256u);
    EXPECT_EQ(mask[0], 0x55);  // x odd on row 0 is 127: masked
    EXPECT_EQ(mask[32], 0xAA);
    IconImageRecord rec;
    ASSERT_EQ(IconC::EncodeIconImage(pic, rec, 32), 0);
    EXPECT_EQ(rec.Entry.Width, 0);
    EXPECT_EQ(rec.Entry.Height, 0);
    EXPECT_EQ(rec.Header.biWidth, 256);
    EXPECT_EQ(rec.Header.biHeight, 512);
}

TEST(IconEncoder, IndexedDataHandsOutOnePaletteEntryLess) {
    auto two = Pic(5, 2, [](int x, int) { return x < 2 ? Bgra{1, 2, 3, 255} : Bgra{4, 5, 6, 0}; });
    std::vector<uint8_t> data{9}, palette{9}, mask{9};
    EXPECT_EQ(IconC::ChangeDataToIconData(two, data, palette, mask, 0), 4);
    EXPECT_EQ(palette.size(), 15u * 4u);
    EXPECT_EQ((std::vector<uint8_t>(palette.begin(), palette.begin() + 8)),
              (std::vector<uint8_t>{1, 2, 3, 0, 4, 5, 6, 0}));
    EXPECT_EQ(data.size(), 8u);
    EXPECT_EQ(data[0], 0x00);
    EXPECT_EQ(data[1], 0x11);
    EXPECT_EQ(data[2], 0x10);
    EXPECT_EQ(mask[0], 0x38);
    EXPECT_EQ(IconC::ChangeDataToIconData(two, data, palette, mask, 8), 8);
    EXPECT_EQ(palette.size(), 255u * 4u);

    std::vector<uint8_t> untouched{7};
    EXPECT_EQ(IconC::ChangeDataToIconData(two, untouched, untouched, untouched, 32), 32);
    EXPECT_EQ(untouched, std::vector<uint8_t>{7});
}

// ---------------------------------------------------------------------------------------------
// Writing files.

TEST(IconWriter, FileBytesForACursorName) {
    TempFolder dir;
    IconC ico;
    const std::string fnm = dir.File("c.cur");
    auto pic = Pic(2, 1, [](int x, int) { return Bgra{static_cast<uint8_t>(x), 0, 0, 255}; });
    ASSERT_EQ(ico.SaveIcon(fnm, pic, 0, 17, 300, 1, 0), 0);
    const auto bytes = ReadWholeFile(fnm).value();
    ByteReader r(bytes);
    EXPECT_EQ(r.U16LE(), 0);
    EXPECT_EQ(r.U16LE(), 1);  // type word 1 also for .cur
    EXPECT_EQ(r.U16LE(), 1);
    EXPECT_EQ(r.U8(), 2);
    EXPECT_EQ(r.U8(), 1);
    EXPECT_EQ(r.U8(), 16);
    EXPECT_EQ(r.U8(), 0);
    EXPECT_EQ(r.U16LE(), 17);
    EXPECT_EQ(r.U16LE(), 300);
    EXPECT_EQ(r.U32LE(), 40u + 64u + 4u + 4u);
    EXPECT_EQ(r.U32LE(), 22u);
    EXPECT_EQ(bytes.size(), 22u + 112u);
    EXPECT_EQ(ico.IsIcon(fnm), 0);

    PixelBuffer back;
    int32_t hx = 0, hy = 0;
    EXPECT_EQ(ico.LoadIcon(fnm, 1, back, hx, hy, false), 4);
    EXPECT_EQ(hx, 17);
    EXPECT_EQ(hy, 300);
    EXPECT_EQ(back, pic);
}

TEST(IconWriter, IndexRulesAddAndReplace) {
    TempFolder dir;
    IconC ico;
    const std::string fnm = dir.File("set.ico");
    auto solid = [](uint8_t v) { return Pic(4, 4, [v](int, int) { return Bgra{v, v, v, 255}; }); };
    auto firstPixel = [&](int32_t index) {
        PixelBuffer p;
        int32_t hx = 0, hy = 0;
        return ico.LoadIcon(fnm, index, p, hx, hy, false) < 0 ? -1 : int{Px(p, 0, 0).b};
    };
    ASSERT_EQ(ico.SaveIcon(fnm, solid(10), 5, 0, 0, 0, 0), 0);   // no file: a file of one
    ASSERT_EQ(ico.SaveIcon(fnm, solid(20), -1, 0, 0, 0, 0), 0);  // appended
    ASSERT_EQ(ico.SaveIcon(fnm, solid(30), 9, 0, 0, 0, 0), 0);   // above the count: appended
    EXPECT_EQ(ico.IconCount(fnm), 3);
    ASSERT_EQ(ico.SaveIcon(fnm, solid(40), 3, 0, 0, 0, 0), 0);  // the count: replaces the last
    EXPECT_EQ(ico.IconCount(fnm), 3);
    EXPECT_EQ(firstPixel(1), 10);
    EXPECT_EQ(firstPixel(2), 20);
    EXPECT_EQ(firstPixel(3), 40);
    ASSERT_EQ(ico.SaveIcon(fnm, solid(50), 1, 0, 0, 0, 0), 0);
    EXPECT_EQ(firstPixel(1), 50);
    EXPECT_EQ(ico.SaveIcon(fnm, solid(50), -4, 0, 0, 0, 0), -3);
    ASSERT_EQ(ico.SaveIcon(fnm, solid(60), 0, 0, 0, 0, 0), 0);  // 0: a new file
    EXPECT_EQ(ico.IconCount(fnm), 1);
    EXPECT_EQ(firstPixel(1), 60);

    // A file that is no icon is replaced whatever the index.
    ASSERT_TRUE(WriteWholeFile(fnm, std::vector<uint8_t>{'n', 'o', 't', ' ', 'a', 'n'}));
    ASSERT_EQ(ico.SaveIcon(fnm, solid(70), 2, 0, 0, 0, 0), 0);
    EXPECT_EQ(ico.IconCount(fnm), 1);
    EXPECT_EQ(firstPixel(1), 70);
}

TEST(IconWriter, RoundTripsEachDepth) {
    TempFolder dir;
    IconC ico;
    auto soft = Pic(7, 5, [](int x, int y) {
        return Bgra{static_cast<uint8_t>(x * 30), static_cast<uint8_t>(y * 40), 9,
                    static_cast<uint8_t>(x * 36 + y)};
    });
    auto fourColours = Pic(9, 3, [](int x, int y) {
        return Bgra{static_cast<uint8_t>((x + y) % 4 * 60), 1, 2,
                    x == 4 ? uint8_t{0} : uint8_t{255}};
    });
    struct Case {
        const PixelBuffer* pic;
        int32_t bits;
        int32_t depth;
    } cases[] = {{&soft, 0, 32}, {&soft, 32, 32}, {&fourColours, 0, 4}, {&fourColours, 8, 8}};
    for (const auto& c : cases) {
        const std::string fnm = dir.File("rt.ico");
        ASSERT_EQ(ico.SaveIcon(fnm, *c.pic, 0, 0, 0, 0, c.bits), 0);
        PixelBuffer back;
        int32_t hx = 0, hy = 0;
        EXPECT_EQ(ico.LoadIcon(fnm, 1, back, hx, hy, false), c.depth);
        EXPECT_EQ(back, *c.pic) << c.bits;
    }
}

TEST(IconWriter, RecordsAreReadBackToBackWhateverTheOffsetsSay) {
    // Two images of equal size stored in reverse order behind the directory.
    RawImage a = Opaque32(2, 2, 10), b = Opaque32(2, 2, 90);
    b.planes = 3;
    const auto file = BuildIco(1, {a, b}, {1, 0});
    TempFolder dir;
    const std::string fnm = dir.File("rev.ico");
    ASSERT_TRUE(WriteWholeFile(fnm, file));
    IconC ico;
    PixelBuffer p;
    int32_t hx = 0, hy = 0;
    ASSERT_EQ(ico.LoadIcon(fnm, 1, p, hx, hy, false), 32);
    EXPECT_EQ(Px(p, 0, 0).r, 10);

    std::vector<IconImageRecord> records;
    ASSERT_EQ(ico.LoadAllIconRecords(fnm, records), 0);
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].ColorBits[2], 90);  // the first image in the file, not entry 1's
    EXPECT_EQ(records[1].HotX, 3);           // entries keep their own fields

    // Adding an image rewrites the file from that reading: the first two swap.
    ASSERT_EQ(ico.SaveIcon(fnm, Pic(1, 1, [](int, int) { return Bgra{}; }), -1, 0, 0, 0, 0), 0);
    ASSERT_EQ(ico.LoadIcon(fnm, 1, p, hx, hy, false), 32);
    EXPECT_EQ(Px(p, 0, 0).r, 90);
    EXPECT_EQ(hx, 1);
    EXPECT_EQ(ico.IconCount(fnm), 3);
}

TEST(IconWriter, CutOffRecordsRefuseRewriting) {
    auto file = BuildIco(1, {Opaque32(4, 4, 1), Opaque32(4, 4, 2)});
    file.resize(file.size() - 1);
    IconC ico;
    std::vector<IconImageRecord> records;
    EXPECT_EQ(ico.LoadAllIconRecordsBytes(file, records), -9);
    file[2] = 7;
    EXPECT_EQ(ico.LoadAllIconRecordsBytes(file, records), -2);
}

TEST(IconErrors, Texts) {
    EXPECT_EQ(IconC::GetError(0), "正常終了");
    EXPECT_EQ(IconC::GetError(-1), "ファイルがオープンできません。");
    EXPECT_EQ(IconC::GetError(-2), "アイコンファイルが不正です。");
    EXPECT_EQ(IconC::GetError(-3), "アイコンインデックスが範囲外です。");
    EXPECT_EQ(IconC::GetError(-4), "アイコンの画像の設定が不正です。");
    EXPECT_EQ(IconC::GetError(-5), "サポートしていないアイコンです。");
    EXPECT_EQ(IconC::GetError(-6), "ファイルサイズが0か、オープンに失敗しました。");
    EXPECT_EQ(IconC::GetError(-7), "ファイルの変換に失敗しました。");
    EXPECT_EQ(IconC::GetError(-8), "ファイルの保存に失敗しました。");
    EXPECT_EQ(IconC::GetError(-9), "アイコンファイルの読み込みに失敗しました。");
    EXPECT_EQ(IconC::GetError(-10), "");
    EXPECT_EQ(IconC::GetError(1), "");
}

// What we write must read back the same in other programs: Pillow and icotool, through
// tests/data/check_icon_readers.py. Skips when Python with Pillow or icotool is missing.
TEST(IconWriter, IndependentReadersSeeTheSamePixels) {
    std::string python;
    for (const char* candidate : {"/usr/bin/python3", "python3"})
        if (std::system((std::string(candidate) + " -c 'import PIL' 2>/dev/null").c_str()) == 0) {
            python = candidate;
            break;
        }
    if (python.empty()) GTEST_SKIP() << "no Python with Pillow";
    const std::string script = std::string(BRV_SOURCE_DIR) + "/tests/data/check_icon_readers.py";
    TempFolder dir;
    IconC ico;
    auto soft = Pic(24, 20, [](int x, int y) {
        return Bgra{static_cast<uint8_t>(x * 10), static_cast<uint8_t>(y * 12), 200,
                    static_cast<uint8_t>(255 - x * 7 - y)};
    });
    auto fewColours = Pic(33, 17, [](int x, int y) {
        return Bgra{static_cast<uint8_t>((x / 4) * 30), static_cast<uint8_t>(y % 3 * 100), 50,
                    (x + y) % 5 ? uint8_t{255} : uint8_t{0}};
    });
    struct Case {
        const char* name;
        const PixelBuffer* pic;
        int32_t bits;
        int32_t depth;
    } cases[] = {{"soft.ico", &soft, 32, 32},
                 {"few4.cur", &fewColours, 0, 4},
                 {"few8.ico", &fewColours, 8, 8}};
    for (const auto& c : cases) {
        const std::string fnm = dir.File(c.name);
        // Other readers take the depth from the entry's bit-count field, where we write the
        // hot spot: give the values a plain icon has there (1 plane, its depth).
        ASSERT_EQ(ico.SaveIcon(fnm, *c.pic, 0, 1, c.depth, 0, c.bits), 0);
        // Expected: top row first, R G B A.
        std::vector<uint8_t> rgba;
        for (int32_t y = c.pic->Height() - 1; y >= 0; --y)
            for (int32_t x = 0; x < c.pic->Width(); ++x) {
                const Bgra p = Px(*c.pic, x, y);
                rgba.insert(rgba.end(), {p.r, p.g, p.b, p.a});
            }
        ASSERT_TRUE(WriteWholeFile(fnm + ".rgba", rgba));
        const std::string cmd = python + " " + script + " " + fnm + " " + fnm + ".rgba " +
                                std::to_string(c.pic->Width()) + " " +
                                std::to_string(c.pic->Height());
        const int status = std::system(cmd.c_str());
        if (WIFEXITED(status) && WEXITSTATUS(status) == 77) GTEST_SKIP() << "icotool missing";
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << c.name;
    }
}

// ---------------------------------------------------------------------------------------------
// Public corpora.

std::vector<std::string> CorpusIcons() {
    std::vector<std::string> files;
    const std::string root = CorpusDir();
    if (root.empty()) return files;
    for (const char* sub : {"/ico", "/cur"})
        for (const auto& f : ListFilesRecursive(root + sub))
            if (f.ends_with(".ico") || f.ends_with(".cur")) files.push_back(f);
    std::sort(files.begin(), files.end());
    return files;
}

// Runs every reading road over the bytes; any result must be success or a code of the table.
void ReadEverything(const IconC& ico, std::span<const uint8_t> bytes, const std::string& what) {
    auto described = [](int32_t code) { return code >= 0 || !IconC::GetError(code).empty(); };
    EXPECT_TRUE(described(IconC::IsIconBytes(bytes, bytes.size()))) << what;
    const int32_t count = std::min(IconC::IconCountBytes(bytes), 20);
    for (int32_t i = 0; i <= count + 1; ++i) {
        PixelBuffer pic;
        int32_t hx = 0, hy = 0;
        const int32_t r = ico.LoadIconBytes(bytes, i, pic, hx, hy, true);
        EXPECT_TRUE(described(r)) << what << " index " << i << " gave " << r;
        if (r >= 0) {
            EXPECT_TRUE(r == 1 || r == 4 || r == 8 || r == 24 || r == 32) << what;
            EXPECT_EQ(pic.ByteSize(), size_t{4} * pic.Width() * pic.Height());
        }
    }
    std::vector<IconImageRecord> records;
    const int32_t all = ico.LoadAllIconRecordsBytes(bytes, records);
    EXPECT_TRUE(all == 0 || all == -2 || all == -9) << what << " " << all;
}

TEST(IconCorpus, EveryFileTruncatedAndBitFlippedGivesCodes) {
    const auto files = CorpusIcons();
    if (files.empty()) GTEST_SKIP() << "corpus not present";
    IconC ico(IconLimits{.MaxPixels = 1 << 20});
    std::mt19937 rng(1234);
    for (const auto& f : files) {
        const auto bytes = ReadWholeFile(f).value();
        ReadEverything(ico, bytes, f);
        for (size_t cut : {size_t{0}, size_t{1}, size_t{5}, size_t{6}, size_t{21}, size_t{22},
                           size_t{61}, bytes.size() / 2, bytes.size() - 1}) {
            if (cut > bytes.size()) continue;
            ReadEverything(ico, std::span(bytes).first(cut), f + " cut " + std::to_string(cut));
        }
        for (int round = 0; round < 40; ++round) {
            auto flipped = bytes;
            // Most flips land in the header and directory, where they change the road taken.
            const size_t span = round % 2 ? flipped.size() : std::min<size_t>(flipped.size(), 80);
            for (int k = 0; k < 3 && span; ++k)
                flipped[rng() % span] ^= static_cast<uint8_t>(1u << (rng() % 8));
            ReadEverything(ico, flipped, f + " flip " + std::to_string(round));
        }
    }
}

TEST(IconCorpus, KnownFilesReadAsExpected) {
    const std::string root = CorpusDir();
    if (root.empty()) GTEST_SKIP() << "corpus not present";
    IconC ico;
    PixelBuffer pic;
    int32_t hx = 0, hy = 0;

    const std::string cursor = root + "/cur/winres/cursor.cur";
    ASSERT_EQ(ico.IsIcon(cursor), 0);
    ASSERT_EQ(ico.IconCount(cursor), 5);
    const int32_t depths[] = {1, 4, 8, 32, 24};
    const int32_t hots[][2] = {{21, 10}, {21, 10}, {14, 8}, {14, 8}, {112, 64}};
    for (int32_t i = 1; i <= 5; ++i) {
        EXPECT_EQ(ico.LoadIcon(cursor, i, pic, hx, hy, true), depths[i - 1]) << i;
        EXPECT_EQ(hx, hots[i - 1][0]);
        EXPECT_EQ(hy, hots[i - 1][1]);
    }
    EXPECT_EQ(pic.Width(), 256);

    // Image 3 says biClrUsed 154, but a palette always has 2^depth entries: the first index
    // is taken 1024 bytes behind the header, where the file's own colour rows do not begin.
    const auto raw = ReadWholeFile(cursor).value();
    const size_t header = 1134;
    ASSERT_EQ(ico.LoadIcon(cursor, 3, pic, hx, hy, false), 8);
    const size_t index = raw[header + 40 + 1024];
    EXPECT_EQ(Px(pic, 0, 0).b, raw[header + 40 + 4 * index]);
    EXPECT_EQ(Px(pic, 0, 0).r, raw[header + 40 + 4 * index + 2]);

    const std::string none = root + "/cur/pillow/no_cursors.cur";
    EXPECT_EQ(ico.IsIcon(none), 0);
    EXPECT_EQ(ico.LoadIcon(none, 1, pic, hx, hy, true), -2);

    // A PNG-compressed first image, then bitmaps whose hot spot fields say planes 1 and 32 bits.
    const std::string pillow = root + "/ico/pillow/pillow.ico";
    EXPECT_EQ(ico.LoadIcon(pillow, 1, pic, hx, hy, true), -4);
    EXPECT_EQ(ico.LoadIcon(pillow, 2, pic, hx, hy, true), 32);
    EXPECT_EQ(hx, 1);
    EXPECT_EQ(hy, 32);

    // Windows 1.x icons have another header.
    EXPECT_EQ(ico.IsIcon(root + "/ico/pillow-pr7427/ico1both.ico"), -2);

    const std::string multi = root + "/ico/image-rs/multiple_entries_with_different_bit_depth.ico";
    const int32_t multiDepths[] = {4, 4, 8, 8, 8, 32, 32, 32, 32};
    for (int32_t i = 1; i <= 9; ++i)
        EXPECT_EQ(ico.LoadIcon(multi, i, pic, hx, hy, true), multiDepths[i - 1]) << i;
}

// Pixels against fixtures that ImageMagick decoded (tests/data/make_ico_fixtures.sh): top row
// first, R G B A. ImageMagick lets the mask make a 32-bit image transparent when its alpha is
// all zero; none of the chosen images has that form.
TEST(IconCorpus, PixelsMatchAnIndependentDecoder) {
    const std::string root = CorpusDir();
    if (root.empty()) GTEST_SKIP() << "corpus not present";
    const std::string data = std::string(BRV_SOURCE_DIR) + "/tests/data/ico/";
    const auto list = ReadTextFile(data + "fixtures.txt");
    ASSERT_TRUE(list.has_value());
    IconC ico;
    int checked = 0;
    size_t pos = 0;
    while (pos < list->size()) {
        size_t end = list->find('\n', pos);
        if (end == std::string::npos) end = list->size();
        const std::string line = list->substr(pos, end - pos);
        pos = end + 1;
        if (line.empty() || line[0] == '#') continue;
        // "<corpus path> <index from 1> <fixture file>"
        const size_t a = line.find(' '), b = line.rfind(' ');
        const std::string path = root + "/" + line.substr(0, a);
        const int32_t index = std::stoi(line.substr(a + 1, b - a - 1));
        const auto expected = ReadWholeFile(data + line.substr(b + 1));
        ASSERT_TRUE(expected.has_value()) << line;
        PixelBuffer pic;
        int32_t hx = 0, hy = 0;
        ASSERT_GT(ico.LoadIcon(path, index, pic, hx, hy, false), 0) << line;
        ASSERT_EQ(expected->size(), pic.ByteSize()) << line;
        int mismatches = 0;
        for (int32_t y = 0; y < pic.Height(); ++y) {
            const uint8_t* row = pic.Row(pic.Height() - 1 - y);
            for (int32_t x = 0; x < pic.Width(); ++x) {
                const uint8_t* e =
                    expected->data() + 4 * (static_cast<size_t>(y) * pic.Width() + x);
                const uint8_t* g = row + 4 * x;
                // Under alpha 0 the colour is not compared: readers differ in what they keep.
                const bool same =
                    e[3] == g[3] && (e[3] == 0 || (e[0] == g[2] && e[1] == g[1] && e[2] == g[0]));
                if (!same && mismatches++ < 3) ADD_FAILURE() << line << " at " << x << "," << y;
            }
        }
        EXPECT_EQ(mismatches, 0) << line;
        ++checked;
    }
    EXPECT_GE(checked, 5);
}

}  // namespace
}  // namespace brv
