#include "colour/dither.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>
#include <unordered_map>
#include <utility>

#include "core/arith.h"

namespace brv {

namespace {

// Above any squared distance of two colours (3 * 255 * 255 = 195075): the "no neighbour yet"
// value of a colour and the start of every nearest-class search.
constexpr int32_t kFarthest = 196608;
// From this many colours on, a colour's isolation weighs in its rank.
constexpr int32_t kIsolationFrom = 201;

// One colour found in the picture, with the divided channels.
struct ColorEntry {
    int32_t B = 0;
    int32_t G = 0;
    int32_t R = 0;
    int32_t Key = 0;    // B * 65536 + G * 256 + R
    int32_t Count = 0;  // pixels tallied (see the tally in Dither)
    // Smallest squared distance to another entry, then the sort key. Wider than the 32 bits
    // the tally would suggest: Count * distance does not fit them for large pictures.
    int64_t Nearest = kFarthest;
};

// One class of the result: a centre that stays put and the sums of the pixels assigned to it.
struct ColorClass {
    int32_t B = 0;
    int32_t G = 0;
    int32_t R = 0;
    double SumB = 0;
    double SumG = 0;
    double SumR = 0;
    int32_t ClassCount = 1;
};

int32_t SquaredDistance(int32_t b0, int32_t g0, int32_t r0, int32_t b1, int32_t g1, int32_t r1) {
    return (b0 - b1) * (b0 - b1) + (g0 - g1) * (g0 - g1) + (r0 - r1) * (r0 - r1);
}

// (lo + hi) / 2 rounded the runtime's way: a half goes to the even neighbour.
ptrdiff_t MiddleIndex(ptrdiff_t lo, ptrdiff_t hi) {
    const ptrdiff_t sum = lo + hi;
    ptrdiff_t m = sum / 2;
    if (sum % 2 != 0 && m % 2 != 0) ++m;
    return m;
}

// Hoare's quick sort with the middle element's key as the pivot, ascending by Nearest. Equal
// keys end up in the order this particular sort leaves them, which decides the classes.
void QuickSortByNearest(std::vector<ColorEntry>& e, ptrdiff_t lo, ptrdiff_t hi) {
    while (lo < hi) {
        ptrdiff_t i = lo;
        ptrdiff_t j = hi;
        const int64_t pivot = e[static_cast<size_t>(MiddleIndex(lo, hi))].Nearest;
        do {
            while (e[static_cast<size_t>(i)].Nearest < pivot)
                ++i;
            while (e[static_cast<size_t>(j)].Nearest > pivot)
                --j;
            if (i <= j) {
                std::swap(e[static_cast<size_t>(i)], e[static_cast<size_t>(j)]);
                ++i;
                --j;
            }
        } while (i <= j);
        // The two sides are independent, so sorting the smaller one first by recursion and the
        // larger one in this loop gives the same order with a shallow stack.
        if (j - lo < hi - i) {
            QuickSortByNearest(e, lo, j);
            lo = i;
        } else {
            QuickSortByNearest(e, i, hi);
            hi = j;
        }
    }
}

// For every entry from 1 on, the smallest squared distance to any other entry, kept where it is
// below the entry's present Nearest. The pairs are searched through a grid of cells, shell by
// shell, which finds the same minimum as comparing every pair.
// onEntry(i) runs after entry i and returns true to stop.
template <class OnEntry>
bool FindNearestDistances(std::vector<ColorEntry>& list, OnEntry onEntry) {
    constexpr int kShift = 3;  // cells of 8 levels a channel
    constexpr int kCells = 256 >> kShift;
    auto cellOf = [](int32_t v) { return Clamp(v >> kShift, 0, kCells - 1); };
    auto cellIndex = [](int bx, int by, int bz) { return (bx * kCells + by) * kCells + bz; };

    std::vector<uint32_t> start(kCells * kCells * kCells + 1, 0);
    for (size_t i = 1; i < list.size(); ++i)
        ++start[static_cast<size_t>(
                    cellIndex(cellOf(list[i].B), cellOf(list[i].G), cellOf(list[i].R))) +
                1];
    for (size_t c = 1; c < start.size(); ++c)
        start[c] += start[c - 1];
    std::vector<uint32_t> members(list.size());
    {
        std::vector<uint32_t> fill(start.begin(), start.end() - 1);
        for (size_t i = 1; i < list.size(); ++i) {
            const int c = cellIndex(cellOf(list[i].B), cellOf(list[i].G), cellOf(list[i].R));
            members[fill[static_cast<size_t>(c)]++] = static_cast<uint32_t>(i);
        }
    }

    for (size_t i = 1; i < list.size(); ++i) {
        ColorEntry& e = list[i];
        int64_t best = e.Nearest;
        const int bx = cellOf(e.B), by = cellOf(e.G), bz = cellOf(e.R);
        for (int r = 0; r < kCells; ++r) {
            for (int x = std::max(bx - r, 0); x <= std::min(bx + r, kCells - 1); ++x)
                for (int y = std::max(by - r, 0); y <= std::min(by + r, kCells - 1); ++y)
                    for (int z = std::max(bz - r, 0); z <= std::min(bz + r, kCells - 1); ++z) {
                        if (std::max({std::abs(x - bx), std::abs(y - by), std::abs(z - bz)}) != r)
                            continue;
                        const int c = cellIndex(x, y, z);
                        for (uint32_t k = start[static_cast<size_t>(c)];
                             k < start[static_cast<size_t>(c) + 1]; ++k) {
                            const ColorEntry& o = list[members[k]];
                            if (members[k] == i) continue;
                            best = std::min<int64_t>(best,
                                                     SquaredDistance(e.B, e.G, e.R, o.B, o.G, o.R));
                        }
                    }
            // Anything in a farther shell differs by more than r cells on some channel.
            const int64_t bound = (int64_t{r} << kShift) + 1;
            if (best <= bound * bound) break;
        }
        e.Nearest = best;
        if (onEntry(i)) return true;
    }
    return false;
}

}  // namespace

std::vector<int64_t> NearestColorDistances(std::span<const Bgra> colors) {
    std::vector<ColorEntry> list(colors.size() + 1);
    for (size_t i = 0; i < colors.size(); ++i) {
        list[i + 1].B = colors[i].b;
        list[i + 1].G = colors[i].g;
        list[i + 1].R = colors[i].r;
    }
    FindNearestDistances(list, [](size_t) { return false; });
    std::vector<int64_t> out;
    for (size_t i = 1; i < list.size(); ++i)
        out.push_back(list[i].Nearest);
    return out;
}

int32_t Dither(PixelBuffer& srcDATA, std::vector<uint8_t>& dstDATA, std::vector<uint8_t>& dstPLTE,
               int32_t ColorCount, const DitherProgress& progress) {
    if (ColorCount < 2) ColorCount = 2;
    if (ColorCount > 256) return kDitherTooManyColors;
    // Few colours: reduce to 16 levels a channel first, which keeps the colour list short.
    const int32_t divisor = ColorCount <= 19 ? 16 : 1;
    const int32_t width = srcDATA.Width();
    const int32_t height = srcDATA.Height();
    const int32_t total = 3 * width;
    int16_t cancel = 0;
    auto raise = [&](int32_t position) {
        if (progress) progress(position, total, cancel);
        return cancel != 0;
    };

    if (raise(0)) return kDitherCancelled;

    // Entry 0 stays unused; entry 1 is black, whether or not the picture has it.
    std::vector<ColorEntry> list(2);
    std::unordered_map<int32_t, uint32_t> byKey;
    byKey.emplace(0, 1);
    for (int32_t x = 0; x < width; ++x) {
        for (int32_t y = 0; y < height; ++y) {
            uint8_t* px = srcDATA.PixelPtr(x, y);
            px[0] = static_cast<uint8_t>(px[0] / divisor);
            px[1] = static_cast<uint8_t>(px[1] / divisor);
            px[2] = static_cast<uint8_t>(px[2] / divisor);
            const int32_t key = px[0] * 65536 + px[1] * 256 + px[2];
            if (byKey.contains(key)) {
                // Intended: a known colour adds to the newest entry, not to the one found, so
                // the counts measure runs of known colours after each new one.
                ++list.back().Count;
            } else {
                byKey.emplace(key, static_cast<uint32_t>(list.size()));
                ColorEntry e;
                e.B = px[0];
                e.G = px[1];
                e.R = px[2];
                e.Key = key;
                e.Count = 1;
                list.push_back(e);
            }
        }
        if ((x + 1) % 10 == 0 && raise(x + 1)) return kDitherCancelled;
    }
    byKey.clear();

    const size_t entries = list.size() - 1;
    // The event of the pair pass: raised for nearly every entry (all numbers but multiples
    // of 10), with the position spread over the second third.
    auto pairProgress = [&](size_t i) {
        if (i % 10 == 0) return false;
        return raise(width + static_cast<int32_t>(static_cast<int64_t>(i) * width /
                                                  static_cast<int64_t>(entries)));
    };
    if (ColorCount >= kIsolationFrom) {
        if (FindNearestDistances(list, pairProgress)) return kDitherCancelled;
    } else {
        // The distances only weigh from kIsolationFrom colours on; the events still run.
        for (size_t i = 1; i <= entries; ++i)
            if (pairProgress(i)) return kDitherCancelled;
    }

    for (size_t i = 1; i < list.size(); ++i) {
        ColorEntry& e = list[i];
        e.Nearest = ColorCount < kIsolationFrom ? e.Count : e.Count * e.Nearest;
    }
    QuickSortByNearest(list, 1, static_cast<ptrdiff_t>(entries));

    // Too few colours: blank (black) classes go at the end, after the sort.
    if (entries < static_cast<size_t>(ColorCount)) list.resize(static_cast<size_t>(ColorCount) + 1);
    const size_t first = list.size() - static_cast<size_t>(ColorCount);

    std::vector<ColorClass> classes(static_cast<size_t>(ColorCount));
    for (size_t c = 0; c < classes.size(); ++c) {
        const ColorEntry& e = list[first + c];
        classes[c].B = e.B;
        classes[c].G = e.G;
        classes[c].R = e.R;
        classes[c].SumB = e.B;
        classes[c].SumG = e.G;
        classes[c].SumR = e.R;
    }
    list.clear();
    list.shrink_to_fit();

    // One assignment pass; the centres don't move while it runs.
    std::vector<uint8_t> indices(static_cast<size_t>(width) * static_cast<size_t>(height));
    std::unordered_map<int32_t, uint8_t> nearestClass;
    for (int32_t x = 0; x < width; ++x) {
        for (int32_t y = 0; y < height; ++y) {
            const uint8_t* px = srcDATA.PixelPtr(x, y);
            const int32_t key = px[0] * 65536 + px[1] * 256 + px[2];
            uint8_t index = 0;
            if (auto it = nearestClass.find(key); it != nearestClass.end()) {
                index = it->second;
            } else {
                int32_t best = kFarthest;
                for (size_t c = 0; c < classes.size(); ++c) {
                    const int32_t d = SquaredDistance(px[0], px[1], px[2], classes[c].B,
                                                      classes[c].G, classes[c].R);
                    if (d < best) {
                        best = d;
                        index = static_cast<uint8_t>(c);
                    }
                }
                nearestClass.emplace(key, index);
            }
            indices[static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)] =
                index;
            ColorClass& k = classes[index];
            k.SumB += px[0];
            k.SumG += px[1];
            k.SumR += px[2];
            ++k.ClassCount;
        }
        if ((x + 1) % 5 == 0 && raise(x + 2 * width)) return kDitherCancelled;
    }

