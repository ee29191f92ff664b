#include "formats/bmp_codec.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fstream>
#include <limits>
#include <optional>

#include "core/arith.h"
#include "core/file_io.h"

namespace brv {

namespace {

constexpr uint16_t kBmType = 19778;  // "BM"
// IsBMP takes nothing larger: a limit of the program's, kept.
constexpr int32_t kIsBmpMaxSize = 16777216;
constexpr uint32_t kCompressionPlain = 0;
constexpr uint32_t kCompressionRle8 = 1;
constexpr uint32_t kCompressionRle4 = 2;
constexpr uint32_t kCompressionBitFields = 3;
constexpr int32_t kCells = 32768;

void WriteFileHeader(ByteWriter& w, const BitmapFileHeader& h) {
    w.U16LE(h.bfType);
    w.I32LE(h.bfSize);
    w.U16LE(h.bfReserved1);
    w.U16LE(h.bfReserved2);
    w.I32LE(h.bfOffBits);
}

// Reads n bytes, or as many as there are followed by zeros: a read past the end of the file
// has always given zeros here rather than an error.
std::vector<uint8_t> ReadPadded(ByteReader& r, size_t n) {
    std::vector<uint8_t> out(n, 0);
    const size_t have = std::min(n, r.Remaining());
    r.ReadInto(out.data(), have);
    if (have < n) r.Skip(r.Remaining());
    return out;
}

void FlipRows(PixelBuffer& p) {
    std::vector<uint8_t> tmp(p.Stride());
    for (int32_t y = 0, z = p.Height() - 1; y < z; ++y, --z) {
        std::memcpy(tmp.data(), p.Row(y), p.Stride());
        std::memcpy(p.Row(y), p.Row(z), p.Stride());
        std::memcpy(p.Row(z), tmp.data(), p.Stride());
    }
}

// The lowest set bit of a mask and the length of the run of set bits from there.
void MaskShape(uint32_t mask, int& lowest, int& run) {
    lowest = 0;
    run = 0;
    if (mask == 0) return;
    while (((mask >> lowest) & 1) == 0)
        ++lowest;
    while (lowest + run < 32 && ((mask >> (lowest + run)) & 1) != 0)
        ++run;
}

// (value AND mask) / 2^lowest * 2^(8 - run). A run longer than 8 bits gives fractions, rounded
// as a byte always was; more than 255 (a mask with gaps) stops at 255 where the old
// conversion overflowed.
uint8_t MaskedChannel(uint32_t value, uint32_t mask, int lowest, int run) {
    const double v = static_cast<double>((value & mask) >> lowest) * std::ldexp(1.0, 8 - run);
    return v >= 255.0 ? 255 : static_cast<uint8_t>(Round(v));
}

// RLE8 and RLE4 as the system draws them into a black bitmap: runs past the end of a row are
// clipped, a delta skips pixels that stay black, and the data may stop anywhere.
void DecodeRle(std::span<const uint8_t> data, int depth, std::span<const uint8_t> palette,
               PixelBuffer& out) {
    const int32_t width = out.Width();
    const int32_t height = out.Height();
    const size_t entries = palette.size() / 4;
    int32_t x = 0;
    int32_t y = 0;
    auto put = [&](uint32_t index) {
        if (x < width && y < height && index < entries) {
            uint8_t* px = out.PixelPtr(x, y);
            px[0] = palette[4 * index];
            px[1] = palette[4 * index + 1];
            px[2] = palette[4 * index + 2];
        }
        if (x < width) ++x;
    };
    auto pixelOf = [&](uint8_t byte, int i) -> uint32_t {
        if (depth == 8) return byte;
        return i % 2 == 0 ? byte >> 4 : byte & 15;
    };
    size_t pos = 0;
    while (pos + 2 <= data.size() && y < height) {
        const uint8_t count = data[pos];
        const uint8_t value = data[pos + 1];
        pos += 2;
        if (count > 0) {
            for (int i = 0; i < count; ++i)
                put(pixelOf(value, i));
            continue;
        }
        if (value == 0) {  // end of line
            x = 0;
            ++y;
        } else if (value == 1) {  // end of bitmap
            break;
        } else if (value == 2) {  // delta
            if (pos + 2 > data.size()) break;
            x = std::min(x + data[pos], width);
            y = std::min(y + data[pos + 1], height);
            pos += 2;
        } else {  // absolute run of `value` pixels, padded to a 16-bit boundary
            const size_t bytes = depth == 8 ? value : (value + 1u) / 2;
            for (int i = 0; i < value; ++i) {
                const size_t at = pos + static_cast<size_t>(depth == 8 ? i : i / 2);
                if (at >= data.size()) break;
                put(pixelOf(data[at], i));
            }
            pos += bytes + (bytes & 1);
        }
    }
}

void PutPalette(ByteWriter& w, std::span<const Bgra> palette) {
    for (const Bgra& c : palette) {
        w.U8(c.b);
        w.U8(c.g);
        w.U8(c.r);
        w.U8(0);
    }
}

// Packs index rows at 1, 4 or 8 bits, the first pixel in the high bits. An index beyond the
// depth keeps its low bits.
std::vector<uint8_t> PackIndices(std::span<const uint16_t> indices, int32_t width, int32_t height,
                                 int32_t depth, size_t stride) {
    std::vector<uint8_t> rows(stride * static_cast<size_t>(height), 0);
    const uint32_t mask = (1u << depth) - 1;
    for (int32_t y = 0; y < height; ++y) {
        uint8_t* row = rows.data() + stride * static_cast<size_t>(y);
        const uint16_t* src = indices.data() + static_cast<size_t>(y) * static_cast<size_t>(width);
        for (int32_t x = 0; x < width; ++x) {
            const uint32_t v = src[x] & mask;
            if (depth == 1)
                row[x / 8] = static_cast<uint8_t>(row[x / 8] | (v << (7 - x % 8)));
            else if (depth == 4)
                row[x / 2] = static_cast<uint8_t>(row[x / 2] | (x % 2 == 0 ? v << 4 : v));
            else
                row[x] = static_cast<uint8_t>(v);
        }
    }
    return rows;
}

std::vector<uint8_t> IndexedFile(int32_t width, int32_t height, int32_t depth,
                                 std::span<const Bgra> palette, std::span<const uint16_t> indices) {
    const int64_t stride = BmpRowBytes(width, depth);
    const int32_t entries = 1 << depth;
    const int64_t dataSize = stride * height;
    BitmapFileHeader fh;
    // One palette entry more is written than the depth calls for; bfOffBits counts it.
    fh.bfOffBits = 4 * entries + 58;
    fh.bfSize = static_cast<int32_t>(
        std::min<int64_t>(fh.bfOffBits + dataSize, std::numeric_limits<int32_t>::max()));
    BitmapInfoHeader ih;
    ih.biWidth = width;
    ih.biHeight = height;
    ih.biBitCount = static_cast<uint16_t>(depth);
    ByteWriter w(static_cast<size_t>(fh.bfOffBits + dataSize));
    WriteFileHeader(w, fh);
    WriteBitmapInfoHeader(w, ih);
    PutPalette(w, palette.first(static_cast<size_t>(entries) + 1));
    w.Bytes(PackIndices(indices, width, height, depth, static_cast<size_t>(stride)));
    return std::move(w).Take();
}

// The first n bytes of a file (fewer if it is shorter); nullopt when it can't be opened.
std::optional<std::vector<uint8_t>> ReadHead(std::string_view fnm, size_t n) {
    std::ifstream in(ToFsPath(fnm), std::ios::binary);
    if (!in) return std::nullopt;
    std::vector<uint8_t> head(n);
    in.read(reinterpret_cast<char*>(head.data()), static_cast<std::streamsize>(n));
    head.resize(static_cast<size_t>(in.gcount()));
    return head;
}

bool SupportedIndexDepth(int32_t depth) {
    return depth == 1 || depth == 4 || depth == 8;
}

bool UsableSize(int32_t width, int32_t height) {
    return width >= 1 && height >= 1 && width <= PixelBuffer::kMaxSide &&
           height <= PixelBuffer::kMaxSide;
}

// Deletes a file in the way, then writes; the codes of the two failures are the caller's.
int32_t ReplaceFile(std::string_view fnm, std::span<const uint8_t> bytes, int32_t deleteFailed,
                    int32_t openFailed) {
    if (FileExists(fnm) && !DeleteFile(fnm)) return deleteFailed;
    if (!WriteWholeFile(fnm, bytes)) return openFailed;
    return kBmpOk;
}

}  // namespace

BitmapInfoHeader ReadBitmapInfoHeader(ByteReader& r) {
    BitmapInfoHeader h;
    h.biSize = r.I32LE();
    h.biWidth = r.I32LE();
    h.biHeight = r.I32LE();
    h.biPlanes = r.U16LE();
    h.biBitCount = r.U16LE();
    h.biCompression = r.U32LE();
    h.biSizeImage = r.U32LE();
    h.biXPelsPerMeter = r.I32LE();
    h.biYPelsPerMeter = r.I32LE();
    h.biClrUsed = r.U32LE();
    h.biClrImportant = r.U32LE();
    return h;
}

void WriteBitmapInfoHeader(ByteWriter& w, const BitmapInfoHeader& h) {
    w.I32LE(h.biSize);
    w.I32LE(h.biWidth);
    w.I32LE(h.biHeight);
    w.U16LE(h.biPlanes);
    w.U16LE(h.biBitCount);
    w.U32LE(h.biCompression);
    w.U32LE(h.biSizeImage);
    w.I32LE(h.biXPelsPerMeter);
    w.I32LE(h.biYPelsPerMeter);
    w.U32LE(h.biClrUsed);
    w.U32LE(h.biClrImportant);
}

int64_t BmpRowBytes(int64_t width, int64_t depth) {
    if (width < 0 || depth < 0 || width > (int64_t{1} << 31) || depth > 65535) return -1;
    return (width * depth + 31) / 32 * 4;
}

int32_t ALLBMPC::GetBMPFile(std::string_view Fnm, PixelBuffer& DestDAT,
                            BitmapInfoHeader* ReturnBMIPtr, bool BottomUpToUpBottom,
                            const BmpProgress& CallBack) const {
    // Enough for the largest picture allowed at 32 bits, with room for what goes before it.
    const uint64_t maxBytes = static_cast<uint64_t>(limits_.MaxPixels) * 4 + (uint64_t{1} << 20);
    const auto file = ReadWholeFile(Fnm, maxBytes);
    if (!file) return kBmpErrOpen;
    return GetBMPBytes(*file, DestDAT, ReturnBMIPtr, BottomUpToUpBottom, CallBack);
}

int32_t ALLBMPC::GetBMPBytes(std::span<const uint8_t> file, PixelBuffer& DestDAT,
                             BitmapInfoHeader* ReturnBMIPtr, bool BottomUpToUpBottom,
                             const BmpProgress& CallBack) const {
    ByteReader r(file);
    if (!r.Skip(kBitmapFileHeaderSize)) return kBmpErrRead;
    return GetBMPFromOpenedFile(r, DestDAT, ReturnBMIPtr, BottomUpToUpBottom, CallBack);
}

int32_t ALLBMPC::GetBMPFromOpenedFile(ByteReader& file, PixelBuffer& DestDAT,
                                      BitmapInfoHeader* ReturnBMIPtr, bool BottomUpToUpBottom,
                                      const BmpProgress& CallBack) const {
    const size_t infoPos = file.Pos();
    BitmapInfoHeader bmi = ReadBitmapInfoHeader(file);
    if (file.Failed()) return kBmpErrRead;

    const int32_t depth = bmi.biBitCount;
    const bool plain =
        bmi.biCompression == kCompressionPlain || bmi.biCompression == kCompressionBitFields;
    // A top-down (negative) height was never dealt with; nor was an empty picture.
    if (!UsableSize(bmi.biWidth, bmi.biHeight)) return kBmpErrUnsupported;
    if (int64_t{bmi.biWidth} * bmi.biHeight > limits_.MaxPixels) return kBmpErrUnsupported;
    const int64_t stride = BmpRowBytes(bmi.biWidth, depth);
    if (bmi.biSizeImage == 0) {
        if (!plain) return kBmpErrRead;
        // Stored back as a 32-bit field; beyond that the bitmap can't be described anyway.
        const int64_t size = stride * bmi.biHeight;
        if (size > std::numeric_limits<uint32_t>::max()) return kBmpErrUnsupported;
        bmi.biSizeImage = static_cast<uint32_t>(size);
    }

    std::vector<uint8_t> palette;
    if (depth < 9) palette = ReadPadded(file, size_t{4} << depth);
    if (bmi.biCompression == kCompressionBitFields) palette = ReadPadded(file, 12);

    PixelBuffer result;
    if (plain) {
        // Only the rows the conversion uses are taken; a depth it doesn't know needs none.
        const bool known = depth == 1 || depth == 2 || depth == 4 || depth == 8 || depth == 16 ||
                           depth == 24 || depth == 32;
        const int64_t need = known ? stride * bmi.biHeight : 0;
        // A size below what the rows need made the conversion run off its data.
        if (bmi.biSizeImage < need) return kBmpErrRead;
        const std::vector<uint8_t> rows = ReadPadded(file, static_cast<size_t>(need));
        bool cancelled = false;
        const int32_t r = BMPTo32(bmi, rows, palette, CallBack, cancelled, result);
        if (r < 0) return r;
    } else {
        // RLE is drawn by the system from the packed header, palette and data; it reads the
        // palette size from the header, so the data is found where the file puts it.
        const bool rle = (bmi.biCompression == kCompressionRle8 && depth == 8) ||
                         (bmi.biCompression == kCompressionRle4 && depth == 4);
        if (!rle) return kBmpErrUnsupported;
        const uint32_t full = 1u << depth;
        const uint32_t used = bmi.biClrUsed == 0 || bmi.biClrUsed > full ? full : bmi.biClrUsed;
        if (!file.Seek(infoPos + kBitmapInfoHeaderSize)) return kBmpErrRead;
        const std::vector<uint8_t> rlePalette = ReadPadded(file, size_t{4} * used);
        const std::span<const uint8_t> data =
            file.Bytes(std::min<size_t>(bmi.biSizeImage, file.Remaining()));
        auto made = PixelBuffer::TryCreate(bmi.biWidth, bmi.biHeight);
        if (!made) return kBmpErrUnsupported;
        result = std::move(*made);
        DecodeRle(data, depth, rlePalette, result);
        // What comes back from the system is a plain 32-bit bitmap.
        BitmapInfoHeader back;
        back.biWidth = bmi.biWidth;
        back.biHeight = bmi.biHeight;
        back.biBitCount = 32;
        back.biSizeImage = static_cast<uint32_t>(result.ByteSize());
        bmi = back;
    }

    if (BottomUpToUpBottom) FlipRows(result);
    DestDAT = std::move(result);
    if (ReturnBMIPtr) *ReturnBMIPtr = bmi;
    return kBmpOk;
}

int32_t ALLBMPC::BMPTo32(BitmapInfoHeader& BMI, std::span<const uint8_t> BMP,
                         std::span<const uint8_t> PLTE, const BmpProgress& CallBack,
                         bool& retIsCancel, PixelBuffer& DestDAT) const {
    const int32_t width = BMI.biWidth;
    const int32_t height = BMI.biHeight;
    if (!UsableSize(width, height) || int64_t{width} * height > limits_.MaxPixels)
        return kBmpErrUnsupported;
    const int32_t depth = BMI.biBitCount;
    const int64_t stride = BmpRowBytes(width, depth);
    auto made = PixelBuffer::TryCreate(width, height);
    if (!made) return kBmpErrUnsupported;
    PixelBuffer out = std::move(*made);

    const bool indexed = depth == 1 || depth == 2 || depth == 4 || depth == 8;
    const bool fiveFiveFive = depth == 16 && BMI.biCompression == kCompressionPlain;
    const bool bitFields = depth == 16 && BMI.biCompression == kCompressionBitFields;
    const bool converted = indexed || fiveFiveFive || bitFields || depth == 24 || depth == 32;
    if (converted && static_cast<int64_t>(BMP.size()) < stride * height) return kBmpErrRead;

    std::array<Bgra, 256> palette{};
    if (indexed) {
        const size_t entries = std::min<size_t>(PLTE.size() / 4, size_t{1} << depth);
        for (size_t i = 0; i < entries; ++i)
            palette[i] = {PLTE[4 * i], PLTE[4 * i + 1], PLTE[4 * i + 2], 0};
    }
    std::array<uint32_t, 3> masks{};
    std::array<int, 3> lowest{}, run{};
    if (bitFields) {
        ByteReader m(PLTE);
        for (int k = 0; k < 3; ++k) {
            masks[static_cast<size_t>(k)] = m.U32LE();
            MaskShape(masks[static_cast<size_t>(k)], lowest[static_cast<size_t>(k)],
                      run[static_cast<size_t>(k)]);
        }
    }

    for (int32_t y = 0; y < height && converted; ++y) {
        const uint8_t* src = BMP.data() + static_cast<size_t>(stride) * static_cast<size_t>(y);
        uint8_t* dst = out.Row(y);
        if (indexed) {
            const int perByte = 8 / depth;
            const int mask = (1 << depth) - 1;
            for (int32_t x = 0; x < width; ++x) {
                const int shift = 8 - depth * (x % perByte + 1);
                const Bgra c = palette[static_cast<size_t>((src[x / perByte] >> shift) & mask)];
                dst[4 * x] = c.b;
                dst[4 * x + 1] = c.g;
                dst[4 * x + 2] = c.r;
            }
        } else if (fiveFiveFive) {
            for (int32_t x = 0; x < width; ++x) {
                const uint8_t lo = src[2 * x];
                const uint8_t hi = src[2 * x + 1];
                // Intended: five bits times 8, so that 31 reads as 248 and not 255.
                dst[4 * x] = static_cast<uint8_t>((lo & 31) * 8);
                dst[4 * x + 1] = static_cast<uint8_t>(((hi & 3) * 8 + (lo >> 5)) * 8);
                dst[4 * x + 2] = static_cast<uint8_t>(((hi & 127) >> 2) * 8);
            }
        } else if (bitFields) {
            for (int32_t x = 0; x < width; ++x) {
                const uint32_t v = src[2 * x] | uint32_t{src[2 * x + 1]} << 8;
                // The first mask is red, then green, then blue.
                for (int k = 0; k < 3; ++k)
                    dst[4 * x + 2 - k] =
                        MaskedChannel(v, masks[static_cast<size_t>(k)],
                                      lowest[static_cast<size_t>(k)], run[static_cast<size_t>(k)]);
            }
        } else if (depth == 24) {
            for (int32_t x = 0; x < width; ++x) {
                dst[4 * x] = src[3 * x];
                dst[4 * x + 1] = src[3 * x + 1];
                dst[4 * x + 2] = src[3 * x + 2];
            }
        } else {
            std::memcpy(dst, src, out.Stride());
            // The file's alpha is an opacity; ours in transit is a transparency.
            for (int32_t x = 0; x < width; ++x)
                dst[4 * x + 3] = static_cast<uint8_t>(255 - dst[4 * x + 3]);
        }
        if ((y + 1) % 20 == 0 && CallBack && CallBack(y + 1, height) == 1) {
            retIsCancel = true;
            return kBmpCancelled;
        }
    }

    BMI.biBitCount = 32;
    DestDAT = std::move(out);
    return kBmpOk;
}

std::vector<uint8_t> ALLBMPC::EncodeBMP16to32(const PixelBuffer& DAT32Bit, int32_t ColorBit,
                                              BitmapInfoHeader* ReturnBMIPtr) {
    if (ColorBit != 16 && ColorBit != 24 && ColorBit != 32) return {};
    const int32_t width = DAT32Bit.Width();
    const int32_t height = DAT32Bit.Height();
    const size_t stride = static_cast<size_t>(BmpRowBytes(width, ColorBit));
    std::vector<uint8_t> rows(stride * static_cast<size_t>(height), 0);
    for (int32_t y = 0; y < height; ++y) {
        const uint8_t* src = DAT32Bit.Row(y);
        uint8_t* dst = rows.data() + stride * static_cast<size_t>(y);
        if (ColorBit == 32) {
            std::memcpy(dst, src, DAT32Bit.Stride());
            continue;
        }
        for (int32_t x = 0; x < width; ++x) {
            const uint8_t* px = src + 4 * x;
            if (ColorBit == 24) {
                std::memcpy(dst + 3 * x, px, 3);
                continue;
            }
            auto five = [](uint8_t c) { return static_cast<int>(std::floor(c / 8.1 + 0.5)); };
            const int b5 = five(px[0]), g5 = five(px[1]), r5 = five(px[2]);
            dst[2 * x] = static_cast<uint8_t>((g5 % 8) * 32 + b5);
            dst[2 * x + 1] = static_cast<uint8_t>(g5 / 8 + r5 * 4);
        }
    }
    BitmapFileHeader fh;
    fh.bfOffBits = 54;
    fh.bfSize = static_cast<int32_t>(
        std::min<size_t>(rows.size() + 54, std::numeric_limits<int32_t>::max()));
    BitmapInfoHeader ih;
    ih.biWidth = width;
    ih.biHeight = height;
    ih.biBitCount = static_cast<uint16_t>(ColorBit);
    ByteWriter w(rows.size() + 54);
    WriteFileHeader(w, fh);
    WriteBitmapInfoHeader(w, ih);
    w.Bytes(rows);
    if (ReturnBMIPtr) *ReturnBMIPtr = ih;
    return std::move(w).Take();
}

int32_t ALLBMPC::SaveBMP16to32(std::string_view Fnm, PixelBuffer& DAT32Bit, int32_t ColorBit,
                               BitmapInfoHeader* ReturnBMIPtr, bool BottomUpToUpBottom) {
    if (ColorBit != 16 && ColorBit != 24 && ColorBit != 32) return kBmpErrUnsupported;
    if (BottomUpToUpBottom) FlipRows(DAT32Bit);
    BitmapInfoHeader ih;
    const std::vector<uint8_t> bytes = EncodeBMP16to32(DAT32Bit, ColorBit, &ih);
    const int32_t r = ReplaceFile(Fnm, bytes, kBmpErrOverwrite, kBmpErrOpen);
    if (r == kBmpOk && ReturnBMIPtr) *ReturnBMIPtr = ih;
    return r;
}

BmpReduction ALLBMPC::ReduceTo32768Cells(const PixelBuffer& SourceDAT, int32_t depth) {
    struct Entry {
        int32_t r5, g5, b5;
        int64_t count;
    };
    std::vector<int64_t> histogram(kCells, 0);
    for (int32_t y = 0; y < SourceDAT.Height(); ++y) {
        const uint8_t* px = SourceDAT.Row(y);
        for (int32_t x = 0; x < SourceDAT.Width(); ++x, px += 4)
            ++histogram[static_cast<size_t>((px[2] >> 3) * 1024 + (px[1] >> 3) * 32 +
                                            (px[0] >> 3))];
    }
    // Position 0 is an empty black entry that takes part in everything below.
    std::vector<Entry> list{{0, 0, 0, 0}};
    for (int32_t c = 0; c < kCells; ++c)
        if (histogram[static_cast<size_t>(c)] > 0)
            list.push_back({c >> 10, (c >> 5) & 31, c & 31, histogram[static_cast<size_t>(c)]});
    const int64_t pixels = int64_t{SourceDAT.Width()} * SourceDAT.Height();
    if (depth == 1) {
        list.push_back({0, 0, 0, pixels});
        list.push_back({31, 31, 31, pixels});
    } else if (depth == 4) {
        const auto corner = static_cast<int64_t>(Round(static_cast<double>(pixels) / 10));
        for (int32_t r : {0, 31})
            for (int32_t g : {0, 31})
                for (int32_t b : {0, 31})
                    list.push_back({r, g, b, corner});
    }
    // A bubble sort by count, descending; being stable, it equals this.
    std::stable_sort(list.begin(), list.end(),
                     [](const Entry& a, const Entry& b) { return a.count > b.count; });
    const size_t kept = (size_t{1} << depth) + 1;
    list.resize(kept, Entry{0, 0, 0, 0});

    BmpReduction out;
    out.CellIndex.resize(kCells);
    for (int32_t c = 0; c < kCells; ++c) {
        const int32_t r5 = c >> 10, g5 = (c >> 5) & 31, b5 = c & 31;
        int32_t best = 99999;
        uint16_t index = 0;
        for (size_t i = 0; i < list.size(); ++i) {
            const int32_t d = (r5 - list[i].r5) * (r5 - list[i].r5) +
                              (g5 - list[i].g5) * (g5 - list[i].g5) +
                              (b5 - list[i].b5) * (b5 - list[i].b5);
            if (d < best) {
                best = d;
                index = static_cast<uint16_t>(i);
            }
        }
        out.CellIndex[static_cast<size_t>(c)] = index;
    }
    auto widen = [](int32_t v) { return static_cast<uint8_t>(Round(v * 8.23)); };
    for (const Entry& e : list)
        out.Palette.push_back({widen(e.b5), widen(e.g5), widen(e.r5), 0});
    return out;
}

std::vector<uint8_t> ALLBMPC::EncodeBMP1to8(const PixelBuffer& SourceDAT, int32_t ColorCount,
                                            bool UseGosaKakusan) {
    if (!SupportedIndexDepth(ColorCount) || SourceDAT.Empty()) return {};
    const int32_t width = SourceDAT.Width();
    const int32_t height = SourceDAT.Height();
    const BmpReduction reduction = ReduceTo32768Cells(SourceDAT, ColorCount);
    const std::vector<Bgra>& palette = reduction.Palette;
    std::vector<uint16_t> indices(static_cast<size_t>(width) * static_cast<size_t>(height), 0);
    auto at = [&](int32_t x, int32_t y) {
        return static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x);
    };

