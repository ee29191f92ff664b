#include "core/compositor.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <new>

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#define BRV_COMPOSITOR_X86 1
#endif

#include "core/arith.h"

namespace brv {

namespace {

// ---- Exact small divisions ----

// floor(n / t) for n <= 255 * 255 and 1 <= t <= 255 is exactly (n * kRecip[t]) >> 24: the
// error of the rounded-up reciprocal stays below 1 / t. The tests check every pair.
constexpr std::array<uint64_t, 256> kRecip = [] {
    std::array<uint64_t, 256> r{};
    for (uint64_t t = 1; t < 256; ++t)
        r[t] = ((uint64_t{1} << 24) + t - 1) / t;
    return r;
}();

inline uint32_t DivSmall(uint32_t n, uint64_t recip) {
    return static_cast<uint32_t>((n * recip) >> 24);
}

// ---- Shared bookkeeping ----

// A source layer as the kernels read it.
struct Source {
    const uint8_t* data = nullptr;
    int32_t width = 0;
    int32_t height = 0;
    int32_t offsetX = 0;
    int32_t offsetY = 0;
    // Range of positions in the column list (inclusive) whose document column the layer covers.
    int32_t lo = 0;
    int32_t hi = -1;
};

// One layer's row that reaches the row being accumulated.
struct ActiveRow {
    const uint8_t* row;
    int32_t offsetX;
    int32_t lo, hi;
};

// The distinct document columns of one composite, in order, and for each destination column
// the position of its document column among them. Zoom above 100% repeats columns; the walk
// through the layers is done once for each distinct one.
struct Columns {
    std::vector<int32_t> docX;
    std::vector<int32_t> slot;  // per destination column
    bool contiguous = true;     // docX is a run of consecutive columns
    bool identity = true;       // one destination column for each document column
};

Columns MakeColumns(std::span<const int32_t> colX) {
    Columns c;
    c.slot.resize(colX.size());
    for (size_t i = 0; i < colX.size(); ++i) {
        if (c.docX.empty() || c.docX.back() != colX[i]) c.docX.push_back(colX[i]);
        c.slot[i] = static_cast<int32_t>(c.docX.size()) - 1;
    }
    c.identity = c.docX.size() == colX.size();
    c.contiguous = c.docX.empty() || int64_t{c.docX.back()} - c.docX.front() + 1 ==
                                         static_cast<int64_t>(c.docX.size());
    return c;
}

// The layers that reach document row docY, top layer first.
void CollectActive(std::span<const Source> sources, int32_t docY, std::vector<ActiveRow>& out) {
    out.clear();
    for (size_t k = sources.size(); k-- > 0;) {
        const Source& s = sources[k];
        if (s.lo > s.hi) continue;
        const int64_t ly = int64_t{docY} - s.offsetY;
        if (ly < 0 || ly >= s.height) continue;
        out.push_back({s.data + size_t{4} * static_cast<size_t>(s.width) * static_cast<size_t>(ly),
                       s.offsetX, s.lo, s.hi});
    }
}

// ---- Portable kernels: one pixel at a time ----

// One lower pixel joins an accumulated one: the rule with no shortcut.
inline void StepPixel(uint32_t& b, uint32_t& g, uint32_t& r, uint32_t& d, const uint8_t* p) {
    uint32_t s = p[3];
    uint32_t t = s + d;
    if (t > 255) {
        t = 255;
        s = 255 - d;
    }
    if (t == 0) return;
    const uint64_t m = kRecip[t];
    b = DivSmall(b * d, m) + DivSmall(p[0] * s, m);
    g = DivSmall(g * d, m) + DivSmall(p[1] * s, m);
    r = DivSmall(r * d, m) + DivSmall(p[2] * s, m);
    d = t;
}

// Walks one pixel's layers from the top down and writes the accumulated pixel.
inline void AccumulatePixel(const ActiveRow* active, size_t count, int32_t u, int32_t docX,
                            uint8_t* out) {
    uint32_t b = 0, g = 0, r = 0, d = 0;
    for (size_t k = 0; k < count; ++k) {
        const ActiveRow& a = active[k];
        if (u < a.lo || u > a.hi) continue;
        const uint8_t* p = a.row + size_t{4} * static_cast<size_t>(docX - a.offsetX);
        if (p[3] == 0) continue;  // adds nothing: t = d and the colour divides back to itself
        StepPixel(b, g, r, d, p);
        if (d == 255) break;  // full alpha: every layer further down gets a share of 0
    }
    out[0] = static_cast<uint8_t>(b);
    out[1] = static_cast<uint8_t>(g);
    out[2] = static_cast<uint8_t>(r);
    out[3] = static_cast<uint8_t>(d);
}

void AccumulatePortable(const std::vector<ActiveRow>& active, const Columns& cols, uint8_t* acc) {
    const size_t n = cols.docX.size();
    for (size_t u = 0; u < n; ++u)
        AccumulatePixel(active.data(), active.size(), static_cast<int32_t>(u), cols.docX[u],
                        acc + 4 * u);
}

// Puts accumulated pixels over the background, the background being one more layer of full
// alpha at the bottom of the stack, and writes opaque pixels.
void BlendPortable(const uint8_t* acc, const uint8_t* bg, uint8_t* out, size_t count) {
    for (size_t i = 0; i < count; ++i, acc += 4, bg += 4, out += 4) {
        const uint32_t d = acc[3];
        const uint32_t s = 255 - d;
        out[0] = static_cast<uint8_t>((acc[0] * d) / 255 + (bg[0] * s) / 255);
        out[1] = static_cast<uint8_t>((acc[1] * d) / 255 + (bg[1] * s) / 255);
        out[2] = static_cast<uint8_t>((acc[2] * d) / 255 + (bg[2] * s) / 255);
        out[3] = 255;
    }
}

// ---- AVX2 kernels: sixteen pixels at a time in 16-bit lanes, the same arithmetic ----

#if BRV_COMPOSITOR_X86

#define BRV_AVX2 __attribute__((target("avx2")))

struct Planes {
    __m256i b, g, r, a;
};

BRV_AVX2 inline __m256i Load32(const uint8_t* p) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
}

// Sixteen pixels (64 bytes) into four vectors of 16-bit channels. The lane order comes out
// permuted within each half (0-3, 8-11, 4-7, 12-15); Join undoes it, and all else is lane-wise.
BRV_AVX2 inline Planes Split(const uint8_t* p) {
    const __m256i byChannel =
        _mm256_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15, 0, 4, 8, 12, 1, 5, 9,
                         13, 2, 6, 10, 14, 3, 7, 11, 15);
    const __m256i p0 = _mm256_shuffle_epi8(Load32(p), byChannel);
    const __m256i p1 = _mm256_shuffle_epi8(Load32(p + 32), byChannel);
    const __m256i bg = _mm256_unpacklo_epi32(p0, p1);
    const __m256i ra = _mm256_unpackhi_epi32(p0, p1);
    const __m256i zero = _mm256_setzero_si256();
    return {_mm256_unpacklo_epi8(bg, zero), _mm256_unpackhi_epi8(bg, zero),
            _mm256_unpacklo_epi8(ra, zero), _mm256_unpackhi_epi8(ra, zero)};
}

