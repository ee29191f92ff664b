#include "tools/pattern_library.h"

#include <algorithm>
#include <exception>
#include <span>

#include "core/arith.h"
#include "core/compositor.h"
#include "core/file_io.h"

namespace brv {

namespace {

constexpr int32_t kClickCell = 50;
constexpr int32_t kClickColumns = 4;

std::string BaseName(std::string_view path) {
    std::string name = ShortName(path);
    const size_t dot = name.find_last_of('.');
    if (dot != std::string::npos && dot > 0) name.resize(dot);
    return name;
}

// Int(v) held inside 32 bits, for positions that come from the window system.
int32_t IntPosition(double v) {
    return static_cast<int32_t>(std::clamp(Int(v), -1.0e9, 1.0e9));
}

int32_t ClickColumn(double x) {
    return std::min(IntPosition(x) / kClickCell, kClickColumns);
}

int32_t ClickRow(double y, int32_t barValue) {
    return IntPosition(y + barValue) / kClickCell;
}

}  // namespace

void LoadPatternList(std::string_view dir, PatternList& list, const PictureLoader& load,
                     bool& loadingLibrary) {
    const bool wasLoading = loadingLibrary;
    loadingLibrary = true;
    list.assign(1, PatternEntry{});
    for (const std::string& path : ListFilesRecursive(dir)) {
        try {
            PixelBuffer pixels;
            if (!load || !load(path, pixels).empty()) continue;
            // Nothing to stamp or tile with; such a file counts as unreadable.
            if (pixels.Empty()) continue;
            FlipAndInvert(pixels, true, true);
            PatternEntry entry;
            entry.Name = BaseName(path);
            entry.Width = pixels.Width();
            entry.Height = pixels.Height();
            entry.Pixels = std::move(pixels);
            list.push_back(std::move(entry));
        } catch (const std::exception&) {
            // Out of memory on one picture: the file is skipped like any unreadable one.
        }
    }
    loadingLibrary = wasLoading;
}

void LoadGraphicPens(const AppPaths& paths, PatternLibraries& libs, const PictureLoader& load,
                     bool& loadingLibrary) {
    LoadPatternList(paths.GraphicPensDir, libs.GraphicPenList, load, loadingLibrary);
}

void LoadFillPatterns(const AppPaths& paths, PatternLibraries& libs, const PictureLoader& load,
                      bool& loadingLibrary) {
    LoadPatternList(paths.FillDatasDir, libs.FillPatternList, load, loadingLibrary);
}

const PixelBuffer* PatternPixels(const PatternList& list, int32_t index) {
    if (index < 1 || static_cast<size_t>(index) >= list.size()) return nullptr;
    return &list[static_cast<size_t>(index)].Pixels;
}

int32_t PatternColumns(int32_t windowWidth, int32_t cell) {
    if (cell < 1) return 1;
    return std::max(windowWidth / cell, 1);
}

CellPlace PatternCellPlace(int32_t index, int32_t columns, int32_t cell, int32_t barValue) {
    const int32_t c = std::max(columns, 1);
    const int32_t i = std::max(index, 1) - 1;
    return {(i % c) * cell, (i / c) * cell - barValue};
}

bool PatternCellVisible(CellPlace place, int32_t cell, int32_t windowHeight) {
    return place.Y < windowHeight && place.Y + cell > 0;
}

int32_t PatternBarMaximum(int32_t count, int32_t columns, int32_t cell, int32_t windowHeight) {
    if (count < 1) return 0;
    const int64_t c = std::max(columns, 1);
    const int64_t rows = (int64_t{count} + c - 1) / c;
    const int64_t height = rows * cell;
    if (height <= windowHeight) return 0;
    return static_cast<int32_t>(std::min<int64_t>(height - windowHeight, INT32_MAX));
}

std::string PatternSizeText(const PatternEntry& entry) {
    return std::to_string(entry.Width) + "x" + std::to_string(entry.Height);
}

PixelBuffer PatternThumbnail(const PatternEntry& entry, const PixelBuffer& background) {
    if (entry.Pixels.Empty() || background.Empty()) return {};
    const LayerRef layer{entry.Pixels.Bytes(), 0, 0};
    const LayerStack stack{std::span<const LayerRef>(&layer, 1), entry.Pixels.Width(),
                           entry.Pixels.Height()};
    PixelBuffer thumb(kPatternThumbSide, kPatternThumbSide);
    if (CalcLayersEasy(stack, TileRefOf(background), DestRefOf(thumb)) < 0) return {};
    return thumb;
}

int32_t GetP2XIndex(double x) {
    return ClickColumn(x);
}
int32_t GetP2YIndex(double y, int32_t barValue) {
    return ClickRow(y, barValue);
}
int32_t GetP3XIndex(double x) {
    return ClickColumn(x);
}
int32_t GetP3YIndex(double y, int32_t barValue) {
    return ClickRow(y, barValue);
}

int32_t PatternClickIndex(int32_t column, int32_t row, const PatternList& list) {
    const int64_t index = int64_t{row} * kClickColumns + column + 1;
    const auto last = static_cast<int64_t>(list.size()) - 1;
    if (index < 1 || index > last) return 0;
    return static_cast<int32_t>(index);
}

}  // namespace brv
