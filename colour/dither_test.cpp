#include "colour/dither.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace brv {
namespace {

// A one-row picture from (r, g, b) triples, opaque.
PixelBuffer Row(std::initializer_list<std::array<int, 3>> rgb) {
    PixelBuffer p(static_cast<int32_t>(rgb.size()), 1);
    int32_t x = 0;
    for (const auto& c : rgb)
        p.Set(x++, 0,
              {static_cast<uint8_t>(c[2]), static_cast<uint8_t>(c[1]), static_cast<uint8_t>(c[0]),
               255});
    return p;
}

std::vector<uint8_t> Palette(std::initializer_list<std::array<int, 3>> rgb) {
    std::vector<uint8_t> out;
    for (const auto& c : rgb) {
        out.push_back(static_cast<uint8_t>(c[2]));
        out.push_back(static_cast<uint8_t>(c[1]));
        out.push_back(static_cast<uint8_t>(c[0]));
        out.push_back(0);
    }
    return out;
}

TEST(Dither, OneColourRunsAsTwoAndGivesBlackAndWhiteByBrightness) {
    // After division by 16: dark red (R 6) and grey (12, 12, 12). Both are tallied once, black
    // not at all; the sort leaves grey before red, so the classes are grey then red. Grey is
    // the brighter class, so entry 0 turns white and entry 1 black.
    PixelBuffer p = Row({{100, 0, 0}, {200, 200, 200}});
    std::vector<uint8_t> idx, pal;
    ASSERT_EQ(Dither(p, idx, pal, 1), 0);
    EXPECT_EQ(idx, (std::vector<uint8_t>{1, 0}));
    EXPECT_EQ(pal, Palette({{255, 255, 255}, {0, 0, 0}, {0, 0, 0}}));
    // The source keeps its divided channels and its alpha.
    EXPECT_EQ(p.Get(0, 0), (Bgra{0, 0, 6, 255}));
    EXPECT_EQ(p.Get(1, 0), (Bgra{12, 12, 12, 255}));
}

TEST(Dither, KnownColoursAreTalliedToTheNewestEntry) {
    // Columns A B A A A C D with A red 15, B green 15, C blue 15, D blue 8 (after division).
    // The three A after B count for B, so the ranks are black 0, A 1, B 4, C 1, D 1 and the
    // quick sort leaves black, C, D, A, B: the classes are D, A, B and C joins D.
    // A true count would have ranked A last and given the classes B, D, A instead.
    PixelBuffer p = Row({{255, 0, 0},
                         {0, 255, 0},
                         {255, 0, 0},
                         {255, 0, 0},
                         {255, 0, 0},
                         {0, 0, 255},
                         {0, 0, 128}});
    std::vector<uint8_t> idx, pal;
    ASSERT_EQ(Dither(p, idx, pal, 3), 0);
    EXPECT_EQ(idx, (std::vector<uint8_t>{1, 2, 1, 1, 1, 0, 0}));
    // Class D: blue sums 8 (seed) + 15 + 8 over 3 pixels, 10.33 * 17 = 175.67 -> 176.
    EXPECT_EQ(pal, Palette({{0, 0, 176}, {255, 0, 0}, {0, 255, 0}, {0, 0, 0}}));
}

TEST(Dither, QuickSortPivotRoundsHalvesToEven) {
    // Tallies black 2, A 3, B 1, C 3, D 2 (K is black). The pivot of positions 2..5 is 4 when
    // 3.5 rounds to even, and the sort ends B, black, D, C, A; a pivot of 3 would end
    // B, D, black, A, C.
    const std::array<int, 3> k{0, 0, 0}, a{255, 0, 0}, b{0, 255, 0}, c{0, 0, 255}, d{255, 255, 0};
    PixelBuffer p = Row({k, k, a, k, k, b, c, k, k, d, k});
    std::vector<uint8_t> idx, pal;
    ASSERT_EQ(Dither(p, idx, pal, 5), 0);
    EXPECT_EQ(idx, (std::vector<uint8_t>{1, 1, 4, 1, 1, 0, 3, 1, 1, 2, 1}));
    EXPECT_EQ(pal, Palette({b, k, d, c, a, k}));
}

TEST(Dither, FewerColoursThanAskedLeaveBlackClassesAtTheEnd) {
    PixelBuffer p = Row({{255, 0, 0}, {255, 0, 0}});
    std::vector<uint8_t> idx, pal;
    ASSERT_EQ(Dither(p, idx, pal, 4), 0);
    // Classes: black (entry 1), red, then two blanks appended after the sort.
    EXPECT_EQ(idx, (std::vector<uint8_t>{1, 1}));
    EXPECT_EQ(pal, Palette({{0, 0, 0}, {255, 0, 0}, {0, 0, 0}, {0, 0, 0}, {0, 0, 0}}));
}

TEST(Dither, UpToNineteenColoursWorkOnSixteenLevels) {
    std::mt19937 rng(7);
    PixelBuffer p(23, 17);
    for (auto& b : p.Bytes())
        b = static_cast<uint8_t>(rng());
    std::vector<uint8_t> idx, pal;
    ASSERT_EQ(Dither(p, idx, pal, 19), 0);
    for (int32_t y = 0; y < p.Height(); ++y)
        for (int32_t x = 0; x < p.Width(); ++x) {
            const auto px = *p.Get(x, y);
            EXPECT_LE(std::max({px.b, px.g, px.r}), 15);
        }
    ASSERT_EQ(idx.size(), 23u * 17u);
    ASSERT_EQ(pal.size(), 20u * 4u);
    for (uint8_t i : idx)
        EXPECT_LT(i, 19);
    for (size_t i = 3; i < pal.size(); i += 4)
        EXPECT_EQ(pal[i], 0);

    // Twenty colours and more keep the full channels.
    PixelBuffer q(4, 4);
    for (auto& b : q.Bytes())
        b = 200;
    ASSERT_EQ(Dither(q, idx, pal, 20), 0);
    EXPECT_EQ(q.Get(3, 3), (Bgra{200, 200, 200, 200}));
}

TEST(Dither, FromTwoHundredAndOneColoursIsolationWeighs) {
    // Columns A A A B C with A (10,10,10), B (11,10,10), C (200,0,0), no division. The tally is
    // A 3, B 1, C 1, black 0. Nearest distances: A 1, B 1, C 35921 (to B), black 300 (to A).
    // Keys Count * Nearest: black 0, A 3, B 1, C 35921, so the order is black, B, A, C.
    PixelBuffer p = Row({{10, 10, 10}, {10, 10, 10}, {10, 10, 10}, {11, 10, 10}, {200, 0, 0}});
    PixelBuffer copy = p;
    std::vector<uint8_t> idx, pal;
    ASSERT_EQ(Dither(p, idx, pal, 201), 0);
    EXPECT_EQ(idx, (std::vector<uint8_t>{2, 2, 2, 1, 3}));
    ASSERT_EQ(pal.size(), 202u * 4u);
    EXPECT_EQ(std::vector<uint8_t>(pal.begin(), pal.begin() + 16),
              Palette({{0, 0, 0}, {11, 10, 10}, {10, 10, 10}, {200, 0, 0}}));

    // By the tally alone (200 colours) the order is black, B, C, A.
    ASSERT_EQ(Dither(copy, idx, pal, 200), 0);
    EXPECT_EQ(idx, (std::vector<uint8_t>{3, 3, 3, 1, 2}));
}

TEST(Dither, NearestDistancesMatchEveryPair) {
    std::mt19937 rng(11);
    for (int round = 0; round < 20; ++round) {
        std::vector<Bgra> colors(1 + rng() % 300);
        const int spread = round % 2 ? 256 : 24;  // dense and sparse clouds
        for (auto& c : colors)
            c = {static_cast<uint8_t>(rng() % spread), static_cast<uint8_t>(rng() % spread),
                 static_cast<uint8_t>(rng() % 256), 0};
        const auto got = NearestColorDistances(colors);
        ASSERT_EQ(got.size(), colors.size());
        for (size_t i = 0; i < colors.size(); ++i) {
            int64_t best = 196608;
            for (size_t j = 0; j < colors.size(); ++j) {
                if (i == j) continue;
                const int64_t db = colors[i].b - colors[j].b, dg = colors[i].g - colors[j].g,
                              dr = colors[i].r - colors[j].r;
                best = std::min(best, db * db + dg * dg + dr * dr);
            }
            ASSERT_EQ(got[i], best) << "round " << round << " colour " << i;
        }
    }
}

TEST(Dither, CancelLeavesTheResultUnsetAndProgressRunsToTheTotal) {
    PixelBuffer p(30, 4);
    std::vector<uint8_t> idx{9}, pal{9};
    int calls = 0;
    EXPECT_EQ(Dither(p, idx, pal, 16,
                     [&](int32_t, int32_t, int16_t& cancel) {
                         if (++calls == 2) cancel = -1;
                     }),
              kDitherCancelled);
    EXPECT_EQ(calls, 2);
    EXPECT_EQ(idx, (std::vector<uint8_t>{9}));
    EXPECT_EQ(pal, (std::vector<uint8_t>{9}));

    std::vector<std::pair<int32_t, int32_t>> seen;
    ASSERT_EQ(Dither(p, idx, pal, 16,
                     [&](int32_t pos, int32_t total, int16_t&) { seen.emplace_back(pos, total); }),
              0);
    ASSERT_FALSE(seen.empty());
    EXPECT_EQ(seen.front().first, 0);
    EXPECT_EQ(seen.back().first, 90);
    for (size_t i = 0; i < seen.size(); ++i) {
        EXPECT_EQ(seen[i].second, 90);
        if (i) {
            EXPECT_LE(seen[i - 1].first, seen[i].first);
        }
    }

    EXPECT_EQ(Dither(p, idx, pal, 257), kDitherTooManyColors);
}

TEST(UseColorBit, DepthByColourCountAndSoftAlpha) {
    auto withColours = [](int n) {
        PixelBuffer p(n, 2);
        for (int x = 0; x < n; ++x) {
            p.Set(x, 0, {static_cast<uint8_t>(x), static_cast<uint8_t>(x / 256), 7, 255});
            p.Set(x, 1, {static_cast<uint8_t>(x), static_cast<uint8_t>(x / 256), 7, 0});
        }
        return UseColorBit(p);
    };
    EXPECT_EQ(withColours(1), 0);
    EXPECT_EQ(withColours(2), 1);
    EXPECT_EQ(withColours(3), 4);
    EXPECT_EQ(withColours(16), 4);
    EXPECT_EQ(withColours(17), 8);
    EXPECT_EQ(withColours(255), 8);
    EXPECT_EQ(withColours(256), 32);  // 256 colours already take 32 bits
    EXPECT_EQ(withColours(1000), 32);

    PixelBuffer one(8, 8);
    one.Fill({1, 2, 3, 255});
    EXPECT_EQ(UseColorBit(one), 0);
    one.Set(5, 6, {1, 2, 3, 100});
    EXPECT_EQ(UseColorBit(one), 32);
    EXPECT_EQ(UseColorBit(PixelBuffer()), 0);
}

}  // namespace
}  // namespace brv