    // Back to 8 bits: 255 / (255 div divisor), so 17 for 16 levels and 1 otherwise.
    const double multiplier = 255.0 / (255 / divisor);
    std::vector<uint8_t> palette((static_cast<size_t>(ColorCount) + 1) * 4, 0);
    for (size_t c = 0; c < classes.size(); ++c) {
        const ColorClass& k = classes[c];
        palette[4 * c] = static_cast<uint8_t>(Round(k.SumB / k.ClassCount * multiplier));
        palette[4 * c + 1] = static_cast<uint8_t>(Round(k.SumG / k.ClassCount * multiplier));
        palette[4 * c + 2] = static_cast<uint8_t>(Round(k.SumR / k.ClassCount * multiplier));
    }
    if (ColorCount == 2) {
        // Two colours are always pure black and white, the darker class staying black.
        const int s0 = palette[0] + palette[1] + palette[2];
        const int s1 = palette[4] + palette[5] + palette[6];
        const uint8_t v0 = s0 < s1 ? 0 : 255;
        std::fill_n(palette.begin(), 3, v0);
        std::fill_n(palette.begin() + 4, 3, static_cast<uint8_t>(255 - v0));
    }

    raise(total);
    dstDATA = std::move(indices);
    dstPLTE = std::move(palette);
    return 0;
}