// Four vectors of channels (each lane at most 255) back into sixteen pixels.
BRV_AVX2 inline void Join(__m256i b, __m256i g, __m256i r, __m256i a, uint8_t* out) {
    const __m256i lo = _mm256_or_si256(b, _mm256_slli_epi16(g, 8));
    const __m256i hi = _mm256_or_si256(r, _mm256_slli_epi16(a, 8));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), _mm256_unpacklo_epi16(lo, hi));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + 32), _mm256_unpackhi_epi16(lo, hi));
}

// 32-bit lanes holding 0 .. 65536 into 16-bit lanes, 65536 becoming 65535 (through the signed
// pack with a bias).
BRV_AVX2 inline __m256i PackWeights(__m256i lo, __m256i hi) {
    const __m256i bias = _mm256_set1_epi32(32768);
    const __m256i packed =
        _mm256_packs_epi32(_mm256_sub_epi32(lo, bias), _mm256_sub_epi32(hi, bias));
    return _mm256_xor_si256(packed, _mm256_set1_epi16(static_cast<int16_t>(0x8000)));
}

// floor and ceiling of s * 65536 / t for eight lanes (s already shifted up by 16 bits). The
// float quotient is within 2^-9 of the true one while a non-integral quotient stays 1/255 from
// any integer, so both come out exact.
BRV_AVX2 inline void Weights(__m256i sShifted, __m256i t, __m256i& floorW, __m256i& ceilW) {
    const __m256 x = _mm256_div_ps(_mm256_cvtepi32_ps(sShifted), _mm256_cvtepi32_ps(t));
    floorW = _mm256_cvttps_epi32(x);
    const __m256i integral =
        _mm256_castps_si256(_mm256_cmp_ps(_mm256_cvtepi32_ps(floorW), x, _CMP_EQ_OQ));
    ceilW = _mm256_add_epi32(_mm256_add_epi32(floorW, _mm256_set1_epi32(1)), integral);
}