    if (UseGosaKakusan && width >= 3) {
        PixelBuffer work = SourceDAT;
        // Intended: half the error, an eighth of that to each of three neighbours (1/16 each),
        // the rest lost; the last row and column are not visited and keep index 0.
        for (int32_t y = 0; y + 1 < height; ++y) {
            for (int32_t x = 0; x + 1 < width; ++x) {
                const uint8_t* px = work.PixelPtr(x, y);
                const uint16_t index = reduction.CellIndex[static_cast<size_t>(
                    (px[2] >> 3) * 1024 + (px[1] >> 3) * 32 + (px[0] >> 3))];
                indices[at(x, y)] = index;
                const uint8_t target[3] = {palette[index].b, palette[index].g, palette[index].r};
                int32_t share[3];
                for (int k = 0; k < 3; ++k) {
                    const double e = Round((px[k] - target[k]) * 0.5);
                    share[k] = static_cast<int32_t>(Round(e / 8));
                }
                for (auto [dx, dy] : {std::pair{1, 0}, std::pair{0, 1}, std::pair{1, 1}}) {
                    uint8_t* n = work.PixelPtr(x + dx, y + dy);
                    for (int k = 0; k < 3; ++k)
                        n[k] = static_cast<uint8_t>(Clamp(n[k] + share[k], 0, 255));
                }
            }
        }
    } else {
        for (int32_t y = 0; y < height; ++y) {
            const uint8_t* px = SourceDAT.Row(y);
            for (int32_t x = 0; x < width; ++x, px += 4) {
                int32_t best = 99999;
                uint16_t index = 0;
                for (size_t i = 0; i < palette.size(); ++i) {
                    const int32_t d = std::abs(px[0] - palette[i].b) +
                                      std::abs(px[1] - palette[i].g) +
                                      std::abs(px[2] - palette[i].r);
                    if (d < best) {
                        best = d;
                        index = static_cast<uint16_t>(i);
                    }
                }
                indices[at(x, y)] = index;
            }
        }
    }
    return IndexedFile(width, height, ColorCount, palette, indices);
}

