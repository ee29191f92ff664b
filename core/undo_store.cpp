#include "core/undo_store.h"

#include <cstdio>
#include <memory>

#include "core/byte_io.h"
#include "core/file_io.h"
#include "core/messages.h"

namespace brv {

std::string UndoFileName(const AppPaths& paths, int32_t fid, int32_t k) {
    return paths.UndoPrefix + std::to_string(fid) + "_" + std::to_string(k) + ".undo";
}

namespace {

struct FileCloser {
    void operator()(std::FILE* f) const { std::fclose(f); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

File OpenFile(std::string_view fnm, const char* mode) {
    return File(std::fopen(FromFsPath(ToFsPath(fnm)).c_str(), mode));
}

bool WriteInt(std::FILE* f, int32_t v) {
    uint8_t b[4];
    for (int i = 0; i < 4; ++i)
        b[i] = static_cast<uint8_t>(static_cast<uint32_t>(v) >> (8 * i));
    return std::fwrite(b, 1, 4, f) == 4;
}

bool WriteBytes(std::FILE* f, std::span<const uint8_t> bytes) {
    return bytes.empty() || std::fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size();
}

std::string JoinLines(const std::vector<std::string>& lines) {
    std::string text;
    for (size_t i = 0; i < lines.size(); ++i) {
        if (i) text += "\r\n";
        text += lines[i];
    }
    return text;
}

std::vector<std::string> SplitLines(std::string_view text) {
    std::vector<std::string> lines;
    size_t start = 0;
    while (true) {
        size_t end = text.find("\r\n", start);
        lines.emplace_back(text.substr(start, end == std::string_view::npos ? end : end - start));
        if (end == std::string_view::npos) break;
        start = end + 2;
    }
    return lines;
}

}  // namespace

int32_t WriteSnapshot(std::string_view fnm, const DocumentRecord& doc,
                      const ActionRecorder& recorder, Host& host) {
    DeleteFile(fnm);
    {
        File f = OpenFile(fnm, "wb");
        if (!f) return -1;
        // Layers go out straight from memory: a snapshot is as large as the document and a copy
        // would double the cost.
        static constexpr size_t kBuffer = size_t{1} << 20;
        std::setvbuf(f.get(), nullptr, _IOFBF, kBuffer);
        bool ok = WriteInt(f.get(), doc.Width) && WriteInt(f.get(), doc.Height) &&
                  WriteBytes(f.get(), doc.Selection.bytes) && WriteInt(f.get(), doc.ActiveLID) &&
                  WriteInt(f.get(), doc.LayerCount());
        for (int32_t lid = 1; ok && lid <= doc.LayerCount(); ++lid) {
            const LayerRecord& layer = doc.Layers[static_cast<size_t>(lid)];
            ok = WriteBytes(f.get(), layer.Pixels.Bytes()) && WriteInt(f.get(), layer.Visible) &&
                 WriteInt(f.get(), layer.OffsetX) && WriteInt(f.get(), layer.OffsetY);
        }
        if (std::fflush(f.get()) != 0) ok = false;
        if (!ok) return -2;
    }
    if (recorder.Recording()) {
        if (!WriteTextFile(std::string(fnm) + ".aundo", JoinLines(recorder.ActionLines)))
            host.ShowMessage(msg::kTempActionWriteFailed, MessageIcon::Exclamation);
    }
    return 0;
}

int32_t ReadSnapshot(std::string_view fnm, DocumentRecord& doc, ActionRecorder& recorder) {
    auto size = FileSize(fnm);
    if (!size || *size < 1) return -1;
    File f = OpenFile(fnm, "rb");
    if (!f) return -1;

    uint8_t head[8];
    if (std::fread(head, 1, 8, f.get()) != 8) return -2;
    ByteReader hr(head);
    const int32_t width = hr.I32LE();
    const int32_t height = hr.I32LE();
    if (width < 1 || height < 1 || width > PixelBuffer::kMaxSide || height > PixelBuffer::kMaxSide)
        return -2;
    const uint64_t area = static_cast<uint64_t>(width) * static_cast<uint64_t>(height);
    const uint64_t perLayer = 4 * area + 12;
    if (*size < 16 + area) return -2;

    std::vector<uint8_t> selection(static_cast<size_t>(area));
    uint8_t mid[8];
    if (std::fread(selection.data(), 1, selection.size(), f.get()) != selection.size() ||
        std::fread(mid, 1, 8, f.get()) != 8)
        return -2;
    ByteReader mr(mid);
    int32_t activeLid = mr.I32LE();
    const int32_t n = mr.I32LE();
    // Every layer needs its pixels and three fields: refuse a count the file cannot hold
    // before anything of the document changes.
    if (n < 0 || static_cast<uint64_t>(n) > (*size - 16 - area) / perLayer) return -2;
    if (activeLid >= n) activeLid = n;

    doc.Width = width;
    doc.Height = height;
    doc.Selection.width = width;
    doc.Selection.height = height;
    doc.Selection.bytes = std::move(selection);
    doc.ActiveLID = activeLid;
    // Slots that stay keep their pen settings; layers above the count are dropped.
    doc.Layers.resize(static_cast<size_t>(n) + 1);
    for (int32_t lid = 1; lid <= n; ++lid) {
        LayerRecord& layer = doc.Layers[static_cast<size_t>(lid)];
        if (layer.Pixels.Width() != width || layer.Pixels.Height() != height)
            layer.Pixels = PixelBuffer(width, height);
        auto bytes = layer.Pixels.Bytes();
        uint8_t tail[12];
        if (std::fread(bytes.data(), 1, bytes.size(), f.get()) != bytes.size() ||
            std::fread(tail, 1, 12, f.get()) != 12)
            return -2;
        ByteReader tr(tail);
        layer.Visible = tr.I32LE();
        layer.OffsetX = tr.I32LE();
        layer.OffsetY = tr.I32LE();
    }

    if (recorder.Recording()) {
        if (auto text = ReadTextFile(std::string(fnm) + ".aundo", uint64_t{1} << 31))
            recorder.ActionLines = SplitLines(*text);
        else
            recorder.ActionLines.resize(1);
    }
    return 0;
}

int32_t SaveUndo(CoreState& state, Host& host, int32_t fid) {
    DocumentRecord* doc = state.Doc(fid);
    if (!doc) return -1;
    const std::string name = UndoFileName(state.Paths, fid, doc->UndoPos + 1);
    const int32_t result = WriteSnapshot(name, *doc, state.Recorder, host);
    if (result < 0) return result;
    doc->UndoPos += 1;
    // Snapshots above are forgotten; their files stay until overwritten or deleted.
    doc->UndoTop = doc->UndoPos;
    doc->Modified = kYes;
    return 0;
}

int32_t Undo(CoreState& state, int32_t fid) {
    DocumentRecord* doc = state.Doc(fid);
    if (!doc || doc->UndoPos < 2) return -1;
    if (ReadSnapshot(UndoFileName(state.Paths, fid, doc->UndoPos - 1), *doc, state.Recorder) != 0)
        return -2;
    doc->UndoPos -= 1;
    return 0;
}

int32_t Redo(CoreState& state, int32_t fid) {
    DocumentRecord* doc = state.Doc(fid);
    if (!doc || doc->UndoPos >= doc->UndoTop) return -1;
    if (ReadSnapshot(UndoFileName(state.Paths, fid, doc->UndoPos + 1), *doc, state.Recorder) != 0)
        return -2;
    doc->UndoPos += 1;
    if (state.Recorder.Recording())
        RecordAction(state.Recorder, state.ActiveFID, "Redo", doc->ActiveLID, {"0"});
    return 0;
}

namespace {

char Lower(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

bool EndsWithNoCase(std::string_view s, std::string_view suffix) {
    if (s.size() < suffix.size()) return false;
    for (size_t i = 0; i < suffix.size(); ++i)
        if (Lower(s[s.size() - suffix.size() + i]) != Lower(suffix[i])) return false;
    return true;
}

}  // namespace

bool MatchesWildcard(std::string_view pattern, std::string_view name) {
    // Iterative matcher with one backtrack point per star.
    size_t p = 0, n = 0, starP = std::string_view::npos, starN = 0;
    while (n < name.size()) {
        if (p < pattern.size() && (pattern[p] == '?' || Lower(pattern[p]) == Lower(name[n]))) {
            ++p;
            ++n;
        } else if (p < pattern.size() && pattern[p] == '*') {
            starP = p++;
            starN = n;
        } else if (starP != std::string_view::npos) {
            p = starP + 1;
            n = ++starN;
        } else {
            return false;
        }
    }
    while (p < pattern.size() && pattern[p] == '*')
        ++p;
    return p == pattern.size();
}

int32_t DeleteUndoFiles(const AppPaths& paths, int32_t fid) {
    std::string pattern;
    if (fid >= 1)
        pattern = "undo*" + std::to_string(fid) + "_*.undo";
    else if (fid == 0)
        pattern = "*.undo";
    else
        pattern = "*";

    int32_t found = 0;
    for (const std::string& file : ListFilesRecursive(paths.TempDir)) {
        const std::string name = ShortName(file);
        if (!MatchesWildcard(pattern, name)) continue;
        ++found;
        // Guard against a folder that is not ours.
        if (file.find(paths.AppPath) == std::string::npos) continue;
        if (EndsWithNoCase(name, ".nedat")) continue;
        DeleteFile(file);
    }
    return found ? found : -1;
}

}  // namespace brv
