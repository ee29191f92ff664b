#include "core/byte_io.h"

#include <gtest/gtest.h>

#include "core/arith.h"
#include "core/pixel_buffer.h"

namespace brv {
namespace {

TEST(ByteReader, ReadsBothEndiannessesAndFailsStickyPastTheEnd) {
    const uint8_t bytes[] = {0x01, 0x02, 0x03, 0x04, 0xFF, 0xFE};
    ByteReader r(bytes);
    EXPECT_EQ(r.U32LE(), 0x04030201u);
    EXPECT_EQ(r.I16LE(), -257);  // 0xFEFF
    EXPECT_FALSE(r.Failed());
    EXPECT_EQ(r.U8(), 0);  // past the end
    EXPECT_TRUE(r.Failed());
    EXPECT_EQ(r.Remaining(), 0u);

    ByteReader be(bytes);
    EXPECT_EQ(be.U16BE(), 0x0102);
    EXPECT_EQ(be.U32BE(), 0x0304FFFEu);
    EXPECT_FALSE(be.Failed());
}

TEST(ByteReader, HugeLengthsAreRefusedNotWrapped) {
    const uint8_t bytes[8] = {};
    ByteReader r(bytes);
    r.Skip(4);
    EXPECT_TRUE(r.Bytes(SIZE_MAX).empty());
    EXPECT_TRUE(r.Failed());
    ByteReader s(bytes);
    EXPECT_FALSE(s.Seek(9));
    EXPECT_TRUE(s.Failed());
}

TEST(ByteWriter, WritesAndPatches) {
    ByteWriter w;
    w.I32LE(-2);
    w.U16BE(0xABCD);
    EXPECT_TRUE(w.PutU32LE(0, 0x11223344));
    EXPECT_FALSE(w.PutU32LE(4, 1));  // only 2 bytes there
    EXPECT_EQ(w.Data(), (std::vector<uint8_t>{0x44, 0x33, 0x22, 0x11, 0xAB, 0xCD}));
}

TEST(Arithmetic, RoundsHalfToEvenAndIntFloors) {
    EXPECT_EQ(Round(0.5), 0.0);
    EXPECT_EQ(Round(1.5), 2.0);
    EXPECT_EQ(Round(2.5), 2.0);
    EXPECT_EQ(Round(-0.5), 0.0);
    EXPECT_EQ(Round(-1.5), -2.0);
    EXPECT_EQ(Round(2.4999), 2.0);
    EXPECT_EQ(Int(-0.1), -1.0);
    EXPECT_EQ(Fix(-0.9), 0.0);
    EXPECT_EQ(Div(-7, 2), -3);
    EXPECT_FALSE(Div(1, 0).has_value());
    EXPECT_FALSE(ToInt32(3e9).has_value());
    EXPECT_EQ(ToInt32(-2147483648.4), INT32_MIN);
}

TEST(PixelBuffer, ChecksAccessAndRefusesImpossibleSizes) {
    PixelBuffer p(3, 2);
    EXPECT_EQ(p.ByteSize(), 24u);
    EXPECT_TRUE(p.Set(2, 1, {1, 2, 3, 4}));
    EXPECT_FALSE(p.Set(3, 0, {}));
    EXPECT_FALSE(p.Get(-1, 0).has_value());
    EXPECT_EQ(p.Bytes()[4 * (1 * 3 + 2) + 2], 3);  // red of (2,1), rows top-down, no padding
    EXPECT_FALSE(PixelBuffer::TryCreate(32768, 1).has_value());
    EXPECT_FALSE(PixelBuffer::TryCreate(-1, 1).has_value());
    EXPECT_FALSE(PixelBuffer::FromBytes(2, 2, std::vector<uint8_t>(15)).has_value());
}

TEST(PixelBuffer, ColourWordsHaveRedInTheLowByte) {
    Bgra c = ColorWordToBgra(0x00332211);
    EXPECT_EQ(c, (Bgra{0x33, 0x22, 0x11, 255}));
    EXPECT_EQ(BgraToColorWord(c), 0x00332211);
}

TEST(FlipAndInvert, ReversesRowsAndComplementsTheFourthByte) {
    // Three rows: the middle one stays, the outer two swap.
    PixelBuffer p(1, 3);
    p.Set(0, 0, {1, 1, 1, 0});
    p.Set(0, 1, {2, 2, 2, 10});
    p.Set(0, 2, {3, 3, 3, 255});
    FlipAndInvert(p, true, true);
    EXPECT_EQ(*p.Get(0, 0), (Bgra{3, 3, 3, 0}));
    EXPECT_EQ(*p.Get(0, 1), (Bgra{2, 2, 2, 245}));
    EXPECT_EQ(*p.Get(0, 2), (Bgra{1, 1, 1, 255}));

    PixelBuffer q(2, 4);
    q.Set(1, 0, {9, 9, 9, 9});
    PixelBuffer original = q;
    FlipAndInvert(q, true, false);
    EXPECT_EQ(*q.Get(1, 3), (Bgra{9, 9, 9, 9}));
    FlipAndInvert(q, true, false);
    EXPECT_EQ(q, original);
}

}  // namespace
}  // namespace brv
