#include "formats/ico_codec.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <fstream>
#include <limits>
#include <unordered_map>
#include <unordered_set>

#include "core/file_io.h"

namespace brv {

namespace {

constexpr int32_t kOk = 0;
constexpr int32_t kErrOpen = -1;
constexpr int32_t kErrBadFile = -2;
constexpr int32_t kErrIndex = -3;
constexpr int32_t kErrBadHeader = -4;
constexpr int32_t kErrUnsupported = -5;
constexpr int32_t kErrEmpty = -6;
constexpr int32_t kErrConvert = -7;
constexpr int32_t kErrSave = -8;
constexpr int32_t kErrReadAll = -9;

constexpr int16_t kMaxIconCount = 1000;
// The validity test never looks beyond the directory of at most kMaxIconCount entries.
constexpr size_t kDirectoryPrefix = kIconHeaderSize + kIconDirEntrySize * kMaxIconCount;

IconFileHeader ReadFileHeader(ByteReader& r) {
    IconFileHeader h;
    h.Reserved = r.U16LE();
    h.Type = r.U16LE();
    h.Count = r.I16LE();
    return h;
}

IconDirEntry ReadDirEntry(ByteReader& r) {
    IconDirEntry e;
    e.Width = r.U8();
    e.Height = r.U8();
    e.ColorCount = r.U8();
    e.Reserved = r.U8();
    e.Planes = r.I16LE();
    e.BitCount = r.I16LE();
    e.BytesInRes = r.U32LE();
    e.ImageOffset = r.U32LE();
    return e;
}

IconBitmapHeader ReadBitmapHeader(ByteReader& r) {
    IconBitmapHeader h;
    h.biSize = r.I32LE();
    h.biWidth = r.I32LE();
    h.biHeight = r.I32LE();
    h.biPlanes = r.I16LE();
    h.biBitCount = r.I16LE();
    h.biCompression = r.I32LE();
    h.biSizeImage = r.I32LE();
    h.biXPelsPerMeter = r.I32LE();
    h.biYPelsPerMeter = r.I32LE();
    h.biClrUsed = r.I32LE();
    h.biClrImportant = r.I32LE();
    return h;
}

void WriteDirEntry(ByteWriter& w, const IconDirEntry& e) {
    w.U8(e.Width);
    w.U8(e.Height);
    w.U8(e.ColorCount);
    w.U8(e.Reserved);
    w.I16LE(e.Planes);
    w.I16LE(e.BitCount);
    w.U32LE(e.BytesInRes);
    w.U32LE(e.ImageOffset);
}

void WriteBitmapHeader(ByteWriter& w, const IconBitmapHeader& h) {
    w.I32LE(h.biSize);
    w.I32LE(h.biWidth);
    w.I32LE(h.biHeight);
    w.I16LE(h.biPlanes);
    w.I16LE(h.biBitCount);
    w.I32LE(h.biCompression);
    w.I32LE(h.biSizeImage);
    w.I32LE(h.biXPelsPerMeter);
    w.I32LE(h.biYPelsPerMeter);
    w.I32LE(h.biClrUsed);
    w.I32LE(h.biClrImportant);
}

// Fills dst from the reader; what lies past the end of the file reads as zeros, the way the
// runtime's binary reads behave, so a cut-off image still decodes.
void ReadPadded(ByteReader& r, std::span<uint8_t> dst) {
    const size_t avail = std::min(dst.size(), r.Remaining());
    const auto src = r.Bytes(avail);
    std::fill(dst.begin(), dst.end(), uint8_t{0});
    std::copy(src.begin(), src.end(), dst.begin());
    if (avail < dst.size()) r.Skip(dst.size() - avail);  // sticks: later reads give zeros too
}

// The first maxBytes of a file (all of a shorter one); nullopt when it can't be read.
std::optional<std::vector<uint8_t>> ReadFilePrefix(std::string_view path, size_t maxBytes) {
    std::ifstream in(ToFsPath(path), std::ios::binary);
    if (!in) return std::nullopt;
    std::vector<uint8_t> bytes(maxBytes);
    in.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(maxBytes));
    if (in.bad()) return std::nullopt;
    bytes.resize(static_cast<size_t>(in.gcount()));
    return bytes;
}

uint32_t PackBgr(const uint8_t* px) {
    return uint32_t{px[0]} | (uint32_t{px[1]} << 8) | (uint32_t{px[2]} << 16);
}

}  // namespace