int32_t UseColorBit(const PixelBuffer& srcDATA) {
    if (srcDATA.Empty()) return 0;
    // The colours seen so far, as 0x00RRGGBB + 1 in a small open-addressed table; the count
    // stops mattering beyond 257, so 1024 slots never fill.
    std::array<uint32_t, 1024> slots{};
    int32_t colors = 0;
    auto add = [&](const uint8_t* px) {
        const uint32_t v = (uint32_t{px[2]} << 16 | uint32_t{px[1]} << 8 | px[0]) + 1;
        size_t h = (v * 2654435761u) >> 22;
        while (slots[h] != 0) {
            if (slots[h] == v) return;
            h = (h + 1) & (slots.size() - 1);
        }
        slots[h] = v;
        ++colors;
    };
    add(srcDATA.Bytes().data());
    // Neither test depends on the order of the walk, so rows go in memory order.
    for (int32_t y = 0; y < srcDATA.Height(); ++y) {
        const uint8_t* px = srcDATA.Row(y);
        for (int32_t x = 0; x < srcDATA.Width(); ++x, px += 4) {
            add(px);
            if ((px[3] != 0 && px[3] != 255) || colors > 257) return 32;
        }
    }
    if (colors >= 256) return 32;
    if (colors >= 17) return 8;
    if (colors >= 3) return 4;
    if (colors == 2) return 1;
    return 0;
}

}  // namespace brv
