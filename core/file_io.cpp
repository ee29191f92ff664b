#include "core/file_io.h"

#include <algorithm>
#include <fstream>
#include <system_error>

namespace brv {

namespace fs = std::filesystem;

fs::path ToFsPath(std::string_view utf8) {
    std::u8string s(utf8.begin(), utf8.end());
    return fs::path(s);
}

std::string FromFsPath(const fs::path& p) {
    std::u8string s = p.u8string();
    return std::string(s.begin(), s.end());
}

bool FileExists(std::string_view path) {
    std::error_code ec;
    return !path.empty() && fs::is_regular_file(ToFsPath(path), ec);
}

bool DirectoryExists(std::string_view path) {
    std::error_code ec;
    return !path.empty() && fs::is_directory(ToFsPath(path), ec);
}

std::optional<uint64_t> FileSize(std::string_view path) {
    std::error_code ec;
    auto p = ToFsPath(path);
    if (!fs::is_regular_file(p, ec)) return std::nullopt;
    auto n = fs::file_size(p, ec);
    if (ec) return std::nullopt;
    return n;
}

bool DeleteFile(std::string_view path) {
    std::error_code ec;
    return fs::remove(ToFsPath(path), ec) && !ec;
}

bool MakeDirectories(std::string_view path) {
    std::error_code ec;
    fs::create_directories(ToFsPath(path), ec);
    return fs::is_directory(ToFsPath(path), ec);
}

std::optional<std::vector<uint8_t>> ReadWholeFile(std::string_view path, uint64_t maxBytes) {
    auto size = FileSize(path);
    if (!size || *size > maxBytes) return std::nullopt;
    std::ifstream in(ToFsPath(path), std::ios::binary);
    if (!in) return std::nullopt;
    std::vector<uint8_t> bytes;
    try {
        bytes.resize(static_cast<size_t>(*size));
    } catch (const std::bad_alloc&) {
        return std::nullopt;
    }
    if (!bytes.empty()) {
        in.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        if (static_cast<size_t>(in.gcount()) != bytes.size()) return std::nullopt;
    }
    return bytes;
}

std::optional<std::string> ReadTextFile(std::string_view path, uint64_t maxBytes) {
    auto bytes = ReadWholeFile(path, maxBytes);
    if (!bytes) return std::nullopt;
    return std::string(bytes->begin(), bytes->end());
}

bool WriteWholeFile(std::string_view path, std::span<const uint8_t> bytes) {
    std::ofstream out(ToFsPath(path), std::ios::binary | std::ios::trunc);
    if (!out) return false;
    if (!bytes.empty())
        out.write(reinterpret_cast<const char*>(bytes.data()),
                  static_cast<std::streamsize>(bytes.size()));
    out.close();
    return static_cast<bool>(out);
}

bool WriteTextFile(std::string_view path, std::string_view text) {
    return WriteWholeFile(path,
                          std::span(reinterpret_cast<const uint8_t*>(text.data()), text.size()));
}

std::vector<std::string> ListFilesRecursive(std::string_view folder) {
    std::vector<std::string> out;
    std::error_code ec;
    fs::recursive_directory_iterator it(ToFsPath(folder),
                                        fs::directory_options::skip_permission_denied, ec);
    for (; !ec && it != fs::recursive_directory_iterator(); it.increment(ec)) {
        std::error_code fec;
        if (it->is_regular_file(fec)) out.push_back(FromFsPath(it->path()));
    }
    std::sort(out.begin(), out.end());
    return out;
}

std::vector<std::string> ListFiles(std::string_view folder) {
    std::vector<std::string> out;
    std::error_code ec;
    fs::directory_iterator it(ToFsPath(folder), ec);
    for (; !ec && it != fs::directory_iterator(); it.increment(ec)) {
        std::error_code fec;
        if (it->is_regular_file(fec)) out.push_back(FromFsPath(it->path()));
    }
    std::sort(out.begin(), out.end());
    return out;
}

std::string ShortName(std::string_view path) {
    auto pos = path.find_last_of("/\\");
    return std::string(pos == std::string_view::npos ? path : path.substr(pos + 1));
}

}  // namespace brv