int64_t IconRowBytes(int64_t width, int64_t depth) {
    if (width < 0 || depth < 0 || width > (int64_t{1} << 32) || depth > 64) return -1;
    return (width * depth + 31) / 32 * 4;
}

std::string_view IconC::GetError(int32_t ErrorNo) {
    switch (ErrorNo) {
        case kOk:
            return "正常終了";
        case kErrOpen:
            return "ファイルがオープンできません。";
        case kErrBadFile:
            return "アイコンファイルが不正です。";
        case kErrIndex:
            return "アイコンインデックスが範囲外です。";
        case kErrBadHeader:
            return "アイコンの画像の設定が不正です。";
        case kErrUnsupported:
            return "サポートしていないアイコンです。";
        case kErrEmpty:
            return "ファイルサイズが0か、オープンに失敗しました。";
        case kErrConvert:
            return "ファイルの変換に失敗しました。";
        case kErrSave:
            return "ファイルの保存に失敗しました。";
        case kErrReadAll:
            return "アイコンファイルの読み込みに失敗しました。";
        default:
            return "";
    }
}

int32_t IconC::IsIconBytes(std::span<const uint8_t> head, uint64_t fileLength) {
    if (fileLength < 1) return kErrEmpty;
    ByteReader r(head);
    const IconFileHeader h = ReadFileHeader(r);
    if (h.Reserved != 0 || (h.Type != 1 && h.Type != 2) || h.Count > kMaxIconCount)
        return kErrBadFile;
    if (h.Count < 1) return kOk;
    for (int i = 0; i < h.Count; ++i) {
        const IconDirEntry e = ReadDirEntry(r);
        // The image's end is never compared with the length, and the images are not read.
        if (e.ColorCount > 32 || e.BytesInRes > fileLength || e.ImageOffset > fileLength)
            return kErrBadFile;
    }
    return kOk;
}

int32_t IconC::IsIcon(std::string_view Fnm) const {
    const auto length = FileSize(Fnm);
    if (!length || *length < 1) return kErrEmpty;
    const auto head = ReadFilePrefix(Fnm, kDirectoryPrefix);
    if (!head) return kErrOpen;
    return IsIconBytes(*head, *length);
}

int32_t IconC::IconCountBytes(std::span<const uint8_t> file) {
    ByteReader r(file);
    return ReadFileHeader(r).Count;
}

int32_t IconC::IconCount(std::string_view Fnm) const {
    const auto head = ReadFilePrefix(Fnm, kIconHeaderSize);
    if (!head) return -1;
    return IconCountBytes(*head);
}

int32_t IconC::LoadIcon(std::string_view Fnm, int32_t Index, PixelBuffer& DestData, int32_t& HotX,
                        int32_t& HotY, bool AlphaReverse) const {
    const auto file = ReadWholeFile(Fnm);
    if (!file) return kErrOpen;
    return LoadIconBytes(*file, Index, DestData, HotX, HotY, AlphaReverse);
}

int32_t IconC::LoadIconBytes(std::span<const uint8_t> file, int32_t Index, PixelBuffer& DestData,
                             int32_t& HotX, int32_t& HotY, bool AlphaReverse) const {
    ByteReader r(file);
    const IconFileHeader h = ReadFileHeader(r);
    if (h.Count < 1) return kErrBadFile;
    if (Index < 1 || Index > h.Count) return kErrIndex;
    IconDirEntry e;
    for (int32_t i = 1; i <= Index; ++i)
        e = ReadDirEntry(r);
    // An offset past the end leaves the reader failed: the header then reads as zeros.
    r.Seek(e.ImageOffset);
    IconBitmapHeader bmi = ReadBitmapHeader(r);
    HotX = e.Planes;
    HotY = e.BitCount;
    if (bmi.biHeight >= 65537 || bmi.biWidth >= 65537 || bmi.biBitCount >= 33 || bmi.biSize != 40)
        return kErrBadHeader;
    if (DecodeIconImage(r, bmi, DestData, AlphaReverse) < 0) return kErrUnsupported;
    return bmi.biBitCount;
}

