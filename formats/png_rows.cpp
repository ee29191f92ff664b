#include "formats/png_rows.h"

#include <zlib.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "core/arith.h"

namespace brv {

int32_t ReaderBytesPerPixel(const PNGHeader& header) {
    const int32_t channels = (header.ColorType & 2) ? 3 : 1;
    auto bpp = static_cast<int32_t>(Round(header.BitDepth / 8.0 * channels));
    if (header.ColorType == 3) bpp = 1;
    if (bpp < 1) bpp = 1;
    if (header.ColorType & 4) bpp += 1;
    return bpp;
}

int32_t Adam7BitsPerPixel(const PNGHeader& header) {
    const bool threeSamples = (header.ColorType & 2) && !(header.ColorType & 1);
    return header.BitDepth * (threeSamples ? 3 : 1);
}

int32_t Adam7BytesPerPixel(const PNGHeader& header) {
    const int32_t bits = Adam7BitsPerPixel(header);
    if (bits < 8) return 0;
    return bits / 8 + ((header.ColorType & 4) ? 1 : 0);
}

int32_t WriterBytesPerPixel(const PNGHeader& header) {
    int32_t bpp = 1;
    switch (header.ColorType) {
        case 0:
            bpp = header.BitDepth / 8;
            break;
        case 2:
            bpp = header.BitDepth * 3 / 8;
            break;
        case 3:
            bpp = 1;
            break;
        case 4:
            bpp = header.BitDepth * 2 / 8;
            break;
        case 6:
            bpp = header.BitDepth * 4 / 8;
            break;
        default:
            break;
    }
    return std::max(bpp, 1);
}

size_t WriterRowBytes(const PNGHeader& header) {
    int32_t samples = 1;
    switch (header.ColorType) {
        case 2:
            samples = 3;
            break;
        case 4:
            samples = 2;
            break;
        case 6:
            samples = 4;
            break;
        default:
            break;
    }
    const uint64_t bits = uint64_t{header.Width} * header.BitDepth * samples;
    return static_cast<size_t>((bits + 7) / 8);
}

namespace {

inline uint8_t Paeth(int a, int b, int c) {
    const int pa = std::abs(b - c);
    const int pb = std::abs(a - c);
    const int pc = std::abs(a + b - 2 * c);
    if (pa <= pb && pa <= pc) return static_cast<uint8_t>(a);
    if (pb <= pc) return static_cast<uint8_t>(b);
    return static_cast<uint8_t>(c);
}

// Paeth unfiltering with the pixel size known to the compiler, so that the bytes of one
// pixel, which do not depend on each other, are worked on side by side.
template <size_t kStep>
void UnpaethFixed(uint8_t* r, const uint8_t* p, size_t n) {
    for (size_t i = 0; i < std::min(kStep, n); ++i)
        r[i] = static_cast<uint8_t>(r[i] + p[i]);
    size_t i = kStep;
    for (; i + kStep <= n; i += kStep)
        for (size_t k = 0; k < kStep; ++k)
            r[i + k] = static_cast<uint8_t>(r[i + k] +
                                            Paeth(r[i + k - kStep], p[i + k], p[i + k - kStep]));
    for (; i < n; ++i)
        r[i] = static_cast<uint8_t>(r[i] + Paeth(r[i - kStep], p[i], p[i - kStep]));
}

void Unpaeth(uint8_t* r, const uint8_t* p, size_t n, size_t step) {
    switch (step) {
        case 1:
            return UnpaethFixed<1>(r, p, n);
        case 2:
            return UnpaethFixed<2>(r, p, n);
        case 3:
            return UnpaethFixed<3>(r, p, n);
        case 4:
            return UnpaethFixed<4>(r, p, n);
        case 6:
            return UnpaethFixed<6>(r, p, n);
        case 7:
            return UnpaethFixed<7>(r, p, n);
        case 8:
            return UnpaethFixed<8>(r, p, n);
        default:
            break;
    }
    for (size_t i = 0; i < std::min(step, n); ++i)
        r[i] = static_cast<uint8_t>(r[i] + p[i]);
    for (size_t i = step; i < n; ++i)
        r[i] = static_cast<uint8_t>(r[i] + Paeth(r[i - step], p[i], p[i - step]));
}

}  // namespace

bool UnfilterRow(uint8_t type, std::span<uint8_t> row, std::span<const uint8_t> prior,
                 int32_t bpp) {
    const size_t n = row.size();
    const auto step = static_cast<size_t>(bpp);
    uint8_t* r = row.data();
    const uint8_t* p = prior.empty() ? nullptr : prior.data();
    switch (type) {
        case 0:
            return true;
        case 1:
            for (size_t i = step; i < n; ++i)
                r[i] = static_cast<uint8_t>(r[i] + r[i - step]);
            return true;
        case 2:
            if (p)
                for (size_t i = 0; i < n; ++i)
                    r[i] = static_cast<uint8_t>(r[i] + p[i]);
            return true;
        case 3:
            if (!p) {
                for (size_t i = step; i < n; ++i)
                    r[i] = static_cast<uint8_t>(r[i] + (r[i - step] >> 1));
                return true;
            }
            for (size_t i = 0; i < std::min(step, n); ++i)
                r[i] = static_cast<uint8_t>(r[i] + (p[i] >> 1));
            for (size_t i = step; i < n; ++i)
                r[i] = static_cast<uint8_t>(r[i] + ((r[i - step] + p[i]) >> 1));
            return true;
        case 4:
            if (!p) {
                // Without a row above, Paeth picks the left neighbour.
                for (size_t i = step; i < n; ++i)
                    r[i] = static_cast<uint8_t>(r[i] + r[i - step]);
                return true;
            }
            Unpaeth(r, p, n, step);
            return true;
        default:
            return false;
    }
}

void FilterRow(int32_t type, std::span<const uint8_t> row, std::span<const uint8_t> prior,
               int32_t bpp, std::span<uint8_t> out) {
    const size_t n = row.size();
    const size_t step = std::min(static_cast<size_t>(bpp), n);
    const uint8_t* r = row.data();
    const uint8_t* p = prior.empty() ? nullptr : prior.data();
    uint8_t* o = out.data();
    switch (type) {
        case 1:
            for (size_t i = 0; i < step; ++i)
                o[i] = r[i];
            for (size_t i = step; i < n; ++i)
                o[i] = static_cast<uint8_t>(r[i] - r[i - step]);
            return;
        case 2:
            for (size_t i = 0; i < n; ++i)
                o[i] = static_cast<uint8_t>(r[i] - (p ? p[i] : 0));
            return;
        case 3:
            for (size_t i = 0; i < step; ++i)
                o[i] = static_cast<uint8_t>(r[i] - ((p ? p[i] : 0) >> 1));
            for (size_t i = step; i < n; ++i)
                o[i] = static_cast<uint8_t>(r[i] - ((r[i - step] + (p ? p[i] : 0)) >> 1));
            return;
        case 4:
            if (!p) {
                for (size_t i = 0; i < step; ++i)
                    o[i] = r[i];
                for (size_t i = step; i < n; ++i)
                    o[i] = static_cast<uint8_t>(r[i] - r[i - step]);
                return;
            }
            for (size_t i = 0; i < step; ++i)
                o[i] = static_cast<uint8_t>(r[i] - p[i]);
            for (size_t i = step; i < n; ++i)
                o[i] = static_cast<uint8_t>(r[i] - Paeth(r[i - step], p[i], p[i - step]));
            return;
        default:
            if (n) std::memcpy(o, r, n);
            return;
    }
}

namespace {
constexpr size_t kZlibWrapperBytes = 2 + 4;  // header, Adler-32
}  // namespace

struct CompressedSizer::Stream {
    z_stream z{};
    bool ready = false;
};

CompressedSizer::CompressedSizer() : stream_(new Stream) {
    // The parameters of compress(): default level, 15 window bits, memory level 8. Without the
    // zlib wrapper the deflate data is the same; the wrapper adds 6 bytes, added back below.
    stream_->ready = deflateInit2(&stream_->z, Z_DEFAULT_COMPRESSION, Z_DEFLATED, -15, 8,
                                  Z_DEFAULT_STRATEGY) == Z_OK;
}

CompressedSizer::~CompressedSizer() {
    if (stream_->ready) deflateEnd(&stream_->z);
    delete stream_;
}

size_t CompressedSizer::Measure(std::span<const uint8_t> data) {
    if (!stream_->ready || data.size() > UINT32_MAX / 2) return SIZE_MAX;
    z_stream& z = stream_->z;
    if (deflateReset(&z) != Z_OK) return SIZE_MAX;
    const uLong bound = deflateBound(&z, static_cast<uLong>(data.size()));
    if (out_.size() < bound) out_.resize(bound);
    z.next_in = const_cast<Bytef*>(data.data());
    z.avail_in = static_cast<uInt>(data.size());
    z.next_out = out_.data();
    z.avail_out = static_cast<uInt>(out_.size());
    if (deflate(&z, Z_FINISH) != Z_STREAM_END) return SIZE_MAX;
    return static_cast<size_t>(z.total_out) + kZlibWrapperBytes;
}

namespace {

// Row y equals row y - 1, which equals row y - 2 (or zero for the first row): filtering row y
// then sees exactly what filtering row y - 1 saw.
bool SameAsRowAbove(std::span<const uint8_t> rows, size_t rowBytes, int32_t y) {
    const uint8_t* cur = rows.data() + static_cast<size_t>(y) * rowBytes;
    const uint8_t* above = cur - rowBytes;
    if (std::memcmp(cur, above, rowBytes) != 0) return false;
    if (y >= 2) return std::memcmp(above, above - rowBytes, rowBytes) == 0;
    return std::all_of(above, above + rowBytes, [](uint8_t b) { return b == 0; });
}

}  // namespace

std::vector<uint8_t> FilterRows(std::span<const uint8_t> Rows, int32_t FilterNo,
                                const PNGHeader& Header, const PNGRowHook& afterRow) {
    const size_t rowBytes = WriterRowBytes(Header);
    const int32_t bpp = WriterBytesPerPixel(Header);
    const auto height = static_cast<int32_t>(Header.Height);
    std::vector<uint8_t> out(static_cast<size_t>(height) * (rowBytes + 1));
    if (Rows.size() < static_cast<size_t>(height) * rowBytes) return out;

    std::vector<uint8_t> trial;
    std::unique_ptr<CompressedSizer> sizer;
    if (FilterNo == 5) {
        trial.resize(rowBytes + 1);
        sizer = std::make_unique<CompressedSizer>();
    }
    for (int32_t y = 0; y < height; ++y) {
        auto row = Rows.subspan(static_cast<size_t>(y) * rowBytes, rowBytes);
        auto prior = y ? Rows.subspan(static_cast<size_t>(y - 1) * rowBytes, rowBytes)
                       : std::span<const uint8_t>{};
        uint8_t* dst = out.data() + static_cast<size_t>(y) * (rowBytes + 1);
        if (FilterNo >= 0 && FilterNo <= 4) {
            dst[0] = static_cast<uint8_t>(FilterNo);
            FilterRow(FilterNo, row, prior, bpp, {dst + 1, rowBytes});
        } else if (FilterNo == 5 && y >= 1 && SameAsRowAbove(Rows, rowBytes, y)) {
            // The same row under the same row as last time: the same choice, not measured again.
            std::memcpy(dst, dst - (rowBytes + 1), rowBytes + 1);
        } else if (FilterNo == 5) {
            size_t best = 99999;
            for (int32_t type = 0; type <= 4; ++type) {
                trial[0] = static_cast<uint8_t>(type);
                FilterRow(type, row, prior, bpp, {trial.data() + 1, rowBytes});
                const size_t size = sizer->Measure(trial);
                if (size < best) {
                    best = size;
                    std::memcpy(dst, trial.data(), rowBytes + 1);
                }
            }
            // No filter under 99999 bytes: the row stays zero; intended, as the limit is.
        } else {
            dst[0] = 0;
            if (rowBytes) std::memcpy(dst + 1, row.data(), rowBytes);
        }
        if (afterRow) afterRow(y + 1, height);
    }
    return out;
}

std::vector<uint8_t> Adam7Write(std::span<const uint8_t> Rows, int32_t FilterNo,
                                const PNGHeader& Header, const PNGPassHook& beforePass,
                                const PNGRowHook& afterRow) {
    const int32_t bpp = WriterBytesPerPixel(Header);
    const size_t rowBytes = WriterRowBytes(Header);
    const auto width = static_cast<int32_t>(Header.Width);
    const auto height = static_cast<int32_t>(Header.Height);
    std::vector<uint8_t> out;
    // Pixels are cut out whole bytes at a time: rows packed below a byte are not provided for.
    if (rowBytes != static_cast<size_t>(width) * static_cast<size_t>(bpp)) return out;
    if (Rows.size() < static_cast<size_t>(height) * rowBytes) return out;
    std::vector<uint8_t> pass;
    for (int32_t p = 0; p < 7; ++p) {
        if (beforePass) beforePass(p);
        const Adam7Pass& a = kAdam7Passes[p];
        const int32_t cols = Adam7Count(width, a.xStart, a.xStep);
        const int32_t rows = Adam7Count(height, a.yStart, a.yStep);
        if (cols == 0 || rows == 0) continue;
        PNGHeader ph = Header;
        ph.Width = static_cast<uint32_t>(cols);
        ph.Height = static_cast<uint32_t>(rows);
        const size_t passRowBytes = WriterRowBytes(ph);
        pass.assign(passRowBytes * static_cast<size_t>(rows), 0);
        for (int32_t j = 0; j < rows; ++j) {
            const uint8_t* src =
                Rows.data() + static_cast<size_t>(a.yStart + j * a.yStep) * rowBytes;
            uint8_t* dst = pass.data() + static_cast<size_t>(j) * passRowBytes;
            for (int32_t i = 0; i < cols; ++i)
                std::memcpy(dst + static_cast<size_t>(i) * bpp,
                            src + static_cast<size_t>(a.xStart + i * a.xStep) * bpp,
                            static_cast<size_t>(bpp));
        }
        auto filtered = FilterRows(pass, FilterNo, ph, afterRow);
        out.insert(out.end(), filtered.begin(), filtered.end());
    }
    return out;
}

}  // namespace brv