// c - ceil(c * s / t) + floor(l * s / t) for one channel; see StepLanes.
BRV_AVX2 inline __m256i MixChannel(__m256i c, __m256i l, __m256i wf, __m256i wc, __m256i empty) {
    const __m256i zero = _mm256_setzero_si256();
    const __m256i hi = _mm256_mulhi_epu16(c, wf);
    const __m256i exact = _mm256_cmpeq_epi16(_mm256_mullo_epi16(c, wf), zero);
    const __m256i below = _mm256_mulhi_epu16(_mm256_sub_epi16(l, empty), wc);
    // ceil(c * wf / 65536) is hi, plus 1 unless the low half is 0; exact is -1 where it is 0
    // and 0 elsewhere, so minus that ceiling is -hi + ~exact.
    return _mm256_add_epi16(
        _mm256_sub_epi16(c, hi),
        _mm256_add_epi16(below, _mm256_xor_si256(exact, _mm256_set1_epi16(-1))));
}

// One lower layer joins the accumulated pixels, all lanes alike. With w = s * 65536 / t, the
// rule's (c * d) / t + (l * s) / t is c - ceil(c * s / t) + floor(l * s / t), and for c, l up to
// 255 ceil(c * floor(w) / 65536) and floor(l * ceil(w) / 65536) are those two exactly (the
// error stays under 255 / 65536 < 1 / t). Where nothing is above yet (d = 0, so c = 0) w is
// 65536, stored as 65535, and l + 1 stands in for l. Lanes with s = 0 come out unchanged.
BRV_AVX2 inline void StepLanes(__m256i& b, __m256i& g, __m256i& r, __m256i& d, const Planes& p) {
    const __m256i zero = _mm256_setzero_si256();
    const __m256i s = _mm256_min_epi16(p.a, _mm256_sub_epi16(_mm256_set1_epi16(255), d));
    const __m256i t = _mm256_add_epi16(s, d);
    const __m256i ts = _mm256_max_epi16(t, _mm256_set1_epi16(1));
    __m256i fLo, cLo, fHi, cHi;
    Weights(_mm256_unpacklo_epi16(zero, s), _mm256_unpacklo_epi16(ts, zero), fLo, cLo);
    Weights(_mm256_unpackhi_epi16(zero, s), _mm256_unpackhi_epi16(ts, zero), fHi, cHi);
    const __m256i wf = PackWeights(fLo, fHi), wc = PackWeights(cLo, cHi);
    const __m256i empty = _mm256_cmpeq_epi16(d, zero);
    b = MixChannel(b, p.b, wf, wc, empty);
    g = MixChannel(g, p.g, wf, wc, empty);
    r = MixChannel(r, p.r, wf, wc, empty);
    d = t;
}

BRV_AVX2 inline bool AllLanesEqual(__m256i v, int16_t value) {
    return _mm256_movemask_epi8(_mm256_cmpeq_epi16(v, _mm256_set1_epi16(value))) == -1;
}

// floor(x / 255) for x <= 65025.
BRV_AVX2 inline __m256i Div255(__m256i x) {
    const __m256i one = _mm256_set1_epi16(1);
    return _mm256_srli_epi16(_mm256_add_epi16(_mm256_add_epi16(x, one), _mm256_srli_epi16(x, 8)),
                             8);
}

BRV_AVX2 inline __m256i BlendChannel(__m256i top, __m256i back, __m256i d, __m256i s) {
    return _mm256_add_epi16(Div255(_mm256_mullo_epi16(top, d)),
                            Div255(_mm256_mullo_epi16(back, s)));
}