int32_t IconC::LoadIconFromOpenFile(ByteReader& file, IconBitmapHeader& bmi, PixelBuffer& DestData,
                                    bool ReverseAlpha) const {
    const IconBitmapHeader header = bmi;
    const int32_t result = DecodeIconImage(file, header, DestData, ReverseAlpha);
    bmi = header;
    return result;
}

int32_t IconC::DecodeIconImage(ByteReader& file, const IconBitmapHeader& Header,
                               PixelBuffer& DestData, bool AlphaReverse) const {
    const int32_t depth = Header.biBitCount;
    // 16 bits is refused like any depth the writer never makes.
    if (depth != 1 && depth != 4 && depth != 8 && depth != 24 && depth != 32)
        return kErrUnsupported;
    const int64_t width = Header.biWidth;
    const int64_t height = Header.biHeight / 2;
    if (width < 1 || height < 1 || width > PixelBuffer::kMaxSide ||
        height > PixelBuffer::kMaxSide || width * height > limits_.MaxPixels)
        return kErrUnsupported;
    const auto w = static_cast<int32_t>(width);
    const auto h = static_cast<int32_t>(height);

    // A palette has 2^depth entries whatever biClrUsed says.
    const int64_t colourRow = IconRowBytes(width, depth);
    const int64_t maskRowBytes = IconRowBytes(width, 1);
    if (colourRow < 1 || maskRowBytes < 1) return kErrUnsupported;
    std::vector<uint8_t> palette(depth < 9 ? size_t{4} << depth : 0);
    ReadPadded(file, palette);
    const auto rowBytes = static_cast<size_t>(colourRow);
    std::vector<uint8_t> colour(rowBytes * static_cast<size_t>(h));
    ReadPadded(file, colour);

    auto out = PixelBuffer::TryCreate(w, h);
    if (!out) return kErrUnsupported;
    for (int32_t y = 0; y < h; ++y) {
        const uint8_t* src = colour.data() + rowBytes * static_cast<size_t>(y);
        uint8_t* dst = out->Row(y);
        if (depth == 32) {
            std::memcpy(dst, src, out->Stride());
            if (AlphaReverse)
                for (int32_t x = 0; x < w; ++x)
                    dst[4 * x + 3] = static_cast<uint8_t>(255 - dst[4 * x + 3]);
            continue;
        }
        for (int32_t x = 0; x < w; ++x) {
            const uint8_t* c;
            if (depth == 24) {
                c = src + 3 * static_cast<size_t>(x);
            } else {
                size_t index;
                if (depth == 1)
                    index = (src[x / 8] >> (7 - x % 8)) & 1;
                else if (depth == 4)
                    index = x % 2 == 0 ? src[x / 2] >> 4 : src[x / 2] & 15;
                else
                    index = src[x];
                c = palette.data() + 4 * index;
            }
            dst[4 * x] = c[0];
            dst[4 * x + 1] = c[1];
            dst[4 * x + 2] = c[2];
            dst[4 * x + 3] = 0;
        }
    }

    // The mask is always read, also for 32 bits where it is then thrown away.
    const auto maskRow = static_cast<size_t>(maskRowBytes);
    std::vector<uint8_t> mask(maskRow * static_cast<size_t>(h));
    ReadPadded(file, mask);
    if (depth < 25) {
        const uint8_t clear = AlphaReverse ? 0 : 255;
        const uint8_t set = AlphaReverse ? 255 : 0;
        for (int32_t y = 0; y < h; ++y) {
            const uint8_t* m = mask.data() + maskRow * static_cast<size_t>(y);
            uint8_t* dst = out->Row(y);
            for (int32_t x = 0; x < w; ++x)
                dst[4 * x + 3] = ((m[x / 8] >> (7 - x % 8)) & 1) ? set : clear;
        }
    }
    DestData = std::move(*out);
    return kOk;
}

