// IconC: Windows icon (.ico) and cursor (.cur) files, one image at a time.
//
//   IconC ico;
//   PixelBuffer pic;
//   int32_t hotX = 0, hotY = 0;
//   int32_t depth = ico.LoadIcon("a.ico", 1, pic, hotX, hotY, true);  // 1-based index
//   if (depth < 0) host.ShowMessage(IconC::GetError(depth));
//   FlipAndInvert(pic, true, true);                                   // now a layer picture
//
// Only the classic bitmap form of an image is known here: a 40-byte header, an optional
// palette, colour rows and 1-bit mask rows. A PNG-compressed image fails the header check (-4).
//
// Pictures are exchanged in file order: H rows of 4 * W bytes, the bottom row first, each pixel
// blue, green, red and a fourth byte. Reading with AlphaReverse gives the fourth byte as a
// transparency (the in-transit convention); without it, and for every picture handed to the
// writer, the fourth byte is an opacity.
//
// Every file operation opens, reads or writes and closes its file inside one call; the work is
// done on bytes by the *Bytes forms, which the ANI, ICL and executable readers reuse. Results
// are signed codes: 0 or more is success, a negative value goes to GetError for the user's text.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "core/byte_io.h"
#include "core/pixel_buffer.h"

namespace brv {

// Header, 6 bytes, at the start of the file.
struct IconFileHeader {
    uint16_t Reserved = 0;  // 0
    uint16_t Type = 1;      // 1 icon, 2 cursor
    int16_t Count = 0;      // number of images; compared as a signed value
};

// Directory entry, 16 bytes; Count of them follow the header.
struct IconDirEntry {
    uint8_t Width = 0;         // width AND 255 (so 256 is 0); read only by the validity test
    uint8_t Height = 0;        // height, low 8 bits
    uint8_t ColorCount = 0;    // 16 for a 4-bit image, else 0
    uint8_t Reserved = 0;      // 0
    int16_t Planes = 0;        // carries the hot spot's x, for icons as well as cursors
    int16_t BitCount = 0;      // carries the hot spot's y, for icons as well as cursors
    uint32_t BytesInRes = 0;   // 40 + palette + colour rows + mask rows
    uint32_t ImageOffset = 0;  // from the start of the file
};

// BITMAPINFOHEADER, 40 bytes, at the image offset.
struct IconBitmapHeader {
    int32_t biSize = 40;          // must be 40
    int32_t biWidth = 0;          // image width
    int32_t biHeight = 0;         // twice the image height: colour rows and mask rows
    int16_t biPlanes = 1;         // 1
    int16_t biBitCount = 0;       // 1, 4, 8, 24 or 32 are decoded
    int32_t biCompression = 0;    // not looked at
    int32_t biSizeImage = 0;      // not looked at; written 0
    int32_t biXPelsPerMeter = 0;  // not looked at
    int32_t biYPelsPerMeter = 0;  // not looked at
    int32_t biClrUsed = 0;        // not looked at: a palette always has 2^depth entries
    int32_t biClrImportant = 0;   // not looked at
};

inline constexpr size_t kIconHeaderSize = 6;
inline constexpr size_t kIconDirEntrySize = 16;
inline constexpr size_t kIconBitmapHeaderSize = 40;

// One image as it stands in a file, kept whole for rewriting.
struct IconImageRecord {
    IconDirEntry Entry;
    IconBitmapHeader Header;
    std::vector<uint8_t> ColorBits;  // colour rows, file order, each padded to 4 bytes
    std::vector<uint8_t> MaskBits;   // 1-bit mask rows, file order, each padded to 4 bytes
    std::vector<uint32_t> Palette;   // 2^depth entries 0x00RRGGBB (blue in the low byte)
    int32_t HotX = 0;
    int32_t HotY = 0;
};

// What a reader may allocate for one picture. Beyond it an image is refused, not decoded.
struct IconLimits {
    int64_t MaxPixels = int64_t{1} << 26;
};

// Bytes per row: depth bits per pixel, padded to a multiple of 4 bytes; -1 when absurd.
int64_t IconRowBytes(int64_t width, int64_t depth);

class IconC {
public:
    IconC() = default;
    explicit IconC(IconLimits limits) : limits_(limits) {}