constexpr int32_t kLanes = 16;
// The row is walked in chunks of kGroups groups of kLanes pixels, layer by layer inside a
// chunk, so that the groups' independent arithmetic overlaps; a group drops out once all its
// lanes have full alpha, and the chunk stops when every group has.
constexpr int32_t kGroups = 4;
constexpr int32_t kChunk = kLanes * kGroups;

// Where the pixels of one group of a layer are: in the layer itself when it covers the whole
// group with consecutive columns, else copied into gathered with the uncovered lanes
// transparent (a group at the edge of the layer, or a zoom below 100%).
const uint8_t* GroupSource(const ActiveRow& a, const Columns& cols, int32_t u0, int32_t last,
                           uint8_t* gathered) {
    const auto at = [&](int32_t u) {
        return a.row +
               size_t{4} * static_cast<size_t>(cols.docX[static_cast<size_t>(u)] - a.offsetX);
    };
    if (cols.contiguous && a.lo <= u0 && a.hi >= u0 + kLanes - 1) return at(u0);
    std::memset(gathered, 0, 4 * kLanes);
    const int32_t from = std::max(a.lo, u0), to = std::min(a.hi, last);
    for (int32_t u = from; u <= to; ++u)
        std::memcpy(gathered + 4 * (u - u0), at(u), 4);
    return gathered;
}

BRV_AVX2 void AccumulateAvx2(const std::vector<ActiveRow>& active, const Columns& cols,
                             uint8_t* acc) {
    const auto n = static_cast<int32_t>(cols.docX.size());
    alignas(32) uint8_t gathered[4 * kLanes];
    alignas(32) uint8_t tail[4 * kLanes];
    __m256i b[kGroups], g[kGroups], r[kGroups], d[kGroups];
    for (int32_t c0 = 0; c0 < n; c0 += kChunk) {
        const int32_t cLast = std::min(c0 + kChunk - 1, n - 1);
        const int32_t groups = (cLast - c0) / kLanes + 1;
        for (int32_t k = 0; k < groups; ++k)
            b[k] = g[k] = r[k] = d[k] = _mm256_setzero_si256();
        uint32_t open = (1u << groups) - 1;  // groups with a lane under full alpha
        if (cols.contiguous) {
            // Eight or more layer rows are more streams than the hardware follows alone: fetch
            // two chunks ahead.
            const int32_t ahead = c0 + 2 * kChunk;
            for (const ActiveRow& a : active) {
                if (ahead < a.lo || ahead + kChunk - 1 > a.hi) continue;
                const uint8_t* p =
                    a.row + size_t{4} * static_cast<size_t>(cols.docX[0] + ahead - a.offsetX);
                for (int32_t line = 0; line < 4 * kChunk / 64; ++line)
                    _mm_prefetch(reinterpret_cast<const char*>(p + 64 * line), _MM_HINT_T0);
            }
        }
        for (const ActiveRow& a : active) {
            if (a.hi < c0 || a.lo > cLast) continue;
            for (int32_t k = 0; k < groups; ++k) {
                const int32_t u0 = c0 + kLanes * k;
                const int32_t last = std::min(u0 + kLanes - 1, n - 1);
                if (!((open >> k) & 1) || a.hi < u0 || a.lo > last) continue;
                StepLanes(b[k], g[k], r[k], d[k], Split(GroupSource(a, cols, u0, last, gathered)));
                // Every lower layer would get a share of 0.
                if (AllLanesEqual(d[k], 255)) open &= ~(1u << k);
            }
            if (open == 0) break;
        }
        for (int32_t k = 0; k < groups; ++k) {
            const int32_t u0 = c0 + kLanes * k;
            const int32_t count = std::min(kLanes, n - u0);
            if (count == kLanes) {
                Join(b[k], g[k], r[k], d[k], acc + 4 * u0);
            } else {
                Join(b[k], g[k], r[k], d[k], tail);
                std::memcpy(acc + 4 * u0, tail, size_t{4} * static_cast<size_t>(count));
            }
        }
    }
}