int32_t IconC::GetColorsInIcon(const PixelBuffer& srcDATA, bool NotCalcOver256) {
    const int32_t w = srcDATA.Width();
    const int32_t h = srcDATA.Height();
    bool usesAlpha = false;
    for (size_t i = 3; i < srcDATA.ByteSize() && !usesAlpha; i += 4) {
        const uint8_t a = srcDATA.Bytes()[i];
        usesAlpha = a != 0 && a != 255;
    }
    // Black and white always count, whether they occur or not.
    std::unordered_set<uint64_t> seen{0, 16777215};
    int32_t count = 2;
    bool stopped = false;
    for (int32_t x = 0; x < w && !stopped; ++x) {
        for (int32_t y = 0; y < h; ++y) {
            const uint8_t* p = srcDATA.PixelPtr(x, y);
            const uint64_t key = (usesAlpha ? uint64_t{p[3]} << 24 : 0) | (uint64_t{p[0]} << 16) |
                                 (uint64_t{p[1]} << 8) | p[2];
            if (!seen.insert(key).second) continue;
            ++count;
            if (NotCalcOver256 && count >= 257) {
                stopped = true;
                break;
            }
        }
    }
    // Soft alpha always takes the 32-bit road, but only below 256 counted colours.
    return usesAlpha && count <= 255 ? 258 : count;
}

std::vector<uint8_t> IconC::MakeIconMask(const PixelBuffer& srcDATA) {
    const int32_t w = srcDATA.Width();
    const int32_t h = srcDATA.Height();
    const auto maskRow = static_cast<size_t>(IconRowBytes(w, 1));
    std::vector<uint8_t> mask(maskRow * static_cast<size_t>(h), 0);
    for (int32_t y = 0; y < h; ++y) {
        const uint8_t* row = srcDATA.Row(y);
        uint8_t* m = mask.data() + maskRow * static_cast<size_t>(y);
        for (int32_t x = 0; x < w; ++x)
            if (row[4 * x + 3] < 128) m[x / 8] |= static_cast<uint8_t>(0x80 >> (x % 8));
    }
    return mask;
}

int32_t IconC::EncodeIconImage(const PixelBuffer& srcDATA, IconImageRecord& retRecord,
                               int32_t BitCount) {
    const int32_t w = srcDATA.Width();
    const int32_t h = srcDATA.Height();
    int32_t colours;
    if (BitCount < 1)
        colours = GetColorsInIcon(srcDATA, true);
    else if (BitCount <= 8)
        colours = 1 << BitCount;
    else
        colours = 257;
    // Depths 1 and 24 are never written: 1 bit becomes 4 bits limited to two colours.
    const int32_t depth = colours <= 16 ? 4 : (colours <= 256 ? 8 : 32);

    IconImageRecord rec;
    rec.MaskBits = MakeIconMask(srcDATA);
    if (depth == 32) {
        rec.ColorBits = srcDATA.Vector();
    } else {
        const auto rowBytes = static_cast<size_t>(IconRowBytes(w, depth));
        rec.ColorBits.assign(rowBytes * static_cast<size_t>(h), 0);
        rec.Palette.assign(size_t{1} << depth, 0);
        // Only entries that are in use are searched, so the map gives the first match.
        std::unordered_map<uint32_t, uint32_t> known;
        uint32_t used = 0;
        if (depth == 4) {
            for (int32_t x = 0; x < w; ++x) {
                for (int32_t y = 0; y < h; ++y) {
                    const uint32_t bgr = PackBgr(srcDATA.PixelPtr(x, y));
                    uint32_t index;
                    if (auto it = known.find(bgr); it != known.end()) {
                        index = it->second;
                    } else if (used < static_cast<uint32_t>(colours)) {
                        rec.Palette[used] = bgr;
                        known.emplace(bgr, used);
                        index = used++;
                    } else {
                        // Full: one past the last entry, unchecked; the caller reduces first.
                        index = used;
                    }
                    uint8_t& byte = rec.ColorBits[rowBytes * static_cast<size_t>(y) +
                                                  static_cast<size_t>(x / 2)];
                    const uint32_t merged = byte | (x % 2 == 0 ? index * 16 : index);
                    // An index of 16 in a high nibble overflows the byte, and that ends the
                    // conversion as a failure, as intended.
                    if (merged > 255) return kErrConvert;
                    byte = static_cast<uint8_t>(merged);
                }
            }
        } else {
            // Prepared entries that stay in the file when fewer than three colours occur.
            rec.Palette[1] = 0xFF00FF;
            rec.Palette[2] = 0x00FF00;
            bool stopped = false;
            for (int32_t x = 0; x < w && !stopped; ++x) {
                for (int32_t y = 0; y < h; ++y) {
                    const uint32_t bgr = PackBgr(srcDATA.PixelPtr(x, y));
                    uint32_t index;
                    if (auto it = known.find(bgr); it != known.end()) {
                        index = it->second;
                    } else {
                        // The 257th colour ends the walk: the pixels after it keep index 0.
                        if (used == 256) {
                            stopped = true;
                            break;
                        }
                        rec.Palette[used] = bgr;
                        known.emplace(bgr, used);
                        index = used++;
                    }
                    rec.ColorBits[rowBytes * static_cast<size_t>(y) + static_cast<size_t>(x)] =
                        static_cast<uint8_t>(index);
                }
            }
        }
    }

    const uint64_t bytesInRes = uint64_t{rec.MaskBits.size()} + rec.ColorBits.size() +
                                kIconBitmapHeaderSize + 4 * uint64_t{rec.Palette.size()};
    if (bytesInRes > std::numeric_limits<uint32_t>::max()) return kErrConvert;
    rec.Entry.Width = static_cast<uint8_t>(w & 255);
    rec.Entry.Height = static_cast<uint8_t>(h & 255);
    rec.Entry.ColorCount = depth == 4 ? 16 : 0;
    rec.Entry.BytesInRes = static_cast<uint32_t>(bytesInRes);
    rec.Header = IconBitmapHeader{};
    rec.Header.biWidth = w;
    rec.Header.biHeight = 2 * h;
    rec.Header.biBitCount = static_cast<int16_t>(depth);
    retRecord = std::move(rec);
    return kOk;
}

