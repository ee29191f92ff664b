// PNG scanlines: the IHDR fields, the bytes-per-pixel rules of reader and writer, the five
// filters and their inverse, the Adam7 pass geometry, and FilterRows / Adam7Write.
//
//   PNGHeader h{.Width = 16, .Height = 16, .BitDepth = 8, .ColorType = 6};
//   std::vector<uint8_t> raw(16 * 64);                         // rows of samples, no filter byte
//   std::vector<uint8_t> data = FilterRows(raw, 5, h, nullptr); // filter byte + row, each row
//
// Nothing here reads a file; the codec in png_codec.h cuts the file into these rows.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace brv {

// The IHDR fields, read from fixed offsets of the file (IHDR data starts at byte 16).
struct PNGHeader {
    uint32_t Width = 0;       // file offset 16, big-endian: pixels a row
    uint32_t Height = 0;      // offset 20, big-endian: rows
    uint8_t BitDepth = 0;     // offset 24: bits a sample, or a palette index
    uint8_t ColorType = 0;    // offset 25: 0 grey, 2 RGB, 3 palette, 4 grey+alpha, 6 RGBA
    uint8_t Compression = 0;  // offset 26: 0 deflate; read, never looked at
    uint8_t Filter = 0;       // offset 27: 0 adaptive; read, never looked at
    uint8_t Interlace = 0;    // offset 28: 0 none, anything else Adam7
};

// One Adam7 pass: where its first pixel is and how far apart its pixels are.
struct Adam7Pass {
    int32_t xStart, yStart, xStep, yStep;
};
inline constexpr std::array<Adam7Pass, 7> kAdam7Passes = {{
    {0, 0, 8, 8},
    {4, 0, 8, 8},
    {0, 4, 4, 8},
    {2, 0, 4, 4},
    {0, 2, 2, 4},
    {1, 0, 2, 2},
    {0, 1, 1, 2},
}};

// Columns (or rows) a pass takes of a side: side / step, plus one if the rest reaches start.
inline int32_t Adam7Count(int32_t side, int32_t start, int32_t step) {
    return side / step + (side % step >= start + 1 ? 1 : 0);
}

// Bytes a pixel for unfiltering a plain image: round(depth / 8 * 3 for colour, else 1),
// palettes 1, at least 1, and one more for an alpha channel. This gives 7 for 16-bit RGBA
// and 3 for 16-bit grey+alpha instead of 8 and 4; intended, those files decode that way.
int32_t ReaderBytesPerPixel(const PNGHeader& header);

// Bits a pixel as Adam7Read counts them: the depth, three times for RGB and RGBA (the alpha
// channel is left out here and added as one byte by Adam7BytesPerPixel).
int32_t Adam7BitsPerPixel(const PNGHeader& header);
// Adam7BitsPerPixel / 8, plus 1 for an alpha channel; 0 when the bits are under one byte.
int32_t Adam7BytesPerPixel(const PNGHeader& header);

// Bytes a pixel for filtering on the writer side: the published counts, never below 1.
int32_t WriterBytesPerPixel(const PNGHeader& header);
// Bytes of one unfiltered row on the writer side, for Width pixels.
size_t WriterRowBytes(const PNGHeader& header);

// Undoes a filter on one row in place. prior is the unfiltered row above, or empty for the
// first row (all zero). False for a filter type above 4, leaving the row as it was.
bool UnfilterRow(uint8_t type, std::span<uint8_t> row, std::span<const uint8_t> prior, int32_t bpp);

// Applies filter type 0..4 to row, writing out (the same length); prior as for UnfilterRow.
void FilterRow(int32_t type, std::span<const uint8_t> row, std::span<const uint8_t> prior,
               int32_t bpp, std::span<uint8_t> out);

// Told after each filtered row: (rows done, rows in all).
using PNGRowHook = std::function<void(int32_t done, int32_t total)>;

// Filters Header.Height rows of WriterRowBytes(Header) bytes each into the IDAT layout.
// FilterNo 0..4: that filter on every row. FilterNo 5: each row takes the filter whose row
// (type byte included) zlib's compress makes smallest, the first on ties; the search starts
// from 99999, so a row that never compresses below it is left all zero, type byte included.
// Other FilterNo values write every row unfiltered. Rows must hold Height * row bytes.
std::vector<uint8_t> FilterRows(std::span<const uint8_t> Rows, int32_t FilterNo,
                                const PNGHeader& Header, const PNGRowHook& afterRow);

// Told before each Adam7 pass: (pass index 0..6).
using PNGPassHook = std::function<void(int32_t pass)>;

// Cuts the image into the seven passes, filters each with FilterRows and joins the results.
// A pass with no columns or no rows adds no bytes, as the published format has it.
std::vector<uint8_t> Adam7Write(std::span<const uint8_t> Rows, int32_t FilterNo,
                                const PNGHeader& Header, const PNGPassHook& beforePass,
                                const PNGRowHook& afterRow);

// The size of zlib's compress() output for data, the measure of FilterNo 5. One object keeps
// one deflate stream for many calls; the result equals a fresh compress() each time.
class CompressedSizer {
public:
    CompressedSizer();
    ~CompressedSizer();
    CompressedSizer(const CompressedSizer&) = delete;
    CompressedSizer& operator=(const CompressedSizer&) = delete;
    // Compressed bytes, or SIZE_MAX if zlib failed.
    size_t Measure(std::span<const uint8_t> data);

private:
    struct Stream;
    Stream* stream_;
    std::vector<uint8_t> out_;
};

}  // namespace brv
