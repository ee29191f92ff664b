#include "colour/palette.h"

#include "core/file_io.h"

namespace brv {

namespace {

void PutEntry(PaletteBytes& p, size_t index, uint8_t r, uint8_t g, uint8_t b, uint8_t fourth) {
    p[4 * index] = b;
    p[4 * index + 1] = g;
    p[4 * index + 2] = r;
    p[4 * index + 3] = fourth;
}

// 27 base hues in rows of eight ramping columns; rows 27 to 31 stay zero.
PaletteBytes DefaultRamps() {
    static constexpr uint8_t kFull[8] = {0x00, 0x60, 0x87, 0xA6, 0xC0, 0xD6, 0xEB, 0xFE};
    static constexpr uint8_t kHalf[8] = {0x00, 0x30, 0x43, 0x53, 0x60, 0x6B, 0x75, 0x7F};
    PaletteBytes p{};
    for (int row = 0; row < 27; ++row) {
        const int digits[3] = {row % 3, (row / 3) % 3, row / 9};  // red, green, blue
        for (int c = 0; c < 8; ++c) {
            uint8_t v[3];
            for (int k = 0; k < 3; ++k)
                v[k] = digits[k] == 0 ? 0 : (digits[k] == 1 ? kHalf[c] : kFull[c]);
            PutEntry(p, static_cast<size_t>(row * 8 + c), v[0], v[1], v[2], 255);
        }
    }
    return p;
}

// The classic Macintosh system palette: the 6-level cube from white down without black, then
// ten-step ramps of red, green, blue and grey, and black last.
PaletteBytes MacSystemColors() {
    static constexpr uint8_t kCube[6] = {0xFF, 0xCC, 0x99, 0x66, 0x33, 0x00};
    static constexpr uint8_t kRamp[10] = {0xEE, 0xDD, 0xBB, 0xAA, 0x88,
                                          0x77, 0x55, 0x44, 0x22, 0x11};
    PaletteBytes p{};
    size_t i = 0;
    for (uint8_t r : kCube)
        for (uint8_t g : kCube)
            for (uint8_t b : kCube)
                if (r || g || b) PutEntry(p, i++, r, g, b, 255);
    for (uint8_t v : kRamp)
        PutEntry(p, i++, v, 0, 0, 255);
    for (uint8_t v : kRamp)
        PutEntry(p, i++, 0, v, 0, 255);
    for (uint8_t v : kRamp)
        PutEntry(p, i++, 0, 0, v, 255);
    for (uint8_t v : kRamp)
        PutEntry(p, i++, v, v, v, 255);
    PutEntry(p, i, 0, 0, 0, 255);
    return p;
}

// The 216-colour cube; a is the red level, c the blue. The last 40 entries stay zero.
PaletteBytes WebSafeCube() {
    PaletteBytes p{};
    for (int a = 0; a < 6; ++a)
        for (int b = 0; b < 6; ++b)
            for (int c = 0; c < 6; ++c)
                PutEntry(p, static_cast<size_t>(a * 36 + b * 6 + c), static_cast<uint8_t>(a * 51),
                         static_cast<uint8_t>(b * 51), static_cast<uint8_t>(c * 51), 255);
    return p;
}

}  // namespace

PaletteBytes MakeBuiltinPalette(BuiltinPalette kind) {
    switch (kind) {
        case BuiltinPalette::Default:
            return DefaultRamps();
        case BuiltinPalette::MacColor:
            return MacSystemColors();
        case BuiltinPalette::WebSafe:
            return WebSafeCube();
    }
    return {};
}

int32_t LoadPalette(std::string_view fnm, Palette& palette) {
    auto size = FileSize(fnm);
    if (!size || *size != kPaletteFileSize) return -1;
    auto bytes = ReadWholeFile(fnm, kPaletteFileSize);
    if (!bytes || bytes->size() != kPaletteFileSize) return -1;
    std::copy(bytes->begin(), bytes->end(), palette.Entries.begin());
    palette.PaletteFile = std::string(fnm);
    return 0;
}

int32_t WritePaletteFile(std::string_view fnm, const PaletteBytes& entries) {
    return WriteWholeFile(fnm, entries) ? 0 : -1;
}

int32_t SavePalette(std::string_view fnm, Palette& palette) {
    if (WritePaletteFile(fnm, palette.Entries) != 0) return -1;
    palette.PaletteFile = std::string(fnm);
    return 0;
}

int MakeDefaultPalettes(std::string_view palettesDir) {
    const std::string dir(palettesDir);
    int written = 0;
    written += WritePaletteFile(dir + "MacColor.BVP", MacSystemColors()) == 0;
    written += WritePaletteFile(dir + "WebSafeColor.BVP", WebSafeCube()) == 0;
    written += WritePaletteFile(dir + "Default.BVP", DefaultRamps()) == 0;
    return written;
}

}  // namespace brv