BRV_AVX2 void BlendAvx2(const uint8_t* acc, const uint8_t* bg, uint8_t* out, size_t count) {
    size_t i = 0;
    for (; i + kLanes <= count; i += kLanes) {
        const Planes a = Split(acc + 4 * i);
        const Planes k = Split(bg + 4 * i);
        const __m256i s = _mm256_sub_epi16(_mm256_set1_epi16(255), a.a);
        Join(BlendChannel(a.b, k.b, a.a, s), BlendChannel(a.g, k.g, a.a, s),
             BlendChannel(a.r, k.r, a.a, s), _mm256_set1_epi16(255), out + 4 * i);
    }
    BlendPortable(acc + 4 * i, bg + 4 * i, out + 4 * i, count - i);
}

BRV_AVX2 void StepLanesAvx2(uint8_t* accumulated, const uint8_t* lower) {
    Planes a = Split(accumulated);
    StepLanes(a.b, a.g, a.r, a.a, Split(lower));
    Join(a.b, a.g, a.r, a.a, accumulated);
}

#endif

// ---- The composite ----

using compositor_detail::Kernel;

void Accumulate(Kernel kernel, const std::vector<ActiveRow>& active, const Columns& cols,
                uint8_t* acc) {
#if BRV_COMPOSITOR_X86
    if (kernel == Kernel::Avx2) {
        AccumulateAvx2(active, cols, acc);
        return;
    }
#endif
    (void)kernel;
    AccumulatePortable(active, cols, acc);
}

void Blend(Kernel kernel, const uint8_t* acc, const uint8_t* bg, uint8_t* out, size_t count) {
#if BRV_COMPOSITOR_X86
    if (kernel == Kernel::Avx2) {
        BlendAvx2(acc, bg, out, count);
        return;
    }
#endif
    (void)kernel;
    BlendPortable(acc, bg, out, count);
}

int64_t FloorDiv(int64_t a, int64_t b) {
    int64_t q = a / b;
    if ((a % b != 0) && ((a < 0) != (b < 0))) --q;
    return q;
}

int64_t CeilDiv(int64_t a, int64_t b) {
    return -FloorDiv(-a, b);
}

// Positions in a monotonic column list whose value lies in [lo, hi].
void RangeInList(std::span<const int32_t> list, int64_t lo, int64_t hi, int32_t& first,
                 int32_t& last) {
    auto begin = std::lower_bound(list.begin(), list.end(), lo,
                                  [](int32_t v, int64_t bound) { return v < bound; });
    auto end = std::upper_bound(list.begin(), list.end(), hi,
                                [](int64_t bound, int32_t v) { return bound < v; });
    first = static_cast<int32_t>(begin - list.begin());
    last = static_cast<int32_t>(end - list.begin()) - 1;
}

bool FitsBuffer(size_t bytes, int32_t width, int32_t height) {
    return bytes == size_t{4} * static_cast<size_t>(width) * static_cast<size_t>(height);
}

int32_t CheckCommon(const LayerStack& stack, const TileRef& bg, const DestRef& dest) {
    constexpr int32_t kMax = PixelBuffer::kMaxSide;
    if (stack.Width < 1 || stack.Height < 1 || stack.Width > kMax || stack.Height > kMax)
        return kCompositeBadSize;
    if (bg.Width < 1 || bg.Height < 1 || bg.Width > kMax || bg.Height > kMax)
        return kCompositeBadSize;
    if (dest.Width < 1 || dest.Height < 1 || dest.Width > kMax || dest.Height > kMax)
        return kCompositeBadSize;
    for (const LayerRef& l : stack.Layers)
        if (!FitsBuffer(l.Pixels.size(), stack.Width, stack.Height))
            return kCompositeBufferMismatch;
    if (!FitsBuffer(bg.Bytes.size(), bg.Width, bg.Height)) return kCompositeBufferMismatch;
    if (!FitsBuffer(dest.Bytes.size(), dest.Width, dest.Height)) return kCompositeBufferMismatch;
    return kCompositeOk;
}

