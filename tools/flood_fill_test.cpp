#include "tools/flood_fill.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <deque>
#include <random>
#include <vector>

#include "core/arith.h"

namespace brv {
namespace {

PixelBuffer OnePixel(Bgra c) {
    PixelBuffer p(1, 1);
    p.Set(0, 0, c);
    return p;
}

// The fill exactly as its rules read: a queue of points, Filled and Queued marks, the test
// against the untouched layer, the paint into a separate copy. Slow and literal on purpose.
PixelBuffer ReferenceFill(const PixelBuffer& layer, int x, int y, const PixelBuffer& pat, int blend,
                          int tol) {
    PixelBuffer work = layer;
    const int w = layer.Width(), h = layer.Height();
    if (x < 0 || y < 0 || x >= w || y >= h) return work;
    const Bgra s = *layer.Get(x, y);
    auto test = [&](int px, int py) {
        const Bgra p = *layer.Get(px, py);
        const int q = std::abs(p.a + s.a) / 2;
        int d = std::abs(p.a - s.a);
        d = std::max(d, std::abs(p.b - s.b) * q / 255);
        d = std::max(d, std::abs(p.g - s.g) * q / 255);
        d = std::max(d, std::abs(p.r - s.r) * q / 255);
        return d <= tol;
    };
    auto paint = [&](int px, int py) {
        uint8_t* o = work.PixelPtr(px, py);
        const Bgra t = *pat.Get(px % pat.Width(), py % pat.Height());
        if (blend < 0 || blend > 255) {
            int a = o[3] + (t.a * (255 - blend)) / 255;
            o[3] = static_cast<uint8_t>(std::clamp(a, 0, 255));
            return;
        }
        const int sa = (t.a * (255 - blend)) / 255;
        const int da = static_cast<int>(Round(o[3] * (1 - sa / 255.0)));
        const int n = sa + da;
        if (n >= 1) {
            const uint8_t tc[3] = {t.b, t.g, t.r};
            for (int c = 0; c < 3; ++c)
                o[c] = static_cast<uint8_t>((da * o[c]) / n + (sa * tc[c]) / n);
        }
        o[3] = static_cast<uint8_t>(std::min(n, 255));
    };
    std::vector<char> filled(static_cast<size_t>(w * h), 0), queued(filled);
    std::deque<std::pair<int, int>> queue{{x, y}};
    std::pair<int, int> last{x, y};
    queued[static_cast<size_t>(y * w + x)] = 1;
    auto enqueue = [&](int px, int py) {
        const size_t i = static_cast<size_t>(py * w + px);
        if (filled[i] || std::make_pair(px, py) == last || queued[i]) return;
        queued[i] = 1;
        queue.emplace_back(px, py);
        last = {px, py};
    };
    while (!queue.empty()) {
        const auto [x0, row] = queue.front();
        queue.pop_front();
        if (!test(x0, row)) continue;
        int left = x0, right = x0;
        while (left - 1 >= 0 && test(left - 1, row))
            --left;
        while (right + 1 < w && test(right + 1, row))
            ++right;
        for (int i = left; i <= right; ++i)
            if (!filled[static_cast<size_t>(row * w + i)]) {
                paint(i, row);
                filled[static_cast<size_t>(row * w + i)] = 1;
            }
        for (int ny : {row - 1, row + 1}) {
            if (ny < 0 || ny >= h) continue;
            bool run = false;
            for (int i = left; i <= right; ++i) {
                if (test(i, ny)) {
                    run = true;
                    if (i == right) enqueue(i, ny);
                } else {
                    if (run) enqueue(i - 1, ny);
                    run = false;
                }
            }
        }
    }
    return work;
}

TEST(FloodFill, ToleranceZeroOnAnInvisibleLayerFillsEverythingWhateverTheHiddenColours) {
    PixelBuffer layer(9, 7);
    std::mt19937 rng(3);
    for (auto& b : layer.Bytes())
        b = static_cast<uint8_t>(rng());
    for (int y = 0; y < 7; ++y)
        for (int x = 0; x < 9; ++x)
            layer.PixelPtr(x, y)[3] = 0;
    FloodFill(layer, 4, 3, OnePixel({10, 20, 30, 255}), 0, 0, 0);
    for (int y = 0; y < 7; ++y)
        for (int x = 0; x < 9; ++x)
            EXPECT_EQ(*layer.Get(x, y), (Bgra{10, 20, 30, 255})) << x << "," << y;
}

TEST(FloodFill, APointOutsideOrAnEmptyPatternChangesNothing) {
    PixelBuffer layer(4, 4);
    const PixelBuffer before = layer;
    FloodFill(layer, 4, 0, OnePixel({1, 2, 3, 255}), 0, 255, 0);
    FloodFill(layer, -1, 2, OnePixel({1, 2, 3, 255}), 0, 255, 0);
    FloodFill(layer, 1, 1, PixelBuffer(), 0, 255, 0);
    EXPECT_EQ(layer, before);
}

TEST(FloodFill, BlendCoversFullyOrByItsShare) {
    PixelBuffer layer(2, 1);
    layer.Set(0, 0, {10, 20, 30, 200});
    PixelBuffer full = layer;
    // (5,2) = 255: blend 0, sa 255, the old pixel drops out entirely.
    FloodFill(full, 0, 0, OnePixel({200, 100, 50, 255}), 0, 0, 0);
    EXPECT_EQ(*full.Get(0, 0), (Bgra{200, 100, 50, 255}));
    // (5,2) = 128: blend 127, sa 128; da = Round(200 * 127 / 255) = 100, n = 228:
    // 1000/228 + 25600/228 = 4 + 112, 2000/228 + 12800/228 = 8 + 56, 3000/228 + 6400/228 = 13 + 28.
    FloodFill(layer, 0, 0, OnePixel({200, 100, 50, 255}), 127, 0, 0);
    EXPECT_EQ(*layer.Get(0, 0), (Bgra{116, 64, 41, 228}));
    EXPECT_EQ(*layer.Get(1, 0), (Bgra{0, 0, 0, 0}));  // does not match the seed
}

TEST(FloodFill, ABlendPastTheRangeMovesOnlyAlpha) {
    PixelBuffer layer(2, 1);
    layer.Set(0, 0, {10, 20, 30, 150});
    layer.Set(1, 0, {10, 20, 30, 150});
    // (5,2) = -100 from a played line: blend 355, e = -100.
    FloodFill(layer, 0, 0, OnePixel({99, 99, 99, 255}), 355, 0, 0);
    EXPECT_EQ(*layer.Get(1, 0), (Bgra{10, 20, 30, 50}));
    FloodFill(layer, 0, 0, OnePixel({99, 99, 99, 255}), 355, 0, 0);
    EXPECT_EQ(*layer.Get(0, 0), (Bgra{10, 20, 30, 0}));
}

TEST(FloodFill, APatternTilesFromTheLayersCornerNotTheClick) {
    PixelBuffer pat(3, 2);
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 3; ++x)
            pat.Set(x, y, {static_cast<uint8_t>(x * 10 + y), 0, 0, 255});
    PixelBuffer layer(7, 5);
    FloodFill(layer, 5, 3, pat, 0, 0, 0);
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 7; ++x)
            EXPECT_EQ(layer.Get(x, y)->b, (x % 3) * 10 + y % 2) << x << "," << y;
}

