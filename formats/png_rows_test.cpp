#include "formats/png_rows.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <random>

namespace brv {
namespace {

PNGHeader Header(uint32_t w, uint32_t h, uint8_t depth, uint8_t type) {
    PNGHeader hd;
    hd.Width = w;
    hd.Height = h;
    hd.BitDepth = depth;
    hd.ColorType = type;
    return hd;
}

TEST(PNGRows, BytesPerPixelRules) {
    struct Case {
        uint8_t depth, type;
        int32_t reader, adam7, writer;
    };
    // The reader's 7 and 3 for 16-bit RGBA and grey+alpha are intended.
    const Case cases[] = {
        {1, 0, 1, 0, 1},  {2, 0, 1, 0, 1},  {4, 0, 1, 0, 1},  {8, 0, 1, 1, 1},
        {16, 0, 2, 2, 2}, {8, 2, 3, 3, 3},  {16, 2, 6, 6, 6}, {1, 3, 1, 0, 1},
        {4, 3, 1, 0, 1},  {8, 3, 1, 1, 1},  {8, 4, 2, 2, 2},  {16, 4, 3, 3, 4},
        {8, 6, 4, 4, 4},  {16, 6, 7, 7, 8}, {2, 2, 1, 0, 1},  {4, 2, 2, 1, 1},
    };
    for (const Case& c : cases) {
        const PNGHeader h = Header(1, 1, c.depth, c.type);
        EXPECT_EQ(ReaderBytesPerPixel(h), c.reader) << int{c.depth} << "/" << int{c.type};
        EXPECT_EQ(Adam7BytesPerPixel(h), c.adam7) << int{c.depth} << "/" << int{c.type};
        EXPECT_EQ(WriterBytesPerPixel(h), c.writer) << int{c.depth} << "/" << int{c.type};
    }
}

TEST(PNGRows, Adam7CountsMatchThePublishedCeiling) {
    for (int32_t side = 0; side < 40; ++side)
        for (const Adam7Pass& p : kAdam7Passes) {
            const int32_t published =
                side > p.xStart ? (side - p.xStart + p.xStep - 1) / p.xStep : 0;
            EXPECT_EQ(Adam7Count(side, p.xStart, p.xStep), published) << side;
        }
}

TEST(PNGRows, PredictorsByHand) {
    // Average floors: left 255, above 254 predicts 254.
    std::vector<uint8_t> row{255, 1};
    std::vector<uint8_t> prior{0, 254};
    ASSERT_TRUE(UnfilterRow(3, row, prior, 1));
    EXPECT_EQ(row[1], static_cast<uint8_t>(1 + 254));

    // Paeth: a = left, b = above, c = upper left; ties go a, then b.
    auto paeth = [](uint8_t a, uint8_t b, uint8_t c) {
        std::vector<uint8_t> r{a, 0};
        std::vector<uint8_t> p{c, b};
        r[0] = static_cast<uint8_t>(a - c);  // so that the first byte unfilters to a
        UnfilterRow(4, r, p, 1);
        return r[1];
    };
    EXPECT_EQ(paeth(10, 20, 15), 15);  // pa 5, pb 5, pc 0
    EXPECT_EQ(paeth(10, 20, 10), 20);  // pb 0
    EXPECT_EQ(paeth(1, 7, 5), 1);      // pa = pc = 2: left
    EXPECT_EQ(paeth(7, 1, 5), 1);      // pb = pc = 2: above
    EXPECT_EQ(paeth(0, 9, 9), 0);      // pa 0
    std::vector<uint8_t> unknown{1, 2};
    EXPECT_FALSE(UnfilterRow(5, unknown, {}, 1));
    EXPECT_EQ(unknown, (std::vector<uint8_t>{1, 2}));
}

TEST(PNGRows, FilterThenUnfilterGivesTheRowBack) {
    std::mt19937 rng(7);
    for (int32_t bpp : {1, 2, 3, 4, 6, 7, 8})
        for (int32_t type = 0; type <= 4; ++type)
            for (bool withPrior : {false, true}) {
                std::vector<uint8_t> row(37), prior(37), out(37);
                for (auto& b : row)
                    b = static_cast<uint8_t>(rng());
                for (auto& b : prior)
                    b = static_cast<uint8_t>(rng());
                std::span<const uint8_t> p =
                    withPrior ? std::span<const uint8_t>(prior) : std::span<const uint8_t>{};
                FilterRow(type, row, p, bpp, out);
                ASSERT_TRUE(UnfilterRow(static_cast<uint8_t>(type), out, p, bpp));
                EXPECT_EQ(out, row) << bpp << " " << type << " " << withPrior;
            }
}

// The size zlib's own compress() gives.
size_t CompressSize(const std::vector<uint8_t>& data) {
    uLongf size = compressBound(static_cast<uLong>(data.size()));
    std::vector<uint8_t> out(size);
    compress(out.data(), &size, data.data(), static_cast<uLong>(data.size()));
    return size;
}

TEST(PNGRows, BestOfFivePicksTheSmallestCompressFirstOnTies) {
    const PNGHeader h = Header(24, 12, 8, 6);
    const size_t rowBytes = WriterRowBytes(h);
    std::vector<uint8_t> rows(rowBytes * h.Height);
    std::mt19937 rng(3);
    for (size_t i = 0; i < rows.size(); ++i)  // gradients with some noise
        rows[i] = static_cast<uint8_t>((i % rowBytes) * 3 + (i / rowBytes) * 5 + (rng() % 4));
    // Rows 5 to 8 repeat row 4, so some rows see the same row above as the row before them.
    for (size_t y = 5; y <= 8; ++y)
        std::copy_n(rows.begin() + 4 * rowBytes, rowBytes, rows.begin() + y * rowBytes);
    int32_t hooks = 0;
    const auto out = FilterRows(rows, 5, h, [&](int32_t done, int32_t total) {
        EXPECT_EQ(done, ++hooks);
        EXPECT_EQ(total, 12);
    });
    EXPECT_EQ(hooks, 12);
    ASSERT_EQ(out.size(), (rowBytes + 1) * h.Height);
    for (uint32_t y = 0; y < h.Height; ++y) {
        std::span<const uint8_t> row(rows.data() + y * rowBytes, rowBytes);
        std::span<const uint8_t> prior;
        if (y) prior = {rows.data() + (y - 1) * rowBytes, rowBytes};
        size_t best = 99999;
        int32_t bestType = -1;
        for (int32_t type = 0; type <= 4; ++type) {
            std::vector<uint8_t> trial(rowBytes + 1);
            trial[0] = static_cast<uint8_t>(type);
            FilterRow(type, row, prior, 4, {trial.data() + 1, rowBytes});
            if (CompressSize(trial) < best) {
                best = CompressSize(trial);
                bestType = type;
            }
        }
        EXPECT_EQ(out[y * (rowBytes + 1)], bestType) << y;
    }

    // A single filter for every row.
    for (int32_t f = 0; f <= 4; ++f) {
        const auto fixed = FilterRows(rows, f, h, nullptr);
        for (uint32_t y = 0; y < h.Height; ++y)
            EXPECT_EQ(fixed[y * (rowBytes + 1)], f);
    }
}

TEST(PNGRows, BestOfFiveLeavesRowsThatNeverGetUnder99999Zero) {
    const PNGHeader h = Header(30000, 2, 8, 6);  // 120000 bytes of noise a row
    std::vector<uint8_t> rows(WriterRowBytes(h) * 2);
    std::mt19937 rng(11);
    for (auto& b : rows)
        b = static_cast<uint8_t>(rng());
    const auto out = FilterRows(rows, 5, h, nullptr);
    ASSERT_EQ(out.size(), 2 * (120000u + 1));
    EXPECT_TRUE(std::all_of(out.begin(), out.end(), [](uint8_t b) { return b == 0; }));
}

TEST(PNGRows, Adam7WriteCutsThePassesAndSkipsEmptyOnes) {
    // 3x2 grey: pass 1 (0,0); 4 (2,0); 6 (1,0); 7 (0..2,1). Passes 2, 3 and 5 are empty.
    const PNGHeader h = Header(3, 2, 8, 0);
    const std::vector<uint8_t> rows{1, 2, 3, 4, 5, 6};
    std::vector<int32_t> seen;
    const auto out = Adam7Write(
        rows, 0, h, [&](int32_t p) { seen.push_back(p); }, nullptr);
    EXPECT_EQ(seen, (std::vector<int32_t>{0, 1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(out, (std::vector<uint8_t>{0, 1, 0, 3, 0, 2, 0, 4, 5, 6}));
}

}  // namespace
}  // namespace brv
