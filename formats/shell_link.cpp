#include "formats/shell_link.h"

#include <iconv.h>

#include <algorithm>
#include <array>
#include <vector>

#include "core/byte_io.h"
#include "core/file_io.h"

namespace brv {

namespace {

constexpr uint32_t kHeaderSize = 0x4C;
// {00021401-0000-0000-C000-000000000046} as stored.
constexpr std::array<uint8_t, 16> kLinkClsid = {0x01, 0x14, 0x02, 0x00, 0x00, 0x00, 0x00, 0x00,
                                                0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46};

// LinkFlags.
constexpr uint32_t kHasLinkTargetIdList = 0x01;
constexpr uint32_t kHasLinkInfo = 0x02;
constexpr uint32_t kHasName = 0x04;
constexpr uint32_t kHasRelativePath = 0x08;
constexpr uint32_t kHasWorkingDir = 0x10;
constexpr uint32_t kIsUnicode = 0x80;

// LinkInfoFlags.
constexpr uint32_t kVolumeIdAndLocalBasePath = 0x01;

constexpr size_t kMaxLinkBytes = 1 << 20;

void AppendUtf8(std::string& out, uint32_t cp) {
    if (cp < 0x80) {
        out += static_cast<char>(cp);
    } else if (cp < 0x800) {
        out += static_cast<char>(0xC0 | (cp >> 6));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
        out += static_cast<char>(0xE0 | (cp >> 12));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (cp >> 18));
        out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    }
}

std::string Utf16ToUtf8(std::span<const uint8_t> le) {
    std::string out;
    for (size_t i = 0; i + 1 < le.size(); i += 2) {
        uint32_t u = le[i] | (uint32_t{le[i + 1]} << 8);
        if (u >= 0xD800 && u < 0xDC00 && i + 3 < le.size()) {
            const uint32_t lo = le[i + 2] | (uint32_t{le[i + 3]} << 8);
            if (lo >= 0xDC00 && lo < 0xE000) {
                u = 0x10000 + ((u - 0xD800) << 10) + (lo - 0xDC00);
                i += 2;
            }
        }
        AppendUtf8(out, u);
    }
    return out;
}

// The system code page of the machine that made the link: Windows-31J. Bytes that don't
// convert are kept as they are.
std::string CodePageToUtf8(std::span<const uint8_t> bytes) {
    std::string in(bytes.begin(), bytes.end());
    iconv_t cd = iconv_open("UTF-8", "CP932");
    if (cd == reinterpret_cast<iconv_t>(-1)) return in;
    std::string out(in.size() * 3 + 4, '\0');
    char* src = in.data();
    size_t srcLeft = in.size();
    char* dst = out.data();
    size_t dstLeft = out.size();
    const size_t r = iconv(cd, &src, &srcLeft, &dst, &dstLeft);
    iconv_close(cd);
    if (r == static_cast<size_t>(-1)) return in;
    out.resize(out.size() - dstLeft);
    return out;
}

// A NUL-terminated string inside [begin, end) of the block.
std::span<const uint8_t> Terminated(std::span<const uint8_t> block, size_t at, bool wide) {
    if (at >= block.size()) return {};
    size_t end = at;
    if (wide) {
        while (end + 1 < block.size() && (block[end] || block[end + 1]))
            end += 2;
    } else {
        while (end < block.size() && block[end])
            ++end;
    }
    return block.subspan(at, end - at);
}

std::string CountedString(ByteReader& r, bool unicode) {
    const uint16_t chars = r.U16LE();
    const auto bytes = r.Bytes(unicode ? size_t{2} * chars : chars);
    return unicode ? Utf16ToUtf8(bytes) : CodePageToUtf8(bytes);
}

std::string ToLocalSeparators(std::string path) {
#ifndef _WIN32
    std::replace(path.begin(), path.end(), '\\', '/');
#endif
    return path;
}

}  // namespace

int32_t ReadShellLink(std::span<const uint8_t> bytes, ShellLinkInfo& retInfo) {
    ByteReader r(bytes);
    if (r.U32LE() != kHeaderSize) return -1;
    const auto clsid = r.Bytes(16);
    if (clsid.size() != 16 || !std::equal(clsid.begin(), clsid.end(), kLinkClsid.begin()))
        return -1;
    const uint32_t flags = r.U32LE();
    r.Seek(kHeaderSize);
    if (flags & kHasLinkTargetIdList) r.Skip(r.U16LE());

    ShellLinkInfo info;
    if (flags & kHasLinkInfo) {
        const size_t start = r.Pos();
        const uint32_t size = r.U32LE();
        if (r.Failed() || size < 28 || size - 4 > r.Remaining()) return -1;
        const auto block = bytes.subspan(start, size);
        ByteReader h(block, 4);
        const uint32_t headerSize = h.U32LE();
        const uint32_t linkInfoFlags = h.U32LE();
        h.U32LE();  // VolumeIDOffset
        const uint32_t baseOffset = h.U32LE();
        h.U32LE();  // CommonNetworkRelativeLinkOffset
        const uint32_t suffixOffset = h.U32LE();
        // Newer writers add UTF-16 forms of both strings.
        const bool wide = headerSize >= 0x24;
        const uint32_t baseOffsetW = wide ? h.U32LE() : 0;
        const uint32_t suffixOffsetW = wide ? h.U32LE() : 0;
        if (h.Failed()) return -1;
        if (linkInfoFlags & kVolumeIdAndLocalBasePath) {
            if (wide && baseOffsetW)
                info.TargetPath = Utf16ToUtf8(Terminated(block, baseOffsetW, true)) +
                                  Utf16ToUtf8(Terminated(block, suffixOffsetW, true));
            else
                info.TargetPath = CodePageToUtf8(Terminated(block, baseOffset, false)) +
                                  CodePageToUtf8(Terminated(block, suffixOffset, false));
        }
        r.Seek(start + size);
    }
    const bool unicode = flags & kIsUnicode;
    if (flags & kHasName) CountedString(r, unicode);
    if (flags & kHasRelativePath) info.RelativePath = CountedString(r, unicode);
    if (flags & kHasWorkingDir) info.WorkingDir = CountedString(r, unicode);
    if (r.Failed()) return -1;
    retInfo = std::move(info);
    return 0;
}

std::string ResolveShellLink(std::string_view lnkPath) {
    const auto bytes = ReadWholeFile(lnkPath, kMaxLinkBytes);
    ShellLinkInfo info;
    if (!bytes || ReadShellLink(*bytes, info) < 0) return {};
    const std::string target = ToLocalSeparators(info.TargetPath);
    if (!target.empty() && FileExists(target)) return target;
    if (!info.RelativePath.empty()) {
        const std::string name(lnkPath);
        const size_t slash = name.find_last_of("/\\");
        const std::string folder = slash == std::string::npos ? "" : name.substr(0, slash + 1);
        const std::string relative = folder + ToLocalSeparators(info.RelativePath);
        if (FileExists(relative)) return relative;
    }
    if (!target.empty()) return target;
    return ToLocalSeparators(info.WorkingDir);
}

}  // namespace brv