int32_t IconC::ChangeDataToIconData(const PixelBuffer& srcDATA, std::vector<uint8_t>& dstDATA,
                                    std::vector<uint8_t>& dstPLTE, std::vector<uint8_t>& dstMask,
                                    int32_t ModifyBit) {
    IconImageRecord rec;
    if (const int32_t r = EncodeIconImage(srcDATA, rec, ModifyBit); r < 0) return r;
    const int32_t depth = rec.Header.biBitCount;
    if (depth > 8) return depth;
    dstDATA = std::move(rec.ColorBits);
    dstMask = std::move(rec.MaskBits);
    // One entry short of the palette on purpose: callers rely on the last one staying free.
    const size_t entries = (size_t{1} << depth) - 1;
    dstPLTE.assign(4 * entries, 0);
    for (size_t i = 0; i < entries; ++i) {
        dstPLTE[4 * i] = static_cast<uint8_t>(rec.Palette[i]);
        dstPLTE[4 * i + 1] = static_cast<uint8_t>(rec.Palette[i] >> 8);
        dstPLTE[4 * i + 2] = static_cast<uint8_t>(rec.Palette[i] >> 16);
    }
    return depth;
}

int32_t IconC::LoadAllIconRecords(std::string_view Fnm,
                                  std::vector<IconImageRecord>& retRecords) const {
    if (IsIcon(Fnm) < 0) return kErrBadFile;
    const auto file = ReadWholeFile(Fnm);
    if (!file) return kErrOpen;
    return LoadAllIconRecordsBytes(*file, retRecords);
}

int32_t IconC::LoadAllIconRecordsBytes(std::span<const uint8_t> file,
                                       std::vector<IconImageRecord>& retRecords) const {
    if (IsIconBytes(file, file.size()) < 0) return kErrBadFile;
    ByteReader r(file);
    const IconFileHeader h = ReadFileHeader(r);
    std::vector<IconImageRecord> records(static_cast<size_t>(std::max<int16_t>(h.Count, 0)));
    for (auto& rec : records) {
        rec.Entry = ReadDirEntry(r);
        rec.HotX = rec.Entry.Planes;
        rec.HotY = rec.Entry.BitCount;
    }
    // The images are taken one after the other from here, not from the entries' offsets, so a
    // file whose images don't lie back to back in directory order is misread; intended.
    for (auto& rec : records) {
        rec.Header = ReadBitmapHeader(r);
        const int64_t depth = rec.Header.biBitCount;
        const int64_t width = rec.Header.biWidth;
        const int64_t height = rec.Header.biHeight / 2;
        if (r.Failed() || depth < 0 || depth > 32 || width < 0 || height < 0) return kErrReadAll;
        const uint64_t paletteBytes = depth < 9 ? uint64_t{4} << depth : 0;
        const uint64_t colourBytes =
            static_cast<uint64_t>(IconRowBytes(width, depth)) * static_cast<uint64_t>(height);
        const uint64_t maskBytes =
            static_cast<uint64_t>(IconRowBytes(width, 1)) * static_cast<uint64_t>(height);
        // Sizes are bounded by what the file holds before anything is allocated.
        if (paletteBytes + colourBytes + maskBytes > r.Remaining()) return kErrReadAll;
        rec.Palette.resize(paletteBytes / 4);
        for (auto& entry : rec.Palette)
            entry = r.U32LE();
        auto colour = r.Bytes(colourBytes);
        rec.ColorBits.assign(colour.begin(), colour.end());
        auto mask = r.Bytes(maskBytes);
        rec.MaskBits.assign(mask.begin(), mask.end());
    }
    if (r.Failed()) return kErrReadAll;
    retRecords = std::move(records);
    return kOk;
}

