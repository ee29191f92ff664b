#include "core/settings.h"

#include <algorithm>

#include "core/byte_io.h"
#include "core/file_io.h"

namespace brv {

SettingsRecord DefaultSettings() {
    return SettingsRecord{};
}

namespace {

void WritePoint(ByteWriter& w, PointI p) {
    w.I32LE(p.x);
    w.I32LE(p.y);
}

PointI ReadPoint(ByteReader& r) {
    PointI p;
    p.x = r.I32LE();
    p.y = r.I32LE();
    return p;
}

}  // namespace

std::array<uint8_t, kSettingsFileSize> SerializeSettings(const SettingsRecord& s) {
    ByteWriter w(kSettingsFileSize);
    w.I32LE(s.ActionErrorWarn);
    w.I32LE(s.ActionStepMessage);
    w.I32LE(s.BatchRunning);
    w.I32LE(s.UseWatcher);
    w.I32LE(s.UseSusieServer);
    w.I32LE(s.NewOnStart);
    w.I32LE(s.ClipboardIgnoreAlpha);
    w.Bytes(s.Reserved);
    for (const WindowPlacement& p : s.Placements) {
        w.U32LE(p.length);
        w.U32LE(p.flags);
        w.U32LE(p.showCmd);
        WritePoint(w, p.minPosition);
        WritePoint(w, p.maxPosition);
        w.I32LE(p.normalPosition.left);
        w.I32LE(p.normalPosition.top);
        w.I32LE(p.normalPosition.right);
        w.I32LE(p.normalPosition.bottom);
    }
    w.Bytes(s.DialogPlaces);
    w.I32LE(s.WindowScale);
    w.I32LE(s.AskOnClose);
    w.I32LE(s.DefaultWidth);
    w.I32LE(s.DefaultHeight);
    w.I32LE(s.PaletteCellSize);
    w.Bytes(s.QuickColors);
    w.I32LE(s.GridDefault);
    w.Bytes(s.TextToolState);

    std::array<uint8_t, kSettingsFileSize> out{};
    std::copy_n(w.Data().begin(), std::min(w.Size(), out.size()), out.begin());
    return out;
}

SettingsRecord DeserializeSettings(std::span<const uint8_t> bytes) {
    std::array<uint8_t, kSettingsFileSize> image{};
    std::copy_n(bytes.begin(), std::min(bytes.size(), image.size()), image.begin());
    ByteReader r(image);
    SettingsRecord s;
    s.ActionErrorWarn = r.I32LE();
    s.ActionStepMessage = r.I32LE();
    s.BatchRunning = r.I32LE();
    s.UseWatcher = r.I32LE();
    s.UseSusieServer = r.I32LE();
    s.NewOnStart = r.I32LE();
    s.ClipboardIgnoreAlpha = r.I32LE();
    r.ReadInto(s.Reserved.data(), s.Reserved.size());
    for (WindowPlacement& p : s.Placements) {
        p.length = r.U32LE();
        p.flags = r.U32LE();
        p.showCmd = r.U32LE();
        p.minPosition = ReadPoint(r);
        p.maxPosition = ReadPoint(r);
        p.normalPosition.left = r.I32LE();
        p.normalPosition.top = r.I32LE();
        p.normalPosition.right = r.I32LE();
        p.normalPosition.bottom = r.I32LE();
    }
    r.ReadInto(s.DialogPlaces.data(), s.DialogPlaces.size());
    s.WindowScale = r.I32LE();
    s.AskOnClose = r.I32LE();
    s.DefaultWidth = r.I32LE();
    s.DefaultHeight = r.I32LE();
    s.PaletteCellSize = r.I32LE();
    r.ReadInto(s.QuickColors.data(), s.QuickColors.size());
    s.GridDefault = r.I32LE();
    r.ReadInto(s.TextToolState.data(), s.TextToolState.size());
    return s;
}

int32_t LoadSettings(std::string_view settingsFile, SettingsRecord& record) {
    auto size = FileSize(settingsFile);
    if (!size || *size < 1) return -1;
    auto bytes = ReadWholeFile(settingsFile, 1 << 20);
    if (!bytes) return -1;
    SettingsRecord loaded = DeserializeSettings(*bytes);
    loaded.ActionErrorWarn = 0;
    loaded.BatchRunning = 0;
    loaded.UseSusieServer = 0;
    record = loaded;
    return 0;
}

int32_t SaveSettings(std::string_view settingsFile, const SettingsRecord& record) {
    auto image = SerializeSettings(record);
    return WriteWholeFile(settingsFile, image) ? 0 : -1;
}

int32_t ClampSettingNumber(int64_t typed, int32_t limit) {
    if (typed < 1) return 1;
    if (typed >= limit) return limit;
    return static_cast<int32_t>(typed);
}

namespace {

std::string Trim(std::string_view s) {
    const char* ws = " \t\r\n";
    auto b = s.find_first_not_of(ws);
    if (b == std::string_view::npos) return {};
    auto e = s.find_last_not_of(ws);
    return std::string(s.substr(b, e - b + 1));
}

void WriteRecent(std::string_view useFileList, const std::vector<std::string>& list) {
    std::string text;
    for (size_t i = 0; i < list.size(); ++i) {
        if (i) text += "\r\n";
        text += list[i];
    }
    WriteTextFile(useFileList, text);
}

}  // namespace

std::vector<std::string> RecentFiles(std::string_view useFileList) {
    std::vector<std::string> out;
    auto text = ReadTextFile(useFileList);
    if (!text) return out;
    size_t start = 0;
    while (start <= text->size() && out.size() < kRecentFilesMax) {
        size_t end = text->find("\r\n", start);
        std::string line = Trim(std::string_view(*text).substr(
            start, end == std::string::npos ? std::string::npos : end - start));
        if (!line.empty()) out.push_back(std::move(line));
        if (end == std::string::npos) break;
        start = end + 2;
    }
    return out;
}

void AddRecentFile(std::string_view useFileList, std::string_view fnm) {
    std::vector<std::string> list = RecentFiles(useFileList);
    std::erase(list, std::string(fnm));
    list.insert(list.begin(), std::string(fnm));
    if (list.size() > kRecentFilesMax) list.resize(kRecentFilesMax);
    WriteRecent(useFileList, list);
}

void ClearRecentFiles(std::string_view useFileList) {
    DeleteFile(useFileList);
}

}  // namespace brv
