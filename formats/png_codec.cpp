#include "formats/png_codec.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <new>
#include <system_error>

#include "core/arith.h"
#include "core/byte_io.h"
#include "core/file_io.h"
#include "core/host.h"
#include "formats/png_colour.h"

namespace brv {

namespace {

constexpr std::string_view kTextOpenFailed = "ファイルがオープンできません。";
constexpr std::string_view kTextMissing =
    "ファイルが存在しないか、サイズが０、もしくは他ソフトが使用中です。";
constexpr std::string_view kTextRuntimeTail = "PNGファイルの読み込みが出来ません。";
constexpr std::string_view kTextNotPNG =
    "PNGフォーマットに従っていないファイルです。PNGファイルでないか、ファイルが壊れている可能性が"
    "あります。";
constexpr std::string_view kTextChunkPastEnd =
    "PNGのチャンクのサイズがファイルの大きさを超えています。ファイルが壊れている可能性があります"
    "。";
constexpr std::string_view kTextInflateFailed = "圧縮データの解凍に失敗しました。";
constexpr std::string_view kTextUnsupported = "対応していないPNGフォーマットです。";
constexpr std::string_view kTextChunkNumber =
    "チャンクの数字の中に２の３１乗を超える数字が現れました。ファイルが壊れている可能性があります"
    "。";
constexpr std::string_view kTextBadInterlace =
    "インターレースが正常に書き込まれていません。ファイルが壊れている可能性があります。";
constexpr std::string_view kTextBadSource = "保存元の画像が不正です。";
constexpr std::string_view kTextBadTempFolder = "一時フォルダの指定が不正です。";

// Texts of the faults that end a read with kPNGRuntime.
constexpr std::string_view kFaultMemory = "メモリが不足しています。";
constexpr std::string_view kFaultIndex = "インデックスが有効範囲にありません。";

constexpr std::array<uint8_t, 8> kSignature = {137, 'P', 'N', 'G', 13, 10, 26, 10};
constexpr size_t kHeaderOffset = 16;  // IHDR data in a file whose first chunk is IHDR
constexpr size_t kHeaderBytes = 13;
constexpr size_t kFirstChunk = 8;    // after the signature
constexpr size_t kTrnsPreset = 257;  // no tRNS reads like one of 257 bytes, which no test takes

// n bytes from pos, as far as the file has them; the rest zero, as a read past the end gives.
void ReadPadded(std::span<const uint8_t> file, uint64_t pos, uint8_t* dst, size_t n) {
    std::memset(dst, 0, n);
    if (pos >= file.size()) return;
    const size_t have = std::min<uint64_t>(n, file.size() - pos);
    std::memcpy(dst, file.data() + pos, have);
}

uint32_t BigEndian32(const uint8_t* p) {
    ByteReader r({p, 4});
    return r.U32BE();
}

bool TypeIs(const uint8_t* type, const char (&name)[5]) {
    return std::memcmp(type, name, 4) == 0;
}

// uncompress() into a buffer of limit bytes: the same result codes, but memory grows with
// the data actually produced instead of being taken whole in advance.
// sizeHint: what the data should come to, to start with a buffer of about the right size.
int InflateLimited(std::span<const uint8_t> in, uint64_t limit, uint64_t sizeHint,
                   std::vector<uint8_t>& out) {
    z_stream z{};
    if (inflateInit(&z) != Z_OK) return Z_MEM_ERROR;
    constexpr uint64_t kChunk = UINT32_MAX;
    uint64_t capacity = std::min<uint64_t>(limit, std::max<uint64_t>(sizeHint, 1 << 12));
    out.resize(static_cast<size_t>(capacity));
    z.next_in = const_cast<Bytef*>(in.data());
    uint64_t inLeft = in.size();
    uint64_t outGiven = 0;  // bytes of out handed to zlib so far
    int err = Z_OK;
    do {
        if (z.avail_out == 0) {
            if (outGiven == capacity && capacity < limit) {
                capacity = std::min<uint64_t>(limit, capacity * 2);
                out.resize(static_cast<size_t>(capacity));
            }
            z.next_out = out.data() + outGiven;
            const uint64_t give = std::min(capacity - outGiven, kChunk);
            z.avail_out = static_cast<uInt>(give);
            outGiven += give;
        }
        if (z.avail_in == 0) {
            const uint64_t give = std::min(inLeft, kChunk);
            z.avail_in = static_cast<uInt>(give);
            inLeft -= give;
        }
        err = inflate(&z, Z_NO_FLUSH);
    } while (err == Z_OK);
    const uint64_t produced = z.total_out;
    inflateEnd(&z);
    out.resize(static_cast<size_t>(produced));
    return err == Z_STREAM_END ? Z_OK : (err == Z_NEED_DICT ? Z_DATA_ERROR : err);
}

// The size of the image data of a well-formed file with this header, interlaced or not.
uint64_t PublishedDataSize(const PNGHeader& h) {
    return uint64_t{h.Height} * (WriterRowBytes(h) + 1) +
           (h.Interlace ? 7 * uint64_t{h.Height} : 0) + 16;
}

// Chunk framing for the writer: length, type, data, CRC-32 of type and data.
void PutChunk(ByteWriter& w, const char (&type)[5], std::span<const uint8_t> data) {
    w.U32BE(static_cast<uint32_t>(data.size()));
    const auto* t = reinterpret_cast<const uint8_t*>(type);
    w.Bytes({t, 4});
    w.Bytes(data);
    uLong crc = crc32(0L, Z_NULL, 0);
    crc = crc32(crc, t, 4);
    if (!data.empty()) crc = crc32(crc, data.data(), static_cast<uInt>(data.size()));
    w.U32BE(static_cast<uint32_t>(crc));
}

bool MoveFile(const std::string& from, std::string_view to) {
    std::error_code ec;
    std::filesystem::rename(ToFsPath(from), ToFsPath(to), ec);
    if (!ec) return true;
    // Across file systems a rename fails; copy and remove then.
    ec.clear();
    std::filesystem::copy_file(ToFsPath(from), ToFsPath(to),
                               std::filesystem::copy_options::overwrite_existing, ec);
    if (ec) return false;
    DeleteFile(from);
    return true;
}

}  // namespace

PNGHeader ReadPNGHeader(std::span<const uint8_t> file) {
    uint8_t b[kHeaderBytes];
    ReadPadded(file, kHeaderOffset, b, kHeaderBytes);
    PNGHeader h;
    h.Width = BigEndian32(b);
    h.Height = BigEndian32(b + 4);
    h.BitDepth = b[8];
    h.ColorType = b[9];
    h.Compression = b[10];
    h.Filter = b[11];
    h.Interlace = b[12];
    return h;
}

// The chunks the reader keeps.
struct PNGC::Chunks {
    std::vector<uint8_t> idat;                                         // every IDAT, joined
    std::vector<uint8_t> plte;                                         // 3 bytes an entry, R, G, B
    std::vector<uint8_t> trns = std::vector<uint8_t>(kTrnsPreset, 0);  // as the chunk has it
};

namespace {

// Walks the chunks from offset 8 until IEND. CRCs are stepped over and never compared.
template <class Chunks>
int32_t WalkChunks(std::span<const uint8_t> file, Chunks& out) {
    const uint64_t fileLength = file.size();
    uint64_t pos = kFirstChunk;
    for (;;) {
        uint8_t frame[8];  // 4 bytes length, big-endian; 4 bytes type
        ReadPadded(file, pos, frame, sizeof frame);
        const double length = BigEndian32(frame);
        if (length > 2147483647.0) return kPNGChunkNumber;
        const auto size = static_cast<uint64_t>(length);
        const uint64_t dataPos = pos + 8;
        if (dataPos + size > fileLength) return kPNGChunkPastEnd;
        auto data = file.subspan(static_cast<size_t>(dataPos), static_cast<size_t>(size));
        const uint8_t* type = frame + 4;
        if (TypeIs(type, "IDAT")) {
            out.idat.insert(out.idat.end(), data.begin(), data.end());
        } else if (TypeIs(type, "PLTE")) {
            out.plte.assign(data.begin(), data.end());
        } else if (TypeIs(type, "tRNS")) {
            out.trns.assign(data.begin(), data.end());
        } else if (TypeIs(type, "IEND")) {
            return kPNGOk;
        }
        pos = dataPos + size + 4;  // the CRC
    }
}

// The unfiltered rows of the image: row y at base + y * stride, rowBytes long.
struct RowsView {
    const uint8_t* base = nullptr;
    size_t stride = 0;
    size_t rowBytes = 0;
    const uint8_t* Row(int32_t y) const { return base + static_cast<size_t>(y) * stride; }
};

// Where conversion writes: row y of the file lands on row y, or Height - 1 - y when the
// rows are turned bottom-up; alpha is XORed with the mask on the way.
struct DestRows {
    PixelBuffer& picture;
    bool flip;
    uint8_t mask;
    uint8_t* Row(int32_t y) const { return picture.Row(flip ? picture.Height() - 1 - y : y); }
    void Put(uint8_t* px, uint8_t b, uint8_t g, uint8_t r, uint8_t a) const {
        px[0] = b;
        px[1] = g;
        px[2] = r;
        px[3] = static_cast<uint8_t>(a ^ mask);
    }
    // Calls put(destination pixel, source pixel) for every pixel, step source bytes apart.
    template <class Rows, class F>
    void Walk(const Rows& rows, size_t step, F put) const {
        for (int32_t y = 0; y < picture.Height(); ++y) {
            const uint8_t* src = rows.Row(y);
            uint8_t* px = Row(y);
            for (int32_t x = 0; x < picture.Width(); ++x, px += 4, src += step)
                put(px, src);
        }
    }
};

}  // namespace

int32_t PNGC::Fault(std::string_view text) {
    lastFailure_ = std::string(text);
    return kPNGRuntime;
}

void PNGC::Report(double fraction) {
    if (ProgressEvent) {
        if (fraction == 0.0)
            ProgressEvent(0.0, 0.0);
        else
            ProgressEvent(fraction, 1.0);
    }
    if (callBack_ && callBack_(RoundToInt(fraction * 100.0), 100) == 1) cancel_ = true;
}

void PNGC::Yield() {
    if (host_) host_->DoEvents();
}

bool PNGC::BeginRead(const PNGCallBack& callBack, bool& retIsCancel) {
    callBack_ = callBack;
    cancel_ = false;
    Report(0.0);
    retIsCancel = cancel_;
    return !cancel_;
}

int32_t PNGC::GetPNG(std::string_view Fnm, PixelBuffer& DestColorBytes, bool ChangeUpBottom,
                     bool XorAlpha, const PNGCallBack& CallBackProcAddress, bool& retIsCancel) {
    const uint8_t mask = XorAlpha ? 255 : 0;
    if (!BeginRead(CallBackProcAddress, retIsCancel)) return kPNGOk;
    if (Fnm.empty() || !FileExists(Fnm)) return kPNGMissing;
    auto size = FileSize(Fnm);
    if (!size || *size < 1) return kPNGMissing;
    try {
        auto bytes = ReadWholeFile(Fnm);
        if (!bytes) return kPNGOpenFailed;
        return DecodeStages(*bytes, DestColorBytes, ChangeUpBottom, mask, retIsCancel);
    } catch (const std::bad_alloc&) {
        return Fault(kFaultMemory);
    }
}

int32_t PNGC::DecodePNG(std::span<const uint8_t> file, PixelBuffer& DestColorBytes,
                        bool ChangeUpBottom, bool XorAlpha, const PNGCallBack& CallBackProcAddress,
                        bool& retIsCancel) {
    const uint8_t mask = XorAlpha ? 255 : 0;
    if (!BeginRead(CallBackProcAddress, retIsCancel)) return kPNGOk;
    if (file.empty()) return kPNGMissing;
    try {
        return DecodeStages(file, DestColorBytes, ChangeUpBottom, mask, retIsCancel);
    } catch (const std::bad_alloc&) {
        return Fault(kFaultMemory);
    }
}

int32_t PNGC::DecodeStages(std::span<const uint8_t> file, PixelBuffer& dest, bool changeUpBottom,
                           uint8_t alphaMask, bool& retIsCancel) {
    const PNGHeader h = ReadPNGHeader(file);
    if (h.Width == 0 || h.Height == 0 || h.ColorType > 6 || h.BitDepth == 0) return kPNGNotPNG;

    Chunks chunks;
    if (int32_t r = WalkChunks(file, chunks); r != kPNGOk) return r;
    Report(0.1);
    if (cancel_) {
        retIsCancel = true;
        return kPNGOk;
    }

    // The buffer estimate ignores the colour type: 5 bytes for every bit of a sample, 1 % and
    // 12 bytes more. Data that does not fit fails like any other inflate error.
    const double estimate =
        (static_cast<double>(h.BitDepth) * h.Height * h.Width) / 8 * 5 * 1.01 + 12;
    const uint64_t pixels = uint64_t{h.Width} * h.Height;
    if (h.Width > static_cast<uint32_t>(PixelBuffer::kMaxSide) ||
        h.Height > static_cast<uint32_t>(PixelBuffer::kMaxSide) || pixels > MaxPixels ||
        estimate > static_cast<double>(MaxDataBytes))
        return Fault(kFaultMemory);
    std::vector<uint8_t> data;
    if (InflateLimited(chunks.idat, static_cast<uint64_t>(std::floor(estimate)),
                       PublishedDataSize(h), data) != Z_OK)
        return kPNGInflateFailed;
    chunks.idat = {};

    const auto width = static_cast<int32_t>(h.Width);
    const auto height = static_cast<int32_t>(h.Height);
    RowsView rows;
    std::vector<uint8_t> interlaced;
    if (h.Interlace != 0) {
        size_t rowBytes = 0;
        if (Adam7Read(h, data, interlaced, rowBytes) != 0) return kPNGBadInterlace;
        if (interlaced.empty() && rowBytes) return Fault(kFaultMemory);
        rows = {interlaced.data(), rowBytes, rowBytes};
    } else {
        Report(0.2);
        const size_t rowLength = data.size() / static_cast<size_t>(height);  // filter byte too
        if (rowLength < 1) return Fault(kFaultIndex);
        const int32_t bpp = ReaderBytesPerPixel(h);
        for (int32_t y = 0; y < height; ++y) {
            uint8_t* row = data.data() + static_cast<size_t>(y) * rowLength;
            std::span<uint8_t> samples(row + 1, rowLength - 1);
            std::span<const uint8_t> prior;
            if (y) prior = {row - rowLength + 1, rowLength - 1};
            // An unknown filter leaves the row zero, without an error; intended.
            if (!UnfilterRow(row[0], samples, prior, bpp))
                std::fill(samples.begin(), samples.end(), uint8_t{0});
        }
        Report(0.3);
        rows = {data.data() + 1, rowLength, rowLength - 1};
    }

    auto picture = PixelBuffer::TryCreate(width, height);
    if (!picture) return Fault(kFaultMemory);
    const std::vector<uint8_t>& trns = chunks.trns;
    const DestRows out{*picture, changeUpBottom, alphaMask};
    bool converted = true;
    const uint32_t depth = h.BitDepth;
    auto needRow = [&](uint64_t bytes) { return bytes <= rows.rowBytes; };

    switch (h.ColorType) {
        case 0: {
            // Below 8 bits nothing is converted and the picture stays zero; at 16 the first
            // Width bytes of a row are read as 8-bit pixels. Both intended.
            if (depth < 8) {
                converted = false;
                break;
            }
            if (!needRow(uint64_t{h.Width})) return Fault(kFaultIndex);
            const bool keyed = trns.size() == 2;
            const int key = keyed ? (trns[0] != 0 ? trns[0] : trns[1]) : -1;
            out.Walk(rows, 1, [&](uint8_t* px, const uint8_t* src) {
                const uint8_t v = *src;
                if (v == key)
                    out.Put(px, 0, 0, 0, 0);
                else
                    out.Put(px, v, v, v, 255);
            });
            break;
        }
        case 2: {
            // At 16 bits the high byte of each sample.
            const size_t step = depth == 16 ? 6 : 3;
            const size_t gOff = depth == 16 ? 2 : 1;
            const size_t bOff = depth == 16 ? 4 : 2;
            if (!needRow(uint64_t{h.Width} * step)) return Fault(kFaultIndex);
            int64_t key = -1;
            if (trns.size() >= 2 && trns.size() <= 256) {
                // The key's bytes 0, 2 and 4 are the high bytes of the published 16-bit
                // fields, so an 8-bit file's key reads as black; intended.
                if (trns.size() < 5) return Fault(kFaultIndex);
                key = int64_t{trns[0]} * 65536 + int64_t{trns[2]} * 256 + trns[4];
            }
            out.Walk(rows, step, [&](uint8_t* px, const uint8_t* src) {
                const uint8_t r = src[0], g = src[gOff], b = src[bOff];
                // At 16 bits green stands in for blue in the key test; intended.
                const int64_t value = int64_t{r} * 65536 + int64_t{g} * 256 + (depth == 16 ? g : b);
                out.Put(px, b, g, r, value == key ? 0 : 255);
            });
            break;
        }
        case 3: {
            std::array<Bgra, 256> table;
            table.fill(Bgra{0, 0, 0, 255});
            const size_t entries = std::min<size_t>(chunks.plte.size() / 3, 256);
            for (size_t i = 0; i < entries; ++i) {
                const uint8_t* e = chunks.plte.data() + 3 * i;
                table[i] = {e[2], e[1], e[0], 255};
            }
            if (trns.size() <= 256)
                for (size_t i = 0; i < trns.size(); ++i)
                    table[i].a = trns[i];
            if (depth != 1 && depth != 2 && depth != 4 && depth != 8) {
                converted = false;
                break;
            }
            if (!needRow((uint64_t{h.Width} * depth + 7) / 8)) return Fault(kFaultIndex);
            const uint32_t perByte = 8 / depth;
            const uint32_t sampleMask = (1u << depth) - 1;
            for (int32_t y = 0; y < height; ++y) {
                const uint8_t* src = rows.Row(y);
                uint8_t* px = out.Row(y);
                for (int32_t x = 0; x < width; ++x, px += 4) {
                    const auto ux = static_cast<uint32_t>(x);
                    const uint32_t shift = 8 - depth * (ux % perByte + 1);
                    const Bgra& e = table[(src[ux / perByte] >> shift) & sampleMask];
                    out.Put(px, e.b, e.g, e.r, e.a);
                }
            }
            break;
        }
        case 4: {
            const size_t step = depth == 16 ? 3 : 2;  // 3 at 16 bits; intended
            const size_t aOff = depth == 16 ? 2 : 1;
            if (!needRow(uint64_t{h.Width} * step)) return Fault(kFaultIndex);
            out.Walk(rows, step, [&](uint8_t* px, const uint8_t* src) {
                out.Put(px, src[0], src[0], src[0], src[aOff]);
            });
            break;
        }
        case 6: {
            const size_t step = depth == 16 ? 7 : 4;  // 7 at 16 bits; intended
            const size_t k = depth == 16 ? 2 : 1;
            if (!needRow(uint64_t{h.Width} * step)) return Fault(kFaultIndex);
            out.Walk(rows, step, [&](uint8_t* px, const uint8_t* src) {
                out.Put(px, src[2 * k], src[k], src[0], src[3 * k]);
            });
            break;
        }
        default:
            return kPNGUnsupported;
    }
    data = {};
    interlaced = {};

    Report(0.5);
    // Pictures left unconverted are zero, alpha included, before the mask.
    if (!converted && alphaMask) FlipAndInvert(*picture, false, true);
    dest = std::move(*picture);
    for (int32_t x = 0; x < width; ++x) {
        Report(0.5 + 0.5 * x / width);
        if (cancel_) {
            retIsCancel = true;
            return kPNGOk;
        }
    }
    return kPNGOk;
}

int32_t PNGC::Adam7Read(const PNGHeader& header, std::span<const uint8_t> data,
                        std::vector<uint8_t>& rows, size_t& rowBytes) {
    const auto width = static_cast<int32_t>(header.Width);
    const auto height = static_cast<int32_t>(header.Height);
    const int32_t bits = Adam7BitsPerPixel(header);
    if (bits / 8.0 < 1.0) {
        if (host_) host_->ShowMessage(kPNGBitBoundaryMessage);
        // The rows stay unfilled (zero); the read goes on with them. Intended.
        rowBytes = (uint64_t{header.Width} * bits + 7) / 8 + ((header.ColorType & 4) ? width : 0);
        rows.assign(rowBytes * static_cast<size_t>(height), 0);
        return 0;
    }
    const int32_t bpp = Adam7BytesPerPixel(header);
    rowBytes = static_cast<size_t>(width) * static_cast<size_t>(bpp);
    if (static_cast<uint64_t>(rowBytes) * static_cast<uint64_t>(height) > MaxDataBytes) {
        rows.clear();
        return 0;
    }
    rows.assign(rowBytes * static_cast<size_t>(height), 0);

    std::vector<uint8_t> prior, current;
    size_t pos = 0;
    for (const Adam7Pass& pass : kAdam7Passes) {
        const int32_t cols = Adam7Count(width, pass.xStart, pass.xStep);
        const int32_t passRows = Adam7Count(height, pass.yStart, pass.yStep);
        if (cols == 0 || passRows == 0) continue;
        const size_t passRowBytes = static_cast<size_t>(cols) * static_cast<size_t>(bpp);
        prior.clear();
        for (int32_t j = 0; j < passRows; ++j) {
            if (pos >= data.size() || data.size() - pos < passRowBytes + 1) return 1;
            const uint8_t type = data[pos];
            if (type >= 5) return 1;
            current.assign(data.begin() + static_cast<std::ptrdiff_t>(pos + 1),
                           data.begin() + static_cast<std::ptrdiff_t>(pos + 1 + passRowBytes));
            pos += passRowBytes + 1;
            UnfilterRow(type, current, prior, bpp);
            uint8_t* dst = rows.data() +
                           static_cast<size_t>(pass.yStart + j * pass.yStep) * rowBytes +
                           static_cast<size_t>(pass.xStart) * bpp;
            const size_t jump = static_cast<size_t>(pass.xStep) * bpp;
            for (int32_t i = 0; i < cols; ++i, dst += jump)
                std::memcpy(dst, current.data() + static_cast<size_t>(i) * bpp,
                            static_cast<size_t>(bpp));
            std::swap(prior, current);
        }
    }
    return 0;
}

int32_t PNGC::EncodePNG(const PixelBuffer& BMPDATA, int32_t ColorBit, int32_t FilterNo,
                        bool InterlaceOn, std::vector<uint8_t>& retFile) {
    if (BMPDATA.Empty() || (ColorBit != 8 && ColorBit != 24 && ColorBit != 32))
        return kPNGBadSource;
    Report(0.0);
    const int32_t width = BMPDATA.Width();
    const int32_t height = BMPDATA.Height();
    PNGHeader h;
    h.Width = static_cast<uint32_t>(width);
    h.Height = static_cast<uint32_t>(height);
    h.BitDepth = 8;
    h.ColorType = ColorBit == 8 ? 3 : (ColorBit == 24 ? 2 : 6);
    h.Interlace = InterlaceOn ? 1 : 0;
    const size_t rowBytes = WriterRowBytes(h);

    // Colour work, then the rows top-down in the file's R, G, B order.
    std::vector<uint8_t> raw(rowBytes * static_cast<size_t>(height));
    std::vector<uint8_t> trns;
    PNGPalette palette;
    if (ColorBit == 8) {
        palette = MakePNGPalette(BMPDATA, 8);
        size_t last = 0;
        for (size_t i = 0; i < palette.Entries.size(); ++i)
            if (palette.Entries[i].a < 255) last = i;
        for (size_t i = 0; i <= last; ++i)
            trns.push_back(palette.Entries[i].a);
        Report(0.1);
        for (int32_t y = 0; y < height; ++y)
            std::memcpy(raw.data() + static_cast<size_t>(y) * rowBytes,
                        palette.Indices.data() + static_cast<size_t>(height - 1 - y) * width,
                        rowBytes);
    } else {
        PixelBuffer work;
        const PixelBuffer* src = &BMPDATA;
        if (ColorBit == 24) {
            work = BMPDATA;
            const int32_t key = MakeTransparentKey(work);
            src = &work;
            if (key >= 0 && key <= 16777215) {
                // Each 8-bit sample doubled into its 16-bit field.
                const auto r = static_cast<uint8_t>(key & 255);
                const auto g = static_cast<uint8_t>((key >> 8) & 255);
                const auto b = static_cast<uint8_t>((key >> 16) & 255);
                trns = {r, r, g, g, b, b};
            }
        }
        Report(0.1);
        const size_t channels = ColorBit == 24 ? 3 : 4;
        for (int32_t y = 0; y < height; ++y) {
            const uint8_t* px = src->Row(height - 1 - y);
            uint8_t* dst = raw.data() + static_cast<size_t>(y) * rowBytes;
            for (int32_t x = 0; x < width; ++x, px += 4, dst += channels) {
                dst[0] = px[2];
                dst[1] = px[1];
                dst[2] = px[0];
                if (channels == 4) dst[3] = px[3];
            }
        }
    }
    Report(0.2);

    const double from = 0.2, to = 0.3;
    double passFrom = from, passTo = to;
    auto afterRow = [&](int32_t done, int32_t total) {
        if (done % 10 == 0) Report(passFrom + (passTo - passFrom) * done / total);
        Yield();
    };
    std::vector<uint8_t> filtered;
    if (InterlaceOn) {
        auto beforePass = [&](int32_t pass) {
            passFrom = from + (to - from) * pass / 8;
            passTo = from + (to - from) * (pass + 1) / 8;
            Report(passFrom);
        };
        filtered = Adam7Write(raw, FilterNo, h, beforePass, afterRow);
    } else {
        filtered = FilterRows(raw, FilterNo, h, afterRow);
    }
    raw = {};
    Report(0.3);

    // One call of compress() with its buffer of 1 % and 13 bytes more than the data.
    uLongf packedSize = static_cast<uLongf>(static_cast<double>(filtered.size()) * 1.01 + 13);
    std::vector<uint8_t> packed(packedSize);
    if (compress(packed.data(), &packedSize, filtered.data(), filtered.size()) != Z_OK)
        return kPNGBadSource;
    packed.resize(packedSize);

    ByteWriter w(packed.size() + 1024);
    w.Bytes(kSignature);
    ByteWriter ihdr;
    ihdr.U32BE(h.Width);
    ihdr.U32BE(h.Height);
    ihdr.U8(h.BitDepth);
    ihdr.U8(h.ColorType);
    ihdr.U8(0);  // compression
    ihdr.U8(0);  // filter method
    ihdr.U8(h.Interlace);
    PutChunk(w, "IHDR", ihdr.Data());
    if (ColorBit == 8) {
        std::vector<uint8_t> plte;
        plte.reserve(768);
        for (const Bgra& e : palette.Entries) {
            plte.push_back(e.r);
            plte.push_back(e.g);
            plte.push_back(e.b);
        }
        PutChunk(w, "PLTE", plte);
    }
    if (!trns.empty()) PutChunk(w, "tRNS", trns);
    PutChunk(w, "IDAT", packed);
    PutChunk(w, "IEND", {});
    retFile = std::move(w).Take();
    Report(1.0);
    return kPNGOk;
}

int32_t PNGC::WriteOnce(std::string_view Fnm, const PixelBuffer& BMPDATA, int32_t ColorBit,
                        int32_t FilterNo, bool InterlaceOn) {
    std::vector<uint8_t> file;
    if (int32_t r = EncodePNG(BMPDATA, ColorBit, FilterNo, InterlaceOn, file); r != kPNGOk)
        return r;
    if (FileExists(Fnm)) DeleteFile(Fnm);
    return WriteWholeFile(Fnm, file) ? kPNGOk : kPNGOpenFailed;
}

int32_t PNGC::SavePNG(std::string_view Fnm, const PixelBuffer& BMPDATA, int32_t& ColorBit,
                      int32_t FilterNo, const PNGCallBack& CallBackProcAddress, bool InterlaceOn,
                      std::string_view TempPath) {
    callBack_ = CallBackProcAddress;
    cancel_ = false;
    if (BMPDATA.Empty()) return kPNGBadSource;
    try {
        if (ColorBit == 0) ColorBit = GetBestColorBit(BMPDATA);
        if (ColorBit < 8) return kPNGBadSource;
        if (FilterNo > 5 && TempPath.empty()) return kPNGBadTempFolder;
        if (FilterNo < 0) return kPNGBadSource;
        if (FilterNo <= 5) return WriteOnce(Fnm, BMPDATA, ColorBit, FilterNo, InterlaceOn);

        // Every filter choice written to the temporary folder; the smallest file is kept.
        const std::string base = std::string(TempPath) + ShortName(Fnm);
        std::array<std::string, 6> names;
        std::array<uint64_t, 6> sizes{};
        auto removeAll = [&] {
            for (const auto& n : names)
                if (!n.empty() && FileExists(n)) DeleteFile(n);
        };
        for (int32_t digit = 0; digit < 6; ++digit) {
            names[digit] = base + static_cast<char>('0' + digit);
            if (int32_t r = WriteOnce(names[digit], BMPDATA, ColorBit, digit, InterlaceOn);
                r != kPNGOk) {
                removeAll();
                return r;
            }
            sizes[digit] = FileSize(names[digit]).value_or(UINT64_MAX);
        }
        // Bubble sort swapping only on strictly greater: of equal sizes the lowest digit wins.
        std::array<int32_t, 6> order = {0, 1, 2, 3, 4, 5};
        for (int32_t i = 0; i < 5; ++i)
            for (int32_t j = 0; j < 5 - i; ++j)
                if (sizes[order[j]] > sizes[order[j + 1]]) std::swap(order[j], order[j + 1]);
        if (FileExists(Fnm)) DeleteFile(Fnm);
        const bool moved = MoveFile(names[order[0]], Fnm);
        removeAll();
        return moved ? kPNGOk : kPNGOpenFailed;
    } catch (const std::bad_alloc&) {
        return kPNGBadSource;
    }
}

bool PNGC::IsPNGBytes(std::span<const uint8_t> head) {
    if (head.empty()) return false;
    const PNGHeader h = ReadPNGHeader(head);
    return h.Width >= 1 && h.Width <= 32767 && h.Height >= 1 && h.Height <= 32767 &&
           h.BitDepth >= 1 && h.BitDepth <= 32 && h.ColorType <= 6;
}

bool PNGC::IsPNG(std::string_view Fnm) {
    if (Fnm.empty() || !FileExists(Fnm)) return false;
    auto size = FileSize(Fnm);
    if (!size || *size < 1) return false;
    std::ifstream in(ToFsPath(Fnm), std::ios::binary);
    if (!in) return false;
    std::array<uint8_t, kHeaderOffset + kHeaderBytes> head{};
    in.read(reinterpret_cast<char*>(head.data()), static_cast<std::streamsize>(head.size()));
    const auto got = static_cast<size_t>(in.gcount());
    return IsPNGBytes({head.data(), got});
}

std::string PNGC::GetPNGError(int32_t ErrorNo) const {
    switch (ErrorNo) {
        case kPNGOpenFailed:
            return std::string(kTextOpenFailed);
        case kPNGMissing:
            return std::string(kTextMissing);
        case kPNGRuntime:
            return lastFailure_ + "\n" + std::string(kTextRuntimeTail);
        case kPNGNotPNG:
            return std::string(kTextNotPNG);
        case kPNGChunkPastEnd:
            return std::string(kTextChunkPastEnd);
        case kPNGInflateFailed:
            return std::string(kTextInflateFailed);
        case kPNGUnsupported:
            return std::string(kTextUnsupported);
        case kPNGChunkNumber:
            return std::string(kTextChunkNumber);
        case kPNGBadInterlace:
            return std::string(kTextBadInterlace);
        case kPNGBadSource:
            return std::string(kTextBadSource);
        case kPNGBadTempFolder:
            return std::string(kTextBadTempFolder);
        default:
            return {};
    }
}

}  // namespace brv
