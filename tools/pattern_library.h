// The two pattern libraries of the pen window: the stamps of the graphic pen and the tiles of
// the fill tool, each read from its folder beside the executable, and the grid that lists them.
//
//   PatternLibraries libs;
//   LoadGraphicPens(paths, libs, loader, app.LoadingLibrary);
//   const PatternEntry& stamp = libs.GraphicPenList[pen.PenParams(3, 1)];
//
// Both lists count from 1; slot 0 is an empty entry. A file the loader refuses is left out
// without a word, and a missing folder gives an empty list.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "core/app_paths.h"
#include "core/pixel_buffer.h"

namespace brv {

struct PatternEntry {
    std::string Name;  // the file's base name
    int32_t Width = 0;
    int32_t Height = 0;
    PixelBuffer Pixels;  // rows top-down, straight alpha
};

using PatternList = std::vector<PatternEntry>;

struct PatternLibraries {
    PatternList GraphicPenList = PatternList(1);   // stamps: alpha is the shape
    PatternList FillPatternList = PatternList(1);  // tiles of the fill tool
};

// The picture loader the libraries read through. It fills retPixels in the in-transit
// conventions (rows bottom-up, the fourth byte a transparency) and returns an empty text, or
// the text that tells the user why the file cannot be read.
using PictureLoader = std::function<std::string(const std::string& path, PixelBuffer& retPixels)>;

// Replaces the list by every picture the loader reads in dir and below it, in name order.
// loadingLibrary is set for the length of the run and then given its old value back.
void LoadPatternList(std::string_view dir, PatternList& list, const PictureLoader& load,
                     bool& loadingLibrary);
void LoadGraphicPens(const AppPaths& paths, PatternLibraries& libs, const PictureLoader& load,
                     bool& loadingLibrary);
void LoadFillPatterns(const AppPaths& paths, PatternLibraries& libs, const PictureLoader& load,
                      bool& loadingLibrary);

// The pixels of entry `index` (from 1), or nullptr beyond the list: how the painting kernels
// look a stamp or a tile up.
const PixelBuffer* PatternPixels(const PatternList& list, int32_t index);

// The grids that show the lists: square cells, a 36 by 36 thumbnail at the top of each
// centred across it, the size text below.
inline constexpr int32_t kGraphicPenCell = 50;
inline constexpr int32_t kFillPatternCell = 48;
inline constexpr int32_t kPatternThumbSide = 36;
inline constexpr int32_t kPatternTextTop = 38;

// Columns per row for a list window of the given width; at least 1.
int32_t PatternColumns(int32_t windowWidth, int32_t cell);

struct CellPlace {
    int32_t X = 0;
    int32_t Y = 0;
};
// Top left of entry `index` (from 1) with the list scrolled down by barValue pixels.
CellPlace PatternCellPlace(int32_t index, int32_t columns, int32_t cell, int32_t barValue);
// Whether a cell at that place shows in a window of the given height.
bool PatternCellVisible(CellPlace place, int32_t cell, int32_t windowHeight);
// The list's scroll bar maximum for `count` entries; 0 when everything fits.
int32_t PatternBarMaximum(int32_t count, int32_t columns, int32_t cell, int32_t windowHeight);

// "Width" "x" "Height", shown under the thumbnail.
std::string PatternSizeText(const PatternEntry& entry);
// The thumbnail of an entry over the transparency background, 36 by 36 with rows bottom-up as
// the compositor gives them; empty when the entry or the background has no pixels.
PixelBuffer PatternThumbnail(const PatternEntry& entry, const PixelBuffer& background);

// A click in either list, in pixels from the window's top left, to a column and a row. Both
// lists count 50-pixel cells and four columns here whatever they show, so a click in the fifth
// column names the first entry of the next row; intended.
int32_t GetP2XIndex(double x);
int32_t GetP2YIndex(double y, int32_t barValue);
int32_t GetP3XIndex(double x);
int32_t GetP3YIndex(double y, int32_t barValue);
// The entry a click names, or 0 when that lies beyond the list.
int32_t PatternClickIndex(int32_t column, int32_t row, const PatternList& list);

}  // namespace brv
