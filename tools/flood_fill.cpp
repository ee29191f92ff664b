#include "tools/flood_fill.h"

#include <array>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "core/arith.h"

namespace brv {

namespace {

// Per-pixel state of a fill, one byte each.
constexpr uint8_t kMatch = 2;  // FillMatches says yes
constexpr uint8_t kFilled = 4;
constexpr uint8_t kQueued = 8;

uint32_t Word(const uint8_t* p) {
    uint32_t w;
    std::memcpy(&w, p, 4);
    return w;
}

struct Span {
    int32_t y, left, right;
};

struct Point {
    int32_t x, y;
    friend bool operator==(const Point&, const Point&) = default;
};

class Filler {
public:
    Filler(const PixelBuffer& layer, int32_t x, int32_t y, int32_t tolerance)
        : layer_(layer),
          w_(layer.Width()),
          h_(layer.Height()),
          tolerance_(tolerance),
          state_(static_cast<size_t>(w_) * static_cast<size_t>(h_), 0),
          rowTested_(static_cast<size_t>(h_), 0) {
        std::memcpy(seed_, layer.PixelPtr(x, y), 4);
        seedWord_ = Word(seed_);
    }

    // The spans of the connected region, each row's run once.
    std::vector<Span> Run(int32_t x, int32_t y) {
        std::vector<Span> spans;
        if (!Holds(x, y)) return spans;
        std::vector<Point> queue{{x, y}};
        Mark(x, y, kQueued);
        Point lastQueued{x, y};
        for (size_t head = 0; head < queue.size(); ++head) {
            const Point p = queue[head];
            // A point on a run that is already filled adds nothing: its whole run was filled
            // and both neighbouring rows were scanned then.
            if (Has(p.x, p.y, kFilled)) continue;
            const uint8_t* row = RowState(p.y);
            int32_t left = p.x;
            int32_t right = p.x;
            while (left > 0 && (row[left - 1] & kMatch))
                --left;
            while (right < w_ - 1 && (row[right + 1] & kMatch))
                ++right;
            std::memset(&state_[Index(left, p.y)], kMatch | kFilled,
                        static_cast<size_t>(right - left + 1));
            spans.push_back({p.y, left, right});
            for (int32_t ny : {p.y - 1, p.y + 1}) {
                if (ny < 0 || ny >= h_) continue;
                // Each maximal run of the neighbouring row inside left .. right gives one
                // point, its right end.
                const uint8_t* next = RowState(ny);
                for (int32_t i = left; i <= right; ++i) {
                    if (!(next[i] & kMatch)) continue;
                    // A filled pixel's whole run is filled: it would be refused.
                    if (next[i] & kFilled) {
                        while (i < right && (next[i + 1] & kMatch))
                            ++i;
                        continue;
                    }
                    while (i < right && (next[i + 1] & kMatch))
                        ++i;
                    Enqueue(queue, lastQueued, i, ny);
                }
            }
        }
        return spans;
    }

private:
    size_t Index(int32_t x, int32_t y) const {
        return static_cast<size_t>(y) * static_cast<size_t>(w_) + static_cast<size_t>(x);
    }
    bool Has(int32_t x, int32_t y, uint8_t bit) const { return (state_[Index(x, y)] & bit) != 0; }
    void Mark(int32_t x, int32_t y, uint8_t bit) { state_[Index(x, y)] |= bit; }

    bool Holds(int32_t x, int32_t y) { return (RowState(y)[x] & kMatch) != 0; }

    const uint8_t* RowState(int32_t y) {
        if (!rowTested_[static_cast<size_t>(y)]) TestRow(y);
        return &state_[Index(0, y)];
    }

    // A row is tested whole the first time the fill reaches it: one tight loop, where the
    // pixels equal to the seed (the common case) need no arithmetic.
    void TestRow(int32_t y) {
        rowTested_[static_cast<size_t>(y)] = 1;
        const uint8_t* p = layer_.Row(y);
        uint8_t* s = &state_[Index(0, y)];
        const uint8_t same = tolerance_ >= 0 ? kMatch : 0;
        for (int32_t x = 0; x < w_; ++x, p += 4) {
            if (Word(p) == seedWord_)
                s[x] |= same;
            else if (FillMatches(p, seed_, tolerance_))
                s[x] |= kMatch;
        }
    }

    void Enqueue(std::vector<Point>& queue, Point& lastQueued, int32_t x, int32_t y) {
        const Point p{x, y};
        if (Has(x, y, kFilled) || p == lastQueued || Has(x, y, kQueued)) return;
        Mark(x, y, kQueued);
        queue.push_back(p);
        lastQueued = p;
    }

