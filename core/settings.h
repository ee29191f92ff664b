// The settings record and its file, and the recent-files list.
//
// Settings.dat is the record's image: 740 bytes, little-endian, no header, no version. The
// record is loaded at start, edited in memory, and written at the first default and at the end.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace brv {

struct PointI {
    int32_t x = 0;
    int32_t y = 0;
    friend bool operator==(const PointI&, const PointI&) = default;
};

struct PointF {
    float x = 0.0f;
    float y = 0.0f;
    friend bool operator==(const PointF&, const PointF&) = default;
};

struct RectI {
    int32_t left = 0;
    int32_t top = 0;
    int32_t right = 0;
    int32_t bottom = 0;
    friend bool operator==(const RectI&, const RectI&) = default;
};

// One window placement as the file keeps it, 44 bytes.
struct WindowPlacement {
    uint32_t length = 0;   // 44 once written by the program, 0 in a slot never used
    uint32_t flags = 0;    // platform placement flags, kept as they come
    uint32_t showCmd = 0;  // 1 normal, 2 minimised, 3 maximised; 0 in an unused slot
    PointI minPosition;    // where the minimised window sits
    PointI maxPosition;    // where the maximised window sits
    RectI normalPosition;  // the restored window's rectangle in screen pixels
    friend bool operator==(const WindowPlacement&, const WindowPlacement&) = default;
};
inline constexpr uint32_t kWindowPlacementSize = 44;
inline constexpr uint32_t kShowNormal = 1;
inline constexpr uint32_t kShowMinimized = 2;
inline constexpr uint32_t kShowMaximized = 3;

// Slots of Placements; the others are unused.
enum PlacementSlot : int {
    kPlaceMain = 0,
    kPlaceGuide = 2,
    kPlacePen = 3,
    kPlaceLayer = 4,
    kPlacePalette = 7,
    kPlacePreview = 8,
};

inline constexpr size_t kSettingsFileSize = 740;

// Field order is the file's; offsets are given beside each field.
struct SettingsRecord {
    int32_t ActionErrorWarn = 0;         // 0: warn at each action error; cleared on every load
    int32_t ActionStepMessage = 0;       // 4: message at each action line
    int32_t BatchRunning = 0;            // 8: set during a batch; cleared on every load
    int32_t UseWatcher = 0;              // 12: start the crash watcher
    int32_t UseSusieServer = 0;          // 16: plug-ins in another process; cleared on every load
    int32_t NewOnStart = 0;              // 20: a new document at start
    int32_t ClipboardIgnoreAlpha = 0;    // 24: ignore alpha of 32-bit clipboard bitmaps
    std::array<uint8_t, 40> Reserved{};  // 28
    std::array<WindowPlacement, 10> Placements{};  // 68: see PlacementSlot
    std::array<uint8_t, 92> DialogPlaces{};        // 508: effect dialog and preview geometry
    int32_t WindowScale = 75;                      // 600: document window size, percent
    int32_t AskOnClose = 1;                        // 604: ask to save a changed image on close
    int32_t DefaultWidth = 32;                     // 608
    int32_t DefaultHeight = 32;                    // 612
    int32_t PaletteCellSize = 0;                   // 616: under 4 means 12
    std::array<uint8_t, 32> QuickColors{};         // 620: eight colours, 4 bytes each
    int32_t GridDefault = 8;                       // 652: GridSize of a new document
    std::array<uint8_t, 84> TextToolState{};       // 656: last options of the text tool

    friend bool operator==(const SettingsRecord&, const SettingsRecord&) = default;
};

// The table's defaults.
SettingsRecord DefaultSettings();

std::array<uint8_t, kSettingsFileSize> SerializeSettings(const SettingsRecord& s);
// Reads what is there into a zeroed record (a short file leaves the rest zero). Does not
// clear the per-run fields; LoadSettings does.
SettingsRecord DeserializeSettings(std::span<const uint8_t> bytes);

// 0, or -1 when the file is missing, empty or unreadable (the record is then untouched).
// ActionErrorWarn, BatchRunning and UseSusieServer are cleared on every load, whatever the
// file holds: they never carry over from one run to the next.
int32_t LoadSettings(std::string_view settingsFile, SettingsRecord& record);
// 0 or -1.
int32_t SaveSettings(std::string_view settingsFile, const SettingsRecord& record);

// The settings dialog's range check of a typed number: under 1 gives 1, at or above the
// limit gives the limit.
int32_t ClampSettingNumber(int64_t typed, int32_t limit);
inline constexpr int32_t kWindowScaleLimit = 100;
inline constexpr int32_t kGridDefaultLimit = 100;
inline constexpr int32_t kDefaultSizeLimit = 32767;

// Recent files (UseFile.dat): one path a line, CR LF between lines, most recent first.
inline constexpr size_t kRecentFilesMax = 11;
std::vector<std::string> RecentFiles(std::string_view useFileList);
void AddRecentFile(std::string_view useFileList, std::string_view fnm);
void ClearRecentFiles(std::string_view useFileList);

}  // namespace brv