std::vector<uint8_t> ALLBMPC::EncodeBMP1to8(const IndexedPicture& SourceDAT, int32_t ColorCount,
                                            std::span<const uint8_t> PLTE) {
    if (!SupportedIndexDepth(ColorCount) || !UsableSize(SourceDAT.Width, SourceDAT.Height) ||
        SourceDAT.Indices.size() !=
            static_cast<size_t>(SourceDAT.Width) * static_cast<size_t>(SourceDAT.Height))
        return {};
    std::vector<Bgra> palette((size_t{1} << ColorCount) + 1);
    for (size_t i = 0; i < palette.size() && 4 * i + 2 < PLTE.size(); ++i)
        palette[i] = {PLTE[4 * i], PLTE[4 * i + 1], PLTE[4 * i + 2], 0};
    const std::vector<uint16_t> indices(SourceDAT.Indices.begin(), SourceDAT.Indices.end());
    return IndexedFile(SourceDAT.Width, SourceDAT.Height, ColorCount, palette, indices);
}

int32_t ALLBMPC::SaveBMP1to8(std::string_view Fnm, const PixelBuffer& SourceDAT, int32_t ColorCount,
                             bool UseGosaKakusan) {
    const std::vector<uint8_t> bytes = EncodeBMP1to8(SourceDAT, ColorCount, UseGosaKakusan);
    if (bytes.empty()) return kBmpErrUnsupported;
    return ReplaceFile(Fnm, bytes, kBmpErrOverwrite, kBmpErrRead);
}