    const PixelBuffer& layer_;
    int32_t w_, h_;
    int32_t tolerance_;
    std::vector<uint8_t> state_;
    std::vector<uint8_t> rowTested_;
    uint8_t seed_[4];
    uint32_t seedWord_;
};

// The paint of a pixel depends only on the old pixel and the pattern pixel, and a fill meets
// the same pair again and again; a small direct-mapped cache keeps the divisions off the
// common path.
class PaintCache {
public:
    explicit PaintCache(int32_t blend) : blend_(blend) {}

    uint32_t Paint(uint32_t pixel, uint32_t pattern) {
        const uint64_t key = (uint64_t{pixel} << 32) | pattern;
        const size_t slot = static_cast<size_t>((key * 0x9E3779B97F4A7C15ull) >> 56);
        Entry& e = entries_[slot];
        if (e.valid && e.key == key) return e.out;
        uint8_t px[4];
        uint8_t pat[4];
        std::memcpy(px, &pixel, 4);
        std::memcpy(pat, &pattern, 4);
        FillPaintPixel(px, pat, blend_);
        e = {key, Word(px), true};
        return e.out;
    }

private:
    struct Entry {
        uint64_t key = 0;
        uint32_t out = 0;
        bool valid = false;
    };
    int32_t blend_;
    std::array<Entry, 256> entries_{};
};

}  // namespace

bool FillMatches(const uint8_t* pixel, const uint8_t* seed, int32_t tolerance) {
    const int32_t dA = std::abs(pixel[3] - seed[3]);
    if (dA > tolerance) return false;
    const int32_t q = (pixel[3] + seed[3]) / 2;
    for (int c = 0; c < 3; ++c)
        if (std::abs(pixel[c] - seed[c]) * q / 255 > tolerance) return false;
    return true;
}

void FillPaintPixel(uint8_t* pixel, const uint8_t* pattern, int32_t blend) {
    // div truncates toward zero, also for the negative coverage of a blend above 255.
    const int64_t sa = int64_t{pattern[3]} * (255 - int64_t{blend}) / 255;
    if (blend < 0 || blend > 255) {
        // Only alpha moves. A blend below 0 cannot come from the pen window; its alpha above
        // 255 is kept at 255.
        pixel[3] = static_cast<uint8_t>(Clamp<int64_t>(pixel[3] + sa, 0, 255));
        return;
    }
    const int32_t da = RoundToInt(pixel[3] * (1.0 - static_cast<double>(sa) / 255.0));
    const int32_t n = static_cast<int32_t>(sa) + da;
    if (n < 1) return;
    for (int c = 0; c < 3; ++c)
        pixel[c] =
            static_cast<uint8_t>((da * pixel[c]) / n + (static_cast<int32_t>(sa) * pattern[c]) / n);
    // The real sum, unlike the pen's stamp.
    pixel[3] = static_cast<uint8_t>(std::min(n, 255));
}

void FloodFill(PixelBuffer& layer, int32_t x, int32_t y, const PixelBuffer& pattern, int32_t blend,
               int32_t tolerance, int32_t unused) {
    (void)unused;
    if (!layer.Contains(x, y) || pattern.Empty()) return;
    // The region is found first against the untouched layer and painted afterwards, which
    // gives what painting into a separate copy would.
    const std::vector<Span> spans = Filler(layer, x, y, tolerance).Run(x, y);
    const int32_t pw = pattern.Width();
    const int32_t ph = pattern.Height();
    PaintCache cache(blend);
    for (const Span& s : spans) {
        const uint8_t* patRow = pattern.Row(s.y % ph);
        uint8_t* px = layer.PixelPtr(s.left, s.y);
        int32_t u = s.left % pw;
        if (pw == 1) {
            // One colour: runs of equal pixels are painted alike.
            const uint32_t pat = Word(patRow);
            for (int32_t i = s.left; i <= s.right;) {
                const uint32_t in = Word(px);
                const uint32_t out = cache.Paint(in, pat);
                do {
                    std::memcpy(px, &out, 4);
                    px += 4;
                    ++i;
                } while (i <= s.right && Word(px) == in);
            }
            continue;
        }
        for (int32_t i = s.left; i <= s.right; ++i, px += 4) {
            const uint32_t out = cache.Paint(Word(px), Word(patRow + 4 * u));
            std::memcpy(px, &out, 4);
            if (++u == pw) u = 0;
        }
    }
}

}  // namespace brv
