// Whole-file reads and writes. Paths are UTF-8 text everywhere in the program; only this
// file turns them into the platform's path type.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace brv {

std::filesystem::path ToFsPath(std::string_view utf8);
std::string FromFsPath(const std::filesystem::path& p);

bool FileExists(std::string_view path);  // a regular file (or a link to one)
bool DirectoryExists(std::string_view path);
// Size of a regular file, nullopt when it does not exist or cannot be read.
std::optional<uint64_t> FileSize(std::string_view path);
bool DeleteFile(std::string_view path);
bool MakeDirectories(std::string_view path);

// Reads at most maxBytes; nullopt when the file is missing, unreadable or larger.
std::optional<std::vector<uint8_t>> ReadWholeFile(std::string_view path,
                                                  uint64_t maxBytes = uint64_t{1} << 32);
std::optional<std::string> ReadTextFile(std::string_view path, uint64_t maxBytes = 1 << 24);
// Replaces the file; false on any failure.
bool WriteWholeFile(std::string_view path, std::span<const uint8_t> bytes);
bool WriteTextFile(std::string_view path, std::string_view text);

// Files (not folders) below a folder, recursively, as full paths; empty when it is missing.
std::vector<std::string> ListFilesRecursive(std::string_view folder);
// Files directly in a folder, as full paths, sorted by name.
std::vector<std::string> ListFiles(std::string_view folder);

// The name after the last separator ("a/b/c.ico" gives "c.ico").
std::string ShortName(std::string_view path);

}  // namespace brv
