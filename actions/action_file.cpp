#include "actions/action_file.h"

#include <iconv.h>

#include <cerrno>
#include <fstream>

#include "actions/action_codec.h"
#include "core/file_io.h"

namespace brv {

namespace {

constexpr const char* kCodePage = "CP932";

// One iconv conversion direction, open for as long as the object lives.
class Converter {
public:
    Converter(const char* to, const char* from)
        : cd_(iconv_open(to, from)), fromUtf8_(std::string_view(from) == "UTF-8") {}
    ~Converter() {
        if (Ok()) iconv_close(cd_);
    }
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;

    bool Ok() const { return cd_ != reinterpret_cast<iconv_t>(-1); }

    std::string Run(std::string_view text) {
        if (!Ok()) return std::string(text);
        std::string in(text);
        std::string out(in.size() * 2 + 16, '\0');
        char* src = in.data();
        size_t srcLeft = in.size();
        size_t used = 0;
        while (srcLeft > 0) {
            char* dst = out.data() + used;
            size_t dstLeft = out.size() - used;
            const size_t r = iconv(cd_, &src, &srcLeft, &dst, &dstLeft);
            used = out.size() - dstLeft;
            if (r != static_cast<size_t>(-1)) break;
            if (errno == E2BIG) {
                out.resize(out.size() * 2);
                continue;
            }
            // A character with no code on the other side, or a broken one: "?" stands for it.
            if (used == out.size()) out.resize(out.size() * 2);
            out[used++] = '?';
            const size_t offset = static_cast<size_t>(src - in.data());
            const size_t skip = fromUtf8_ ? Utf8CharLength(in, offset) : 1;
            src += skip;
            srcLeft -= skip;
            iconv(cd_, nullptr, nullptr, nullptr, nullptr);
        }
        out.resize(used);
        return out;
    }

private:
    iconv_t cd_;
    bool fromUtf8_;
};

bool AppendToFile(std::string_view fnm, std::string_view bytes) {
    std::ofstream f(ToFsPath(fnm), std::ios::binary | std::ios::app);
    if (!f) return false;
    f.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    f.close();
    return !f.fail();
}

char AsciiLower(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

}  // namespace

std::string Utf8ToCodePage(std::string_view utf8) {
    return Converter(kCodePage, "UTF-8").Run(utf8);
}

std::string CodePageToUtf8(std::string_view bytes) {
    return Converter("UTF-8", kCodePage).Run(bytes);
}

std::vector<std::string> SplitActionLines(std::string_view text) {
    std::vector<std::string> lines;
    size_t start = 0;
    size_t i = 0;
    while (i < text.size()) {
        const char c = text[i];
        if (c != '\r' && c != '\n') {
            ++i;
            continue;
        }
        lines.emplace_back(text.substr(start, i - start));
        i += (c == '\r' && i + 1 < text.size() && text[i + 1] == '\n') ? 2 : 1;
        start = i;
    }
    if (start < text.size()) lines.emplace_back(text.substr(start));
    return lines;
}

int32_t ReadActionFile(std::string_view fnm, std::vector<std::string>& retLines) {
    auto bytes = ReadWholeFile(fnm, kMaxActionFileBytes);
    if (!bytes) return kActionFileUnreadable;
    const std::string_view raw(reinterpret_cast<const char*>(bytes->data()), bytes->size());
    retLines = SplitActionLines(CodePageToUtf8(raw));
    return kActionFileOk;
}

int32_t EndActionRecording(ActionRecorder& recorder, std::string_view fnm) {
    int32_t rc = kActionFileOk;
    if (recorder.ActionLines.size() > 1) {
        DeleteFile(fnm);
        Converter toFile(kCodePage, "UTF-8");
        for (size_t i = 1; i < recorder.ActionLines.size(); ++i) {
            if (!AppendToFile(fnm, toFile.Run(recorder.ActionLines[i]) + "\r\n")) {
                rc = kActionFileWriteFailed;
                break;
            }
        }
    }
    ClearActionRecording(recorder);
    return rc;
}

std::string ActionSaveAsName(std::string_view chosen) {
    const size_t slash = chosen.find_last_of("/\\");
    const size_t nameStart = slash == std::string_view::npos ? 0 : slash + 1;
    const size_t dot = chosen.find_last_of('.');
    std::string ext;
    if (dot != std::string_view::npos && dot >= nameStart)
        for (char c : chosen.substr(dot + 1))
            ext += AsciiLower(c);
    if (ext == "kra") return std::string(chosen);
    return std::string(chosen) + ".KRA";
}

int32_t CopyActionFile(std::string_view from, std::string_view to) {
    auto bytes = ReadWholeFile(from, kMaxActionFileBytes);
    if (!bytes) return kActionFileUnreadable;
    return WriteWholeFile(to, *bytes) ? kActionFileOk : kActionFileWriteFailed;
}

}  // namespace brv
