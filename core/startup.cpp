#include "core/startup.h"

#include <algorithm>

#include "core/file_io.h"

namespace brv {

PixelBuffer MakeBackgroundTile(int32_t width, int32_t height) {
    PixelBuffer tile(width, height);
    for (int32_t y = 0; y < tile.Height(); ++y) {
        uint8_t* row = tile.Row(y);
        const int32_t cellY = (y / 11) % 2;
        for (int32_t x = 0; x < tile.Width(); ++x) {
            const uint8_t grey = ((x / 11) % 2) != cellY ? 255 : 200;
            row[4 * x] = row[4 * x + 1] = row[4 * x + 2] = grey;
            row[4 * x + 3] = 255;
        }
    }
    return tile;
}

TileSource EnsureBackgroundTile(CoreState& state) {
    const int32_t w = std::max(state.Screen.ScreenWidth, 1);
    const int32_t h = std::max(state.Screen.ScreenHeight, 1);
    const uint64_t expected = uint64_t{4} * static_cast<uint64_t>(w) * static_cast<uint64_t>(h);
    const std::string& file = state.Paths.BackgroundCacheFile;
    if (auto size = FileSize(file); size && *size == expected) {
        if (auto bytes = ReadWholeFile(file, expected)) {
            if (auto tile = PixelBuffer::FromBytes(w, h, std::move(*bytes))) {
                state.BackgroundTile = std::move(*tile);
                return TileSource::Cache;
            }
        }
    }
    state.BackgroundTile = MakeBackgroundTile(w, h);
    WriteWholeFile(file, state.BackgroundTile.Bytes());
    return TileSource::Rebuilt;
}

int32_t LoadSettingsAtStart(CoreState& state) {
    int32_t result = LoadSettings(state.Paths.SettingsFile, state.Settings);
    if (result != 0) {
        state.Settings = DefaultSettings();
        SaveSettings(state.Paths.SettingsFile, state.Settings);
    }
    FixPaletteCellSize(state.Settings);
    ApplyQuickColorDefaults(state.Settings);
    state.Settings.BatchRunning = 0;
    return result;
}

void FixPaletteCellSize(SettingsRecord& s) {
    if (s.PaletteCellSize < 4) s.PaletteCellSize = 12;
}

void ApplyQuickColorDefaults(SettingsRecord& s) {
    int sum = 0;
    for (uint8_t b : s.QuickColors)
        sum += b;
    if (sum != 0) return;
    static constexpr uint8_t kDefaults[32] = {
        255, 255, 255, 255, 0,   0, 0, 255, 255, 0,   0, 255, 0, 255, 0,   255,
        0,   0,   255, 255, 255, 0, 0, 128, 0,   255, 0, 128, 0, 0,   255, 128,
    };
    std::copy(std::begin(kDefaults), std::end(kDefaults), s.QuickColors.begin());
}

bool CheckMainWindowRect(SettingsRecord& s, const ScreenMetrics& screen) {
    RectI& r = s.Placements[kPlaceMain].normalPosition;
    r.left = std::max(r.left, 0);
    r.top = std::max(r.top, 0);
    r.right = std::clamp(r.right, 0, std::max(screen.ScreenWidth, 0));
    r.bottom = std::clamp(r.bottom, 0, std::max(screen.ScreenHeight, 0));
    if (r.right != 0 && r.bottom != 0) return false;
    const int32_t cx = screen.ScreenWidth / 2;
    const int32_t cy = screen.ScreenHeight / 2;
    r = RectI{cx - 300, cy - 300, cx + 300, cy + 300};
    return true;
}

void WidenMainWindowRect(SettingsRecord& s) {
    RectI& r = s.Placements[kPlaceMain].normalPosition;
    if (r.right - r.left < 100) r.right = r.left + 100;
    if (r.bottom - r.top < 100) r.bottom = r.top + 100;
}

}  // namespace brv