// The shared body of both compositors: destination columns i0 .. i0 + colX.size() - 1 and
// rows j0 .. j0 + rowY.size() - 1 (counted from the top), with the document column and row
// each one samples, all inside the document and both lists non-decreasing.
int32_t CompositeMapped(Kernel kernel, const LayerStack& stack, const TileRef& bg,
                        const DestRef& dest, int32_t i0, std::span<const int32_t> colX, int32_t j0,
                        std::span<const int32_t> rowY) {
    if (colX.empty() || rowY.empty()) return kCompositeOk;
    try {
        const Columns cols = MakeColumns(colX);
        std::vector<Source> sources;
        sources.reserve(stack.Layers.size());
        for (const LayerRef& l : stack.Layers) {
            Source s{l.Pixels.data(), stack.Width, stack.Height, l.OffsetX, l.OffsetY};
            RangeInList(cols.docX, l.OffsetX, int64_t{l.OffsetX} + stack.Width - 1, s.lo, s.hi);
            sources.push_back(s);
        }
        std::vector<ActiveRow> active;
        active.reserve(sources.size());
        std::vector<uint8_t> acc(4 * cols.docX.size());
        std::vector<uint8_t> expanded(cols.identity ? 0 : 4 * colX.size());
        const uint8_t* accRow = cols.identity ? acc.data() : expanded.data();
        const size_t destStride = size_t{4} * static_cast<size_t>(dest.Width);
        const size_t bgStride = size_t{4} * static_cast<size_t>(bg.Width);
        for (size_t jj = 0; jj < rowY.size(); ++jj) {
            // Rows that sample the same document row (zoom above 100%) reuse the walk.
            if (jj == 0 || rowY[jj] != rowY[jj - 1]) {
                CollectActive(sources, rowY[jj], active);
                Accumulate(kernel, active, cols, acc.data());
                if (!cols.identity) {
                    for (size_t c = 0; c < colX.size(); ++c)
                        std::memcpy(&expanded[4 * c], &acc[4 * static_cast<size_t>(cols.slot[c])],
                                    4);
                }
            }
            const int32_t j = j0 + static_cast<int32_t>(jj);
            const uint8_t* bgRow = bg.Bytes.data() + bgStride * static_cast<size_t>(j % bg.Height);
            uint8_t* out = dest.Bytes.data() +
                           destStride * static_cast<size_t>(dest.Height - 1 - j) +
                           size_t{4} * static_cast<size_t>(i0);
            // The tile repeats: blend in pieces that don't cross its right edge.
            size_t done = 0;
            auto bgX = static_cast<size_t>(i0 % bg.Width);
            while (done < colX.size()) {
                const size_t piece =
                    std::min(colX.size() - done, static_cast<size_t>(bg.Width) - bgX);
                Blend(kernel, accRow + 4 * done, bgRow + 4 * bgX, out + 4 * done, piece);
                done += piece;
                bgX = 0;
            }
        }
    } catch (const std::bad_alloc&) {
        return kCompositeNoMemory;
    }
    return kCompositeOk;
}

int32_t CalcLayersWith(Kernel kernel, const LayerStack& stack, const TileRef& background,
                       const DestRef& dest, int32_t zoomPercent, int32_t zoomBase,
                       const RectI& viewRect, const RectI& dirtyRect) {
    if (int32_t rc = CheckCommon(stack, background, dest); rc < 0) return rc;
    if (zoomPercent < 1 || zoomBase < 1) return kCompositeBadZoom;
    if (dirtyRect.left > dirtyRect.right || dirtyRect.top > dirtyRect.bottom)
        return kCompositeBadRect;

    // The document pixels that may be written.
    const int64_t docLeft = std::max<int64_t>(dirtyRect.left, 0);
    const int64_t docRight = std::min<int64_t>(dirtyRect.right, stack.Width - 1);
    const int64_t docTop = std::max<int64_t>(dirtyRect.top, 0);
    const int64_t docBottom = std::min<int64_t>(dirtyRect.bottom, stack.Height - 1);
    if (docLeft > docRight || docTop > docBottom) return kCompositeOk;

    // Destination columns i whose document column floor((left + i) * base / percent) lies in
    // [docLeft, docRight], and the same for rows.
    const int64_t zp = zoomPercent, zb = zoomBase;
    auto mapRange = [&](int64_t origin, int64_t lo, int64_t hi, int32_t extent, int32_t& first,
                        int32_t& last) {
        const int64_t a = CeilDiv(lo * zp, zb) - origin;
        const int64_t b = FloorDiv((hi + 1) * zp - 1, zb) - origin;
        first = static_cast<int32_t>(Clamp<int64_t>(a, 0, extent));
        last = static_cast<int32_t>(Clamp<int64_t>(b, -1, extent - 1));
    };
    int32_t i0, i1, j0, j1;
    mapRange(viewRect.left, docLeft, docRight, dest.Width, i0, i1);
    mapRange(viewRect.top, docTop, docBottom, dest.Height, j0, j1);
    if (i0 > i1 || j0 > j1) return kCompositeOk;

    try {
        std::vector<int32_t> colX(static_cast<size_t>(i1 - i0 + 1));
        for (int32_t i = i0; i <= i1; ++i)
            colX[static_cast<size_t>(i - i0)] =
                static_cast<int32_t>(FloorDiv((int64_t{viewRect.left} + i) * zb, zp));
        std::vector<int32_t> rowY(static_cast<size_t>(j1 - j0 + 1));
        for (int32_t j = j0; j <= j1; ++j)
            rowY[static_cast<size_t>(j - j0)] =
                static_cast<int32_t>(FloorDiv((int64_t{viewRect.top} + j) * zb, zp));
        return CompositeMapped(kernel, stack, background, dest, i0, colX, j0, rowY);
    } catch (const std::bad_alloc&) {
        return kCompositeNoMemory;
    }
}

