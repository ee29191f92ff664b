// ALLBMPC: Windows bitmap files, and two small helpers on 32-bit pictures.
//
//   ALLBMPC bmp;
//   PixelBuffer pic;
//   int32_t r = bmp.GetBMPFile("a.bmp", pic, nullptr, false);
//   if (r < 0) host.ShowMessage(ALLBMPC::GetBMPError(r));
//   FlipAndInvert(pic, true, true);                        // now a layer picture
//
// Reading turns every depth into 32-bit rows kept in file order (the bottom row first for the
// usual positive height) with the fourth byte a transparency: 0 for every depth but 32, where
// the file's alpha is complemented. Writing takes rows in file order as they stand.
//
// The reader follows the file the way the program always has: the 40-byte header, then a
// palette of 2^depth entries whatever biClrUsed says, then the pixel rows right behind it;
// bfOffBits is not looked at. Files whose palette is shorter, or whose header is longer, are
// therefore read shifted, as they always were. RLE4 and RLE8 are decoded as the system draws
// them: there the header's palette size is honoured and skipped pixels stay black.
//
// Results are signed codes: 0 is success, a negative value goes to GetBMPError.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <span>
#include <string_view>
#include <vector>

#include "core/byte_io.h"
#include "core/pixel_buffer.h"

namespace brv {

// BITMAPFILEHEADER, 14 bytes, at the start of the file.
struct BitmapFileHeader {
    uint16_t bfType = 19778;  // "BM"
    int32_t bfSize = 0;       // length of the whole file
    uint16_t bfReserved1 = 0;
    uint16_t bfReserved2 = 0;
    int32_t bfOffBits = 0;  // where the pixel rows start; written, never read
};

// BITMAPINFOHEADER, 40 bytes, behind the file header.
struct BitmapInfoHeader {
    int32_t biSize = 40;          // header length; read as 40 whatever it says
    int32_t biWidth = 0;          // pixels
    int32_t biHeight = 0;         // rows; a positive height stores the bottom row first
    uint16_t biPlanes = 1;        // 1
    uint16_t biBitCount = 0;      // bits a pixel: 1, 2, 4, 8, 16, 24 or 32 are read
    uint32_t biCompression = 0;   // 0 plain, 1 RLE8, 2 RLE4, 3 bit fields
    uint32_t biSizeImage = 0;     // bytes of pixel data; 0 means stride * height when plain
    int32_t biXPelsPerMeter = 0;  // not used
    int32_t biYPelsPerMeter = 0;  // not used
    uint32_t biClrUsed = 0;       // palette entries; only the RLE decoding honours it
    uint32_t biClrImportant = 0;  // not used
};

inline constexpr size_t kBitmapFileHeaderSize = 14;
inline constexpr size_t kBitmapInfoHeaderSize = 40;

inline constexpr int32_t kBmpOk = 0;
inline constexpr int32_t kBmpErrOpen = -1;         // the file can't be opened (or written)
inline constexpr int32_t kBmpErrOverwrite = -2;    // the old file can't be deleted
inline constexpr int32_t kBmpErrRead = -3;         // the data can't be read
inline constexpr int32_t kBmpErrUnsupported = -4;  // a bitmap this reader doesn't take
// The progress callback cancelled the reading. No text: the user asked for it.
inline constexpr int32_t kBmpCancelled = -5;

// Called with (position, total) while rows are converted; a return of 1 cancels.
using BmpProgress = std::function<int32_t(int32_t position, int32_t total)>;

// What a reader may allocate for one picture; beyond it a bitmap is refused with -4.
struct BmpLimits {
    int64_t MaxPixels = int64_t{1} << 27;
};

// Index pictures as the colour reduction gives them: Height rows of Width bytes, no padding.
struct IndexedPicture {
    int32_t Width = 0;
    int32_t Height = 0;
    std::vector<uint8_t> Indices;
};

// The colour reduction of the 1- to 8-bit writer, for tests and for callers that want the
// palette without a file.
struct BmpReduction {
    std::vector<Bgra> Palette;        // 2^depth + 1 entries, alpha 0
    std::vector<uint16_t> CellIndex;  // 32768 cells (R>>3)*1024 + (G>>3)*32 + (B>>3)
};

// The 40 bytes of the header, through the checked byte helpers.
BitmapInfoHeader ReadBitmapInfoHeader(ByteReader& r);
void WriteBitmapInfoHeader(ByteWriter& w, const BitmapInfoHeader& h);

// Bytes of a row of width pixels at depth bits, padded to 4; -1 when absurd.
int64_t BmpRowBytes(int64_t width, int64_t depth);

class ALLBMPC {
public:
    ALLBMPC() = default;
    explicit ALLBMPC(BmpLimits limits) : limits_(limits) {}

