// Palettes of 256 colours and their .BVP files.
//
// A .BVP file is the palette's 1024 bytes and nothing else: 256 entries of blue, green, red
// and a fourth byte that the built-in palettes set to 255 and nothing reads.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace brv {

inline constexpr size_t kPaletteEntries = 256;
inline constexpr size_t kPaletteFileSize = 1024;

using PaletteBytes = std::array<uint8_t, kPaletteFileSize>;

struct Palette {
    PaletteBytes Entries{};   // entry i at 4 * i: blue, green, red, unused
    std::string PaletteFile;  // the file it came from
};

enum class BuiltinPalette { Default = 0, MacColor = 1, WebSafe = 2 };

PaletteBytes MakeBuiltinPalette(BuiltinPalette kind);

// Refuses (negative, palette untouched) a file that is missing or not exactly 1024 bytes.
int32_t LoadPalette(std::string_view fnm, Palette& palette);
// Writes the entries and takes the file as the palette's own; negative on failure.
int32_t SavePalette(std::string_view fnm, Palette& palette);
int32_t WritePaletteFile(std::string_view fnm, const PaletteBytes& entries);

// The three palettes written on a first run: "MacColor.BVP", "WebSafeColor.BVP" and
// "Default.BVP" in the palette folder. Returns the number of files written.
int MakeDefaultPalettes(std::string_view palettesDir);

}  // namespace brv
