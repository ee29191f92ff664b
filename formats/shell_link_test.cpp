#include "formats/shell_link.h"

#include <gtest/gtest.h>

#include "core/byte_io.h"
#include "core/file_io.h"
#include "tests/support/fake_host.h"

namespace brv {
namespace {

using testing::TempFolder;

void Utf16(ByteWriter& w, std::u16string_view s) {
    for (char16_t c : s)
        w.U16LE(static_cast<uint16_t>(c));
}

// A link with an item id list, a LinkInfo block (ANSI base path in Windows-31J, and the UTF-16
// forms when wide), then the relative path and working folder as counted strings.
std::vector<uint8_t> MakeLink(std::string_view ansiBase, std::u16string_view wideBase,
                              std::u16string_view relative, std::u16string_view working,
                              bool wide) {
    ByteWriter w;
    w.U32LE(0x4C);
    w.Bytes(std::vector<uint8_t>{0x01, 0x14, 0x02, 0, 0, 0, 0, 0, 0xC0, 0, 0, 0, 0, 0, 0, 0x46});
    uint32_t flags = 0x01 | 0x02 | 0x80;
    if (!relative.empty()) flags |= 0x08;
    if (!working.empty()) flags |= 0x10;
    w.U32LE(flags);
    w.Zeros(0x4C - w.Size());
    w.U16LE(4);
    w.Zeros(4);  // item id list

    ByteWriter info;
    const uint32_t headerSize = wide ? 0x24 : 0x1C;
    const uint32_t baseAt = headerSize;
    const uint32_t suffixAt = baseAt + static_cast<uint32_t>(ansiBase.size()) + 1;
    const uint32_t wideAt = suffixAt + 1;
    const uint32_t wideSuffixAt = wideAt + 2 * static_cast<uint32_t>(wideBase.size()) + 2;
    info.U32LE(0);  // size, patched
    info.U32LE(headerSize);
    info.U32LE(1);
    info.U32LE(0);
    info.U32LE(baseAt);
    info.U32LE(0);
    info.U32LE(suffixAt);
    if (wide) {
        info.U32LE(wideAt);
        info.U32LE(wideSuffixAt);
    }
    info.Text(ansiBase);
    info.U8(0);
    info.U8(0);  // empty suffix
    if (wide) {
        Utf16(info, wideBase);
        info.U16LE(0);
        info.U16LE(0);
    }
    info.PutU32LE(0, static_cast<uint32_t>(info.Size()));
    w.Bytes(info.Data());
    for (auto s : {relative, working}) {
        if (s.empty()) continue;
        w.U16LE(static_cast<uint16_t>(s.size()));
        Utf16(w, s);
    }
    return std::move(w).Take();
}

TEST(ShellLink, ReadsPathsInBothEncodings) {
    ShellLinkInfo info;
    // "画像.png" in Windows-31J.
    const std::string sjis = "C:\\\x89\xe6\x91\x9c.png";
    ASSERT_EQ(ReadShellLink(MakeLink(sjis, u"", u"..\\b.ico", u"C:\\work", false), info), 0);
    EXPECT_EQ(info.TargetPath, "C:\\画像.png");
    EXPECT_EQ(info.RelativePath, "..\\b.ico");
    EXPECT_EQ(info.WorkingDir, "C:\\work");

    ASSERT_EQ(ReadShellLink(MakeLink("C:\\x", u"D:\\アイコン.ico", u"", u"", true), info), 0);
    EXPECT_EQ(info.TargetPath, "D:\\アイコン.ico");
    EXPECT_TRUE(info.RelativePath.empty());
}

TEST(ShellLink, RefusesOtherAndCutBytes) {
    ShellLinkInfo info;
    auto link = MakeLink("C:\\a.png", u"", u"a.png", u"", false);
    auto bad = link;
    bad[4] ^= 1;
    EXPECT_EQ(ReadShellLink(bad, info), -1);
    for (size_t cut = 0; cut < link.size(); ++cut)
        EXPECT_EQ(ReadShellLink(std::span(link).first(cut), info), -1) << cut;
}

TEST(ShellLink, ResolvesTargetThenRelativeThenWorkingFolder) {
    TempFolder dir;
    ASSERT_TRUE(WriteWholeFile(dir.File("pic.png"), std::vector<uint8_t>{1}));
    const std::string lnk = dir.File("a.lnk");

    ASSERT_TRUE(WriteWholeFile(lnk, MakeLink(dir.File("pic.png"), u"", u"", u"", false)));
    EXPECT_EQ(ResolveShellLink(lnk), dir.File("pic.png"));
    // A Windows target that is not here: the relative path from the link's folder.
    ASSERT_TRUE(WriteWholeFile(lnk, MakeLink("C:\\gone\\pic.png", u"", u".\\pic.png", u"", false)));
    EXPECT_EQ(ResolveShellLink(lnk), dir.File("./pic.png"));
    ASSERT_TRUE(WriteWholeFile(lnk, MakeLink("", u"", u"", u"/some/folder", false)));
    EXPECT_EQ(ResolveShellLink(lnk), "/some/folder");
    ASSERT_TRUE(WriteWholeFile(lnk, std::vector<uint8_t>{'x'}));
    EXPECT_EQ(ResolveShellLink(lnk), "");
}

}  // namespace
}  // namespace brv
