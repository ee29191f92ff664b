#include "actions/action_codec.h"

#include <gtest/gtest.h>

#include <random>

namespace brv {
namespace {

TEST(EncodeNumber, HexBelow256AndTheAlphabetAbove) {
    EXPECT_EQ(EncodeNumber(0), "00");
    EXPECT_EQ(EncodeNumber(10), "0A");
    EXPECT_EQ(EncodeNumber(255), "FF");
    EXPECT_EQ(EncodeNumber(256), "ｵｱ");  // A[4], A[0]
    EXPECT_EQ(EncodeNumber(4095), "//");
    EXPECT_EQ(EncodeNumber(5000), "//");
    EXPECT_EQ(EncodeNumber(64 * 6 + 26), "Gｷ");
    EXPECT_EQ(EncodeNumber(64 * 32 + 61), "gﾆ");
    EXPECT_EQ(EncodeNumber(-5), "00");
}

TEST(DecodeNumber, ReadsBothFormsAndDropsTheHexMarker) {
    EXPECT_EQ(DecodeNumber("FF"), 255);
    EXPECT_EQ(DecodeNumber("ff"), 255);
    EXPECT_EQ(DecodeNumber("&HFF"), 255);
    EXPECT_EQ(DecodeNumber("F&HF"), 255);
    EXPECT_EQ(DecodeNumber("ｵｱ"), 256);
    EXPECT_EQ(DecodeNumber("//"), 4095);
    EXPECT_EQ(DecodeNumber("+ｲ"), 62 * 64 + 1);
    // A character outside the alphabet counts 0; so does a missing one.
    EXPECT_EQ(DecodeNumber("?ｲ"), 1);
    EXPECT_EQ(DecodeNumber("ｲ"), 64);
    EXPECT_EQ(DecodeNumber(""), 0);
    // Hexadecimal runs to the first character that is no digit.
    EXPECT_EQ(DecodeNumber("7Z"), 7);
    EXPECT_EQ(DecodeNumber("12345"), 0x12345);
    EXPECT_EQ(DecodeNumber("FFFFFFFFFFFF"), 2147483647);
}

TEST(EncodeNumber, RoundTripsEveryValueItCanHold) {
    for (int32_t v = 0; v <= 4095; ++v)
        ASSERT_EQ(DecodeNumber(EncodeNumber(v)), v) << v;
}

TEST(EncodeHex4, PadsToFourDigits) {
    EXPECT_EQ(EncodeHex4(5), "0005");
    EXPECT_EQ(EncodeHex4(0xABCD), "ABCD");
    EXPECT_EQ(EncodeHex4(0x12345), "12345");
    EXPECT_EQ(EncodeHex4(-1), "FFFFFFFF");
}

TEST(EncodeByteImage, OneElementIsSixCharacters) {
    const uint8_t seven[] = {7};
    EXPECT_EQ(EncodeByteImage(seven, 1, 1), "000007");
    ByteImage back;
    ASSERT_EQ(DecodeByteImage("000007", back), kActionCodecOk);
    EXPECT_EQ(back, (ByteImage{1, 1, {7}}));
    EXPECT_EQ(EncodeByteImage({}, 0, 0), "");
}

TEST(EncodeByteImage, PicturesAndMasksRoundTrip) {
    std::mt19937 rng(7);
    for (int32_t w : {1, 3, 64, 65, 300}) {
        PixelBuffer p(w, 3);
        for (uint8_t& b : p.Bytes())
            b = static_cast<uint8_t>(rng());
        const std::string s = EncodeByteImage(p);
        ByteImage image;
        ASSERT_EQ(DecodeByteImage(s, image), kActionCodecOk);
        PixelBuffer back;
        ASSERT_EQ(ByteImageToPixels(image, back), kActionCodecOk);
        EXPECT_EQ(back, p) << w;
    }
    SelectionMask mask{5, 2, {0, 1, 0, 1, 0, 255, 255, 0, 0, 1}};
    ByteImage image;
    ASSERT_EQ(DecodeByteImage(EncodeByteImage(mask), image), kActionCodecOk);
    EXPECT_EQ(image, (ByteImage{5, 2, mask.bytes}));
    PixelBuffer notPixels;
    EXPECT_EQ(ByteImageToPixels(image, notPixels), kActionCodecBadShape);
}

TEST(EncodeByteImage, AWidePictureSaturatesTheHeader) {
    PixelBuffer p(1025, 1);
    EXPECT_EQ(EncodeByteImage(p).substr(0, 4), "//00");
}

TEST(DecodeByteImage, ShortOrDamagedTextGivesACodeNotACrash) {
    ByteImage image;
    EXPECT_EQ(DecodeByteImage("", image), kActionCodecTooShort);
    EXPECT_EQ(DecodeByteImage("000", image), kActionCodecTooShort);
    EXPECT_EQ(DecodeByteImage("0100070", image), kActionCodecTooShort);
    EXPECT_EQ(DecodeByteImage("////", image), kActionCodecTooShort);  // 16 MiB announced
    // Elements are read leniently: a pair that is no number reads what digits it starts with.
    ASSERT_EQ(DecodeByteImage("01003Zｱ1", image), kActionCodecOk);
    EXPECT_EQ(image.Bytes, (std::vector<uint8_t>{3, 0}));

    const uint8_t bytes[] = {1, 2, 3, 4, 250, 251, 252, 253};
    const std::string good = EncodeByteImage(bytes, 4, 2);
    for (size_t n = 0; n < good.size(); ++n)
        EXPECT_EQ(DecodeByteImage(good.substr(0, n), image), kActionCodecTooShort) << n;
    std::mt19937 rng(11);
    for (int round = 0; round < 2000; ++round) {
        std::string s = good;
        s[rng() % s.size()] ^= static_cast<char>(1 << (rng() % 8));
        if (DecodeByteImage(s, image) == kActionCodecOk) {
            EXPECT_EQ(image.Bytes.size(),
                      static_cast<size_t>(image.Columns) * static_cast<size_t>(image.Rows));
        }
    }
}

TEST(EncodeByteList, RoundTripsAndRefusesShortText) {
    std::vector<uint8_t> bytes(300);
    for (size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<uint8_t>(i * 7);
    const std::string s = EncodeByteList(bytes);
    EXPECT_EQ(s.substr(0, 4), "012B");
    EXPECT_EQ(s.size(), 4u + 600u);
    std::vector<uint8_t> back;
    ASSERT_EQ(DecodeByteList(s, back), kActionCodecOk);
    EXPECT_EQ(back, bytes);

    ASSERT_EQ(DecodeByteList("000007", back), kActionCodecOk);
    EXPECT_EQ(back, std::vector<uint8_t>{7});
    EXPECT_EQ(DecodeByteList("0001FF", back), kActionCodecTooShort);
    EXPECT_EQ(DecodeByteList("FFFF", back), kActionCodecTooShort);
    EXPECT_EQ(DecodeByteList("ｱ", back), kActionCodecTooShort);
    for (size_t n = 0; n < s.size(); ++n)
        EXPECT_LT(DecodeByteList(s.substr(0, n), back), 0);
    EXPECT_EQ(EncodeByteList({}), "");
}

TEST(Utf8CharLength, BrokenSequencesAreSingleBytes) {
    EXPECT_EQ(Utf8CharLength("ｱ", 0), 3u);
    EXPECT_EQ(Utf8CharLength("\xEF\xBD", 0), 1u);
    EXPECT_EQ(Utf8CharLength("\xEF"
                             "A"
                             "B",
                             0),
              1u);
    EXPECT_EQ(Utf8CharLength("\x80", 0), 1u);
}

}  // namespace
}  // namespace brv
