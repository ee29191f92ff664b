// The core's share of starting and ending the program: the settings fix-ups, the transparency
// background and its cache file, and the main window's rectangle rules.
#pragma once

#include <cstdint>

#include "core/core_state.h"
#include "core/pixel_buffer.h"
#include "core/settings.h"

namespace brv {

// The checkerboard behind transparent pixels: cells of 11 pixels, grey 255 where the cell's
// column and row parity differ, else 200; opaque.
PixelBuffer MakeBackgroundTile(int32_t width, int32_t height);

enum class TileSource { Cache, Rebuilt };
// Loads BackgroundTile from its cache file when that has exactly 4 * ScreenWidth *
// ScreenHeight bytes; otherwise computes it and writes the cache.
TileSource EnsureBackgroundTile(CoreState& state);

// Loads the settings; when that fails the defaults are set and written at once. Then a palette
// cell under 4 becomes 12 and eight zero quick colours get their defaults. Returns the load's
// result (0 or -1).
int32_t LoadSettingsAtStart(CoreState& state);

// A palette cell under 4 pixels becomes 12.
void FixPaletteCellSize(SettingsRecord& s);
// When the eight quick colours add up to zero they get the default eight.
void ApplyQuickColorDefaults(SettingsRecord& s);

// Brings the stored main window rectangle onto the screen. When its right or bottom edge
// ends at 0 it becomes 600 by 600 centred on the screen and the start counts as a first run;
// returns true then.
bool CheckMainWindowRect(SettingsRecord& s, const ScreenMetrics& screen);

// At shutdown the stored main rectangle is widened to at least 100 by 100 pixels.
void WidenMainWindowRect(SettingsRecord& s);

}  // namespace brv