int32_t ALLBMPC::SaveBMP1to8(std::string_view Fnm, const IndexedPicture& SourceDAT,
                             int32_t ColorCount, std::span<const uint8_t> PLTE) {
    const std::vector<uint8_t> bytes = EncodeBMP1to8(SourceDAT, ColorCount, PLTE);
    if (bytes.empty()) return kBmpErrUnsupported;
    return ReplaceFile(Fnm, bytes, kBmpErrOverwrite, kBmpErrRead);
}

bool ALLBMPC::IsBMPHeader(std::span<const uint8_t> head) {
    ByteReader r(head);
    const uint16_t type = r.U16LE();
    const int32_t size = r.I32LE();
    r.U16LE();
    r.U16LE();
    const int32_t offBits = r.I32LE();
    if (r.Failed()) return false;
    return type == kBmType && size >= 1 && size <= kIsBmpMaxSize && offBits >= 12;
}

bool ALLBMPC::IsBMP(std::string_view Fnm) {
    const auto head = ReadHead(Fnm, kBitmapFileHeaderSize);
    return head && IsBMPHeader(*head);
}

std::string_view ALLBMPC::GetBMPError(int32_t ErrorNo) {
    switch (ErrorNo) {
        case kBmpErrOpen:
            return "ファイルのオープンに失敗しました。";
        case kBmpErrOverwrite:
            return "上書きに失敗しました。";
        case kBmpErrRead:
            return "読み込みできませんでした。";
        case kBmpErrUnsupported:
            return "対応していないビットマップです。";
        default:
            return "";
    }
}