int32_t CalcLayersEasyWith(Kernel kernel, const LayerStack& stack, const TileRef& background,
                           const DestRef& dest) {
    if (int32_t rc = CheckCommon(stack, background, dest); rc < 0) return rc;
    try {
        auto centres = [](int32_t source, int32_t target) {
            std::vector<int32_t> list(static_cast<size_t>(target));
            for (int32_t i = 0; i < target; ++i)
                list[static_cast<size_t>(i)] =
                    static_cast<int32_t>((int64_t{2} * i + 1) * source / (int64_t{2} * target));
            return list;
        };
        std::vector<int32_t> colX = centres(stack.Width, dest.Width);
        std::vector<int32_t> rowY = centres(stack.Height, dest.Height);
        return CompositeMapped(kernel, stack, background, dest, 0, colX, 0, rowY);
    } catch (const std::bad_alloc&) {
        return kCompositeNoMemory;
    }
}

}  // namespace

uint32_t compositor_detail::DivideByAlpha(uint32_t n, uint32_t t) {
    return DivSmall(n, kRecip[t & 255]);
}

bool compositor_detail::KernelAvailable(Kernel kernel) {
    if (kernel == Kernel::Portable) return true;
#if BRV_COMPOSITOR_X86
    return __builtin_cpu_supports("avx2");
#else
    return false;
#endif
}

Kernel compositor_detail::BestKernel() {
    static const Kernel best = KernelAvailable(Kernel::Avx2) ? Kernel::Avx2 : Kernel::Portable;
    return best;
}

void compositor_detail::StepSixteenPixels(Kernel kernel, uint8_t accumulated[64],
                                          const uint8_t lower[64]) {
#if BRV_COMPOSITOR_X86
    if (kernel == Kernel::Avx2) {
        StepLanesAvx2(accumulated, lower);
        return;
    }
#endif
    for (int i = 0; i < 16; ++i) {
        uint8_t* a = accumulated + 4 * i;
        uint32_t b = a[0], g = a[1], r = a[2], d = a[3];
        StepPixel(b, g, r, d, lower + 4 * i);
        a[0] = static_cast<uint8_t>(b);
        a[1] = static_cast<uint8_t>(g);
        a[2] = static_cast<uint8_t>(r);
        a[3] = static_cast<uint8_t>(d);
    }
}

int32_t compositor_detail::CalcLayersUsing(Kernel kernel, const LayerStack& stack,
                                           const TileRef& background, const DestRef& dest,
                                           int32_t zoomPercent, int32_t zoomBase,
                                           const RectI& viewRect, const RectI& dirtyRect) {
    return CalcLayersWith(kernel, stack, background, dest, zoomPercent, zoomBase, viewRect,
                          dirtyRect);
}

int32_t compositor_detail::CalcLayersEasyUsing(Kernel kernel, const LayerStack& stack,
                                               const TileRef& background, const DestRef& dest) {
    return CalcLayersEasyWith(kernel, stack, background, dest);
}

std::string_view CompositorErrorText(int32_t) {
    return "KRDErr";
}