    // Decodes image Index (from 1) and returns its bit depth. HotX and HotY receive the entry's
    // planes and bit-count fields, for icons too. The validity test is not run.
    int32_t LoadIcon(std::string_view Fnm, int32_t Index, PixelBuffer& DestData, int32_t& HotX,
                     int32_t& HotY, bool AlphaReverse) const;
    int32_t LoadIconBytes(std::span<const uint8_t> file, int32_t Index, PixelBuffer& DestData,
                          int32_t& HotX, int32_t& HotY, bool AlphaReverse) const;

    // For a reader that has taken the 40-byte header and stands at the palette or the first
    // colour row: decodes the rest. Returns 0 or a negative code.
    int32_t LoadIconFromOpenFile(ByteReader& file, IconBitmapHeader& bmi, PixelBuffer& DestData,
                                 bool ReverseAlpha) const;

    // Adds or replaces one image. Index 0 starts a new file, -1 or anything above the count
    // appends. SaveIconType is accepted and ignored: the type word written is always 1.
    int32_t SaveIcon(std::string_view Fnm, const PixelBuffer& srcDATA, int32_t Index, int32_t HotX,
                     int32_t HotY, int32_t SaveIconType, int32_t BitCount) const;

    // The header's count, unvalidated; -1 when the file can't be read.
    int32_t IconCount(std::string_view Fnm) const;
    static int32_t IconCountBytes(std::span<const uint8_t> file);

    // 0 when the file passes the validity test, else a negative code.
    int32_t IsIcon(std::string_view Fnm) const;
    // The test on the first bytes of a file of fileLength bytes (the directory is enough).
    static int32_t IsIconBytes(std::span<const uint8_t> head, uint64_t fileLength);

    static std::string_view GetError(int32_t ErrorNo);

    // Counts colours for the choice of depth; see EncodeIconImage.
    static int32_t GetColorsInIcon(const PixelBuffer& srcDATA, bool NotCalcOver256);

    // The 1-bit mask: a bit is set where the opacity is below 128. Rows padded to 4 bytes.
    static std::vector<uint8_t> MakeIconMask(const PixelBuffer& srcDATA);

    // The record of one picture at depth 4, 8 or 32, chosen from BitCount (below 1: by the
    // colours in the picture). 0 or a negative code.
    static int32_t EncodeIconImage(const PixelBuffer& srcDATA, IconImageRecord& retRecord,
                                   int32_t BitCount);

    // The indexed form without a file. Returns the depth. For depth 8 or less dstDATA gets
    // the index rows, dstMask the mask rows and dstPLTE 2^depth - 1 entries of 4 bytes (blue,
    // green, red, 0): one fewer than the palette has, so the last entry is not handed out.
    // For depth 32 the outputs are left untouched.
    static int32_t ChangeDataToIconData(const PixelBuffer& srcDATA, std::vector<uint8_t>& dstDATA,
                                        std::vector<uint8_t>& dstPLTE,
                                        std::vector<uint8_t>& dstMask, int32_t ModifyBit);

    // Reads every image for rewriting, one after the other behind the directory (not at the
    // entries' offsets). 0 or a negative code.
    int32_t LoadAllIconRecords(std::string_view Fnm,
                               std::vector<IconImageRecord>& retRecords) const;
    int32_t LoadAllIconRecordsBytes(std::span<const uint8_t> file,
                                    std::vector<IconImageRecord>& retRecords) const;

    // The bytes of a file holding the records: offsets laid afresh, hot spots into the planes
    // and bit-count fields, type word SaveType + 1. Empty when the sizes overflow.
    static std::vector<uint8_t> WriteIconBytes(const std::vector<IconImageRecord>& Records,
                                               int32_t SaveType);

private:
    int32_t DecodeIconImage(ByteReader& file, const IconBitmapHeader& Header, PixelBuffer& DestData,
                            bool AlphaReverse) const;
    static int32_t WriteIconFile(std::string_view Fnm, const std::vector<IconImageRecord>& Records,
                                 int32_t SaveType);

    IconLimits limits_;
};

}  // namespace brv