    // Reads a file. ReturnBMIPtr, when given, receives the header of the result (32 bits);
    // BottomUpToUpBottom turns the rows over at the end.
    int32_t GetBMPFile(std::string_view Fnm, PixelBuffer& DestDAT, BitmapInfoHeader* ReturnBMIPtr,
                       bool BottomUpToUpBottom, const BmpProgress& CallBack = {}) const;
    // The same on the bytes of a whole file.
    int32_t GetBMPBytes(std::span<const uint8_t> file, PixelBuffer& DestDAT,
                        BitmapInfoHeader* ReturnBMIPtr, bool BottomUpToUpBottom,
                        const BmpProgress& CallBack = {}) const;
    // The same from a reader standing behind the 14-byte file header.
    int32_t GetBMPFromOpenedFile(ByteReader& file, PixelBuffer& DestDAT,
                                 BitmapInfoHeader* ReturnBMIPtr, bool BottomUpToUpBottom,
                                 const BmpProgress& CallBack = {}) const;

    // The conversion of plain and bit-field rows to 32 bits. BMP holds the rows as stored;
    // PLTE the palette (4 bytes an entry) for depths up to 8, or the three 32-bit masks of a
    // bit-field bitmap. On success BMI.biBitCount becomes 32. A return of 1 from CallBack sets
    // retIsCancel and ends with kBmpCancelled and no result.
    int32_t BMPTo32(BitmapInfoHeader& BMI, std::span<const uint8_t> BMP,
                    std::span<const uint8_t> PLTE, const BmpProgress& CallBack, bool& retIsCancel,
                    PixelBuffer& DestDAT) const;

    // Writes rows in file order at 16 (5-5-5), 24 or 32 bits. BottomUpToUpBottom turns the
    // rows of DAT32Bit over, in place, first. ReturnBMIPtr receives the header written.
    static int32_t SaveBMP16to32(std::string_view Fnm, PixelBuffer& DAT32Bit, int32_t ColorBit,
                                 BitmapInfoHeader* ReturnBMIPtr, bool BottomUpToUpBottom);
    // The file bytes of the above, without the turning over; empty for a ColorBit other than
    // 16, 24 or 32.
    static std::vector<uint8_t> EncodeBMP16to32(const PixelBuffer& DAT32Bit, int32_t ColorBit,
                                                BitmapInfoHeader* ReturnBMIPtr = nullptr);

    // Writes a 1-, 4- or 8-bit file (ColorCount is the depth) from 32-bit rows through this
    // writer's own reduction, with error diffusion if UseGosaKakusan and the picture is at
    // least 3 pixels wide.
    static int32_t SaveBMP1to8(std::string_view Fnm, const PixelBuffer& SourceDAT,
                               int32_t ColorCount, bool UseGosaKakusan);
    // Writes index rows with a given palette (rows of blue, green, red, unused).
    static int32_t SaveBMP1to8(std::string_view Fnm, const IndexedPicture& SourceDAT,
                               int32_t ColorCount, std::span<const uint8_t> PLTE);
    static std::vector<uint8_t> EncodeBMP1to8(const PixelBuffer& SourceDAT, int32_t ColorCount,
                                              bool UseGosaKakusan);
    static std::vector<uint8_t> EncodeBMP1to8(const IndexedPicture& SourceDAT, int32_t ColorCount,
                                              std::span<const uint8_t> PLTE);
    static BmpReduction ReduceTo32768Cells(const PixelBuffer& SourceDAT, int32_t depth);

    // True only for "BM", a bfSize from 1 to 16777216 and a bfOffBits of at least 12.
    static bool IsBMP(std::string_view Fnm);
    static bool IsBMPHeader(std::span<const uint8_t> head);

    static std::string_view GetBMPError(int32_t ErrorNo);

    // Blends srcDAT onto dstDAT at (drawx, drawy) with an overall opacity drawalpha (0..255).
    static void DrawBMP32(const PixelBuffer& srcDAT, PixelBuffer& dstDAT, int32_t drawx,
                          int32_t drawy, int32_t drawalpha);

    // A checkerboard of size-pixel squares, gray where the square's column and row are both
    // even or both odd, white elsewhere; each a 32-bit value written whole (blue in the low
    // byte). Empty for a size below 1 or a side out of range.
    static PixelBuffer MakeITIMATU(int32_t Width, int32_t Height, int32_t size, uint32_t gray,
                                   uint32_t white);

private:
    BmpLimits limits_;
};

}  // namespace brv