TEST(FloodFill, ColourDifferenceIsWeighedByTheAverageAlpha) {
    const uint8_t seed[4] = {0, 0, 0, 255};
    const uint8_t red[4] = {0, 0, 100, 255};
    EXPECT_FALSE(FillMatches(red, seed, 99));
    EXPECT_TRUE(FillMatches(red, seed, 100));
    // Average alpha 128: 100 * 128 div 255 = 50.
    const uint8_t halfSeed[4] = {0, 0, 0, 0};
    const uint8_t halfRed[4] = {0, 0, 100, 255};
    EXPECT_FALSE(FillMatches(halfRed, halfSeed, 254));  // alpha differs by 255
    const uint8_t a[4] = {0, 0, 100, 128};
    const uint8_t b[4] = {0, 0, 0, 128};
    EXPECT_TRUE(FillMatches(a, b, 50));
    EXPECT_FALSE(FillMatches(a, b, 49));
    EXPECT_FALSE(FillMatches(b, b, -1));  // a negative tolerance matches nothing, not even itself
}

TEST(FloodFill, OnlyFourWayNeighboursConnect) {
    // A diagonal wall: the two halves touch only at corners.
    PixelBuffer layer(5, 5);
    for (int i = 0; i < 5; ++i)
        layer.Set(i, i, {0, 0, 0, 255});
    FloodFill(layer, 4, 0, OnePixel({9, 9, 9, 255}), 0, 0, 0);
    EXPECT_EQ(layer.Get(4, 0)->b, 9);
    EXPECT_EQ(layer.Get(1, 0)->b, 9);
    EXPECT_EQ(layer.Get(0, 1)->a, 0);
    EXPECT_EQ(layer.Get(0, 4)->a, 0);
    EXPECT_EQ(layer.Get(2, 2)->b, 0);
}

TEST(FloodFill, MatchesTheLiteralQueueOnRandomLayers) {
    std::mt19937 rng(11);
    for (int round = 0; round < 300; ++round) {
        const int w = 1 + static_cast<int>(rng() % 23), h = 1 + static_cast<int>(rng() % 19);
        PixelBuffer layer(w, h);
        // Few distinct pixels, so regions are large and twisted; alpha is often low.
        const Bgra palette[4] = {{0, 0, 0, 0},
                                 {static_cast<uint8_t>(rng()), 40, 9, 255},
                                 {static_cast<uint8_t>(rng()), 30, 200, 20},
                                 {90, 90, 90, static_cast<uint8_t>(rng())}};
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x)
                layer.Set(x, y, palette[rng() % 4]);
        PixelBuffer pat(1 + static_cast<int>(rng() % 4), 1 + static_cast<int>(rng() % 3));
        for (auto& b : pat.Bytes())
            b = static_cast<uint8_t>(rng());
        const int blends[] = {0, 127, 255, 355, -20, static_cast<int>(rng() % 256)};
        const int tols[] = {0, 30, 255, static_cast<int>(rng() % 256)};
        const int blend = blends[rng() % 6];
        const int tol = tols[rng() % 4];
        const int x = static_cast<int>(rng() % static_cast<unsigned>(w + 2)) - 1;
        const int y = static_cast<int>(rng() % static_cast<unsigned>(h + 2)) - 1;
        const PixelBuffer expected = ReferenceFill(layer, x, y, pat, blend, tol);
        FloodFill(layer, x, y, pat, blend, tol, 0);
        ASSERT_EQ(layer, expected) << "round " << round;
    }
}

}  // namespace
}  // namespace brv