std::vector<uint8_t> IconC::WriteIconBytes(const std::vector<IconImageRecord>& Records,
                                           int32_t SaveType) {
    if (Records.size() > static_cast<size_t>(std::numeric_limits<uint16_t>::max())) return {};
    uint64_t total = kIconHeaderSize + kIconDirEntrySize * Records.size();
    std::vector<uint32_t> offsets;
    offsets.reserve(Records.size());
    for (const auto& rec : Records) {
        if (total > std::numeric_limits<uint32_t>::max()) return {};
        offsets.push_back(static_cast<uint32_t>(total));
        // Offsets follow the entries' own sizes, even where those disagree with the data.
        total += rec.Entry.BytesInRes;
    }
    ByteWriter w(static_cast<size_t>(std::min<uint64_t>(total, uint64_t{1} << 28)));
    w.U16LE(0);
    w.U16LE(static_cast<uint16_t>(SaveType + 1));
    w.U16LE(static_cast<uint16_t>(Records.size()));
    for (size_t i = 0; i < Records.size(); ++i) {
        IconDirEntry e = Records[i].Entry;
        e.ImageOffset = offsets[i];
        e.Planes = static_cast<int16_t>(Records[i].HotX);
        e.BitCount = static_cast<int16_t>(Records[i].HotY);
        WriteDirEntry(w, e);
    }
    for (const auto& rec : Records) {
        WriteBitmapHeader(w, rec.Header);
        if (rec.Header.biBitCount < 9)
            for (uint32_t entry : rec.Palette)
                w.U32LE(entry);
        w.Bytes(rec.ColorBits);
        w.Bytes(rec.MaskBits);
    }
    return std::move(w).Take();
}

int32_t IconC::WriteIconFile(std::string_view Fnm, const std::vector<IconImageRecord>& Records,
                             int32_t SaveType) {
    const std::vector<uint8_t> bytes = WriteIconBytes(Records, SaveType);
    if (bytes.empty()) return kErrSave;
    if (FileExists(Fnm) && !DeleteFile(Fnm)) return kErrOpen;
    if (!WriteWholeFile(Fnm, bytes)) return kErrOpen;
    return kOk;
}

int32_t IconC::SaveIcon(std::string_view Fnm, const PixelBuffer& srcDATA, int32_t Index,
                        int32_t HotX, int32_t HotY, int32_t /*SaveIconType*/,
                        int32_t BitCount) const {
    int32_t count = 0;
    if (FileExists(Fnm)) {
        if (Index == 0 || IsIcon(Fnm) < 0) {
            if (!DeleteFile(Fnm)) return kErrOpen;
        } else {
            count = IconCount(Fnm);
            if (Index == -1 || Index > count) Index = count + 1;
        }
    }
    IconImageRecord rec;
    if (EncodeIconImage(srcDATA, rec, BitCount) < 0) return kErrConvert;
    rec.HotX = HotX;
    rec.HotY = HotY;

    // The type word is always 1, for a .cur name too: a cursor written here differs from an
    // icon only by its hot spot fields. Intended; the reader takes the hot spot from them.
    constexpr int32_t kSaveType = 0;
    if (!FileExists(Fnm)) return WriteIconFile(Fnm, {std::move(rec)}, kSaveType);

    std::vector<IconImageRecord> records;
    if (const int32_t r = LoadAllIconRecords(Fnm, records); r < 0) return r;
    if (Index > static_cast<int32_t>(records.size())) {
        records.push_back(std::move(rec));
    } else {
        if (Index < 1) return kErrIndex;
        records[static_cast<size_t>(Index - 1)] = std::move(rec);
    }
    return WriteIconFile(Fnm, records, kSaveType);
}

}  // namespace brv
