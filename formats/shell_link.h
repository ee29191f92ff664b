// ShellLink: the target of a Windows shell link (.lnk), read from the binary format.
//
//   ShellLinkInfo link;
//   if (ReadShellLink(bytes, link) == 0) open(link.TargetPath.empty() ? link.WorkingDir : ...);
//
// Layout, little-endian: a 76-byte header (size 0x4C, class id, LinkFlags, times, ...), then
// by LinkFlags an item id list (skipped), a LinkInfo block holding the local base path and a
// common path suffix, and counted strings (name, relative path, working folder, arguments,
// icon location), UTF-16 when the IsUnicode flag is set, else the system code page (Windows-31J).
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace brv {

struct ShellLinkInfo {
    std::string TargetPath;    // local base path + common path suffix, UTF-8; may be empty
    std::string RelativePath;  // relative to the link's folder, as stored (backslashes)
    std::string WorkingDir;
};

// 0, or -1 when the bytes are no shell link or are cut short.
int32_t ReadShellLink(std::span<const uint8_t> bytes, ShellLinkInfo& retInfo);

// The file a link names, UTF-8: the target path, or when no file stands there the relative
// path taken from the link's own folder (so links made on Windows still find files copied
// along with them), or else the working folder. Empty when the link can't be read or names
// nothing.
std::string ResolveShellLink(std::string_view lnkPath);

}  // namespace brv
