// The save road of the icon set editor for .ico and .cur, without its window: the file's own
// images are read as entries, the document's picture is added, and all are written again in
// strip order. The editor's window builds on these when it comes.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/host.h"
#include "core/pixel_buffer.h"
#include "formats/ico_codec.h"

namespace brv {

// One image of the strip. Pixels in layer order: rows top-down, straight alpha.
struct IconSetEntry {
    PixelBuffer Pixels;
    int32_t HotX = 0;
    int32_t HotY = 0;
    int32_t BitCount = 32;  // the depth shown for the entry
};

// The four kinds of IconEditSaveBitRate, as the bit count handed to the icon writer.
inline constexpr std::array<int32_t, 4> kIconSaveBitCounts = {1, 4, 8, 32};
inline constexpr std::array<std::string_view, 4> kIconSaveKindTexts = {
    "2色+2段階アルファ", "16色+2段階アルファ", "256色+2段階アルファ", "16777216色+256段階アルファ"};
// A cursor is always written as the first kind.
inline constexpr int32_t kCursorSaveBitCount = 1;
// Where the choice starts: the kind that keeps every colour and alpha.
inline constexpr int32_t kIconSaveDefaultKind = 3;

// Asks the kind for a .ico; the bit count, or nullopt when cancelled.
std::optional<int32_t> IconEditSaveBitRate(Host& host);

// Every image of an ico or cur file as entries (the editor's opening). 0 or an IconC code.
int32_t ReadIconSetFile(const IconC& ico, std::string_view fnm,
                        std::vector<IconSetEntry>& retEntries);

// Deletes the file, then appends each entry at bitCount with its hot spot. 0 or an IconC
// code; on a failure the file holds the entries written so far.
int32_t WriteIconSetFile(const IconC& ico, std::string_view fnm,
                         const std::vector<IconSetEntry>& entries, int32_t bitCount);

}  // namespace brv
