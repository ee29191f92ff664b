// PNGC: our own PNG reader and writer; only the deflate step is zlib's.
//
//   PNGC png(&host);                      // host: the message box of Adam7, yields while saving
//   PixelBuffer pixels;
//   bool cancelled = false;
//   int32_t r = png.GetPNG("a.png", pixels, true, true, nullptr, cancelled);
//   if (r < 0) host.ShowMessage(png.GetPNGError(r));
//
//   int32_t bits = 0;                     // 0: choose; gives back 8, 24 or 32
//   r = png.SavePNG("b.png", bottomUpPixels, bits, 4, nullptr, false, host.TempFolder());
//
// The reader takes PNG files the way this program always has, which is not always the
// published way: the header is read at fixed offsets and the signature never compared, CRCs
// are skipped, grey below 8 bits gives an all-zero picture, 16-bit RGBA and grey+alpha are
// walked at 7 and 3 bytes a pixel, the RGB transparent key is taken from the high bytes.
// These are intended and kept. Results are 0 or one of the negative codes below;
// GetPNGError gives the user's text.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/pixel_buffer.h"
#include "formats/png_rows.h"

namespace brv {

class Host;

// Result codes of PNGC.
inline constexpr int32_t kPNGOk = 0;
inline constexpr int32_t kPNGOpenFailed = -1;      // the file cannot be opened
inline constexpr int32_t kPNGMissing = -2;         // no name, no file, or an empty one
inline constexpr int32_t kPNGRuntime = -3;         // a fault while reading; see LastFailure
inline constexpr int32_t kPNGNotPNG = -4;          // zero size, colour type above 6, depth 0
inline constexpr int32_t kPNGChunkPastEnd = -5;    // a chunk runs past the end of the file
inline constexpr int32_t kPNGInflateFailed = -6;   // uncompress failed
inline constexpr int32_t kPNGUnsupported = -7;     // colour type 1 or 5
inline constexpr int32_t kPNGChunkNumber = -8;     // a chunk length above 2^31 - 1
inline constexpr int32_t kPNGBadInterlace = -9;    // Adam7 data broken
inline constexpr int32_t kPNGBadSource = -10;      // nothing a PNG can be written from
inline constexpr int32_t kPNGBadTempFolder = -11;  // FilterNo 6 without a temporary folder

// Progress procedure of a read or write: (position, total) with total 100. Returning 1 asks
// to cancel; only the reader looks at that.
using PNGCallBack = std::function<int32_t(int32_t position, int32_t total)>;

// The message Adam7Read shows for interlaced images below one byte a pixel.
inline constexpr std::string_view kPNGBitBoundaryMessage = "ビット境界が1バイト未満です。";

class PNGC {
public:
    // host may be null: then the Adam7 message is not shown and the writer does not yield.
    explicit PNGC(Host* host = nullptr) : host_(host) {}

    // Reads a PNG file into Height rows of 4 * Width bytes (B, G, R, A). With ChangeUpBottom
    // the rows come bottom-up; with XorAlpha the alpha byte is complemented (255 transparent),
    // which together give the codecs' transit convention. A cancel through the callback
    // returns 0 with retIsCancel true and the picture undefined.
    int32_t GetPNG(std::string_view Fnm, PixelBuffer& DestColorBytes, bool ChangeUpBottom,
                   bool XorAlpha, const PNGCallBack& CallBackProcAddress, bool& retIsCancel);
    // The same on the bytes of a file already in memory (empty: kPNGMissing).
    int32_t DecodePNG(std::span<const uint8_t> file, PixelBuffer& DestColorBytes,
                      bool ChangeUpBottom, bool XorAlpha, const PNGCallBack& CallBackProcAddress,
                      bool& retIsCancel);

    // Writes BMPDATA (rows bottom-up, straight alpha, as the save road hands them over).
    // ColorBit 0 chooses by GetBestColorBit and gives the choice back; 8, 24 and 32 write a
    // palette, RGB with black as the transparent key, or RGBA. FilterNo 0..4 one filter for
    // all rows, 5 the best of five a row, 6 all of 0..5 through TempPath keeping the smallest.
    int32_t SavePNG(std::string_view Fnm, const PixelBuffer& BMPDATA, int32_t& ColorBit,
                    int32_t FilterNo, const PNGCallBack& CallBackProcAddress, bool InterlaceOn,
                    std::string_view TempPath);
    // The bytes SavePNG writes for ColorBit 8, 24 or 32 and FilterNo 0..5.
    int32_t EncodePNG(const PixelBuffer& BMPDATA, int32_t ColorBit, int32_t FilterNo,
                      bool InterlaceOn, std::vector<uint8_t>& retFile);

    // A plausible PNG by its header fields alone; the signature is not compared.
    static bool IsPNG(std::string_view Fnm);
    static bool IsPNGBytes(std::span<const uint8_t> head);

    // The user's text of a result code; empty for codes not in the table.
    std::string GetPNGError(int32_t ErrorNo) const;
    // The text of the last fault that gave kPNGRuntime.
    const std::string& LastFailure() const { return lastFailure_; }

    // Progress as an event: (fraction, 1), or (0, 0) at the start.
    std::function<void(double value, double maximum)> ProgressEvent;

    // Limits on what a file may make the reader allocate; beyond them the read fails with
    // kPNGRuntime as out of memory. Sides are always at most PixelBuffer::kMaxSide.
    uint64_t MaxPixels = uint64_t{1} << 28;
    uint64_t MaxDataBytes = uint64_t{1} << 32;  // decompressed image data

private:
    struct Chunks;
    // Takes the callback, clears the cancel flag and reports 0; false if that cancelled.
    bool BeginRead(const PNGCallBack& callBack, bool& retIsCancel);
    int32_t DecodeStages(std::span<const uint8_t> file, PixelBuffer& dest, bool changeUpBottom,
                         uint8_t alphaMask, bool& retIsCancel);
    int32_t Adam7Read(const PNGHeader& header, std::span<const uint8_t> data,
                      std::vector<uint8_t>& rows, size_t& rowBytes);
    int32_t WriteOnce(std::string_view Fnm, const PixelBuffer& BMPDATA, int32_t ColorBit,
                      int32_t FilterNo, bool InterlaceOn);
    int32_t Fault(std::string_view text);
    void Report(double fraction);
    void Yield();

    Host* host_ = nullptr;
    PNGCallBack callBack_;
    bool cancel_ = false;
    std::string lastFailure_;
};

// Reads the header fields at their fixed offsets; bytes past the end read as zero.
PNGHeader ReadPNGHeader(std::span<const uint8_t> file);

}  // namespace brv