std::vector<LayerRef> VisibleLayerRefs(const DocumentRecord& doc) {
    std::vector<LayerRef> refs;
    for (size_t lid = 1; lid < doc.Layers.size(); ++lid) {
        const LayerRecord& l = doc.Layers[lid];
        if (l.Visible != 0) refs.push_back({l.Pixels.Bytes(), l.OffsetX, l.OffsetY});
    }
    return refs;
}

int32_t CalcLayers(const LayerStack& stack, const TileRef& background, const DestRef& dest,
                   int32_t zoomPercent, int32_t zoomBase, const RectI& viewRect,
                   const RectI& dirtyRect) {
    return CalcLayersWith(compositor_detail::BestKernel(), stack, background, dest, zoomPercent,
                          zoomBase, viewRect, dirtyRect);
}

int32_t CalcLayersEasy(const LayerStack& stack, const TileRef& background, const DestRef& dest) {
    return CalcLayersEasyWith(compositor_detail::BestKernel(), stack, background, dest);
}

int32_t FlattenLayers(const DocumentRecord& doc, PixelBuffer& retPixels, int32_t bWithBackground,
                      int32_t backColor) {
    // The save paths ask for a background by filling the scratch slot with backColor at alpha
    // 0. A layer of alpha 0 never changes a pixel under this rule, so the colour has no effect
    // on the result; that is intended, and the slot is left alone here.
    (void)bWithBackground;
    (void)backColor;

    auto made = PixelBuffer::TryCreate(std::max(doc.Width, 0), std::max(doc.Height, 0));
    if (!made) return kCompositeNoMemory;
    retPixels = std::move(*made);
    if (retPixels.Empty()) return kCompositeOk;
    try {
        std::vector<int32_t> colX(static_cast<size_t>(doc.Width));
        for (int32_t x = 0; x < doc.Width; ++x)
            colX[static_cast<size_t>(x)] = x;
        const Columns cols = MakeColumns(colX);
        std::vector<Source> sources;
        for (size_t lid = 1; lid < doc.Layers.size(); ++lid) {
            const LayerRecord& l = doc.Layers[lid];
            if (l.Visible == 0 || l.Pixels.Empty()) continue;
            Source s{l.Pixels.Bytes().data(), l.Pixels.Width(), l.Pixels.Height(), l.OffsetX,
                     l.OffsetY};
            RangeInList(cols.docX, l.OffsetX, int64_t{l.OffsetX} + s.width - 1, s.lo, s.hi);
            sources.push_back(s);
        }
        std::vector<ActiveRow> active;
        const Kernel kernel = compositor_detail::BestKernel();
        for (int32_t y = 0; y < doc.Height; ++y) {
            CollectActive(sources, y, active);
            Accumulate(kernel, active, cols, retPixels.Row(y));
        }
    } catch (const std::bad_alloc&) {
        return kCompositeNoMemory;
    }
    return kCompositeOk;
}

std::optional<Bgra> PixelUnderPointer(const DocumentRecord& doc, int32_t x, int32_t y) {
    if (doc.Layers.size() < 2) return std::nullopt;
    auto first = doc.Layers[1].Pixels.Get(x, y);
    if (!first || x >= doc.Width || y >= doc.Height) return std::nullopt;
    double b = first->b, g = first->g, r = first->r, acc = first->a;
    for (size_t lid = 2; lid < doc.Layers.size(); ++lid) {
        auto p = doc.Layers[lid].Pixels.Get(x, y);
        if (!p) continue;
        const double a = p->a;
        const double rest = Round((1.0 - a / 255.0) * acc);
        const double u = rest + a;
        if (u >= 1.0) {
            // The layer is weighted by what remains of the pixels below and the pixels below by
            // the layer's alpha: the reverse of a blend, and intended.
            b = Round(p->b * (rest / u) + (a / u) * b);
            g = Round(p->g * (rest / u) + (a / u) * g);
            r = Round(p->r * (rest / u) + (a / u) * r);
            acc = std::min(u, 255.0);
        }
    }
    auto byte = [](double v) { return static_cast<uint8_t>(Clamp(v, 0.0, 255.0)); };
    return Bgra{byte(b), byte(g), byte(r), byte(acc)};
}

}  // namespace brv