void ALLBMPC::DrawBMP32(const PixelBuffer& srcDAT, PixelBuffer& dstDAT, int32_t drawx,
                        int32_t drawy, int32_t drawalpha) {
    const double overall = drawalpha / 255.0;
    // Intended: the last source row is never drawn, and neither is the destination's last row.
    for (int32_t y = 0; y + 1 < srcDAT.Height(); ++y) {
        const int64_t ty = int64_t{y} + drawy;
        if (ty < 0 || ty >= int64_t{dstDAT.Height()} - 1) continue;
        for (int32_t x = 0; x < srcDAT.Width(); ++x) {
            const int64_t tx = int64_t{x} + drawx;
            if (tx < 0 || tx >= dstDAT.Width()) continue;
            // Intended: alpha comes from (x, y) but the colour from the destination's
            // coordinates in the source. Where those lie outside the source nothing is drawn.
            if (!srcDAT.Contains(static_cast<int32_t>(tx), static_cast<int32_t>(ty))) continue;
            const uint8_t* colour =
                srcDAT.PixelPtr(static_cast<int32_t>(tx), static_cast<int32_t>(ty));
            const double a = srcDAT.PixelPtr(x, y)[3] * overall / 255;
            uint8_t* d = dstDAT.PixelPtr(static_cast<int32_t>(tx), static_cast<int32_t>(ty));
            for (int k = 0; k < 3; ++k)
                d[k] = static_cast<uint8_t>(std::floor(colour[k] * a + (1 - a) * d[k] + 0.4));
            d[3] = static_cast<uint8_t>(Round(255 * std::min(1.0, d[3] + a)));
        }
    }
}

PixelBuffer ALLBMPC::MakeITIMATU(int32_t Width, int32_t Height, int32_t size, uint32_t gray,
                                 uint32_t white) {
    if (size < 1) return {};
    auto made = PixelBuffer::TryCreate(Width, Height);
    if (!made) return {};
    PixelBuffer out = std::move(*made);
    for (int32_t y = 0; y < Height; ++y) {
        uint8_t* px = out.Row(y);
        for (int32_t x = 0; x < Width; ++x, px += 4) {
            const uint32_t v = ((x / size) % 2 ^ (y / size) % 2) == 0 ? gray : white;
            px[0] = static_cast<uint8_t>(v);
            px[1] = static_cast<uint8_t>(v >> 8);
            px[2] = static_cast<uint8_t>(v >> 16);
            px[3] = static_cast<uint8_t>(v >> 24);
        }
    }
    return out;
}

}  // namespace brv
