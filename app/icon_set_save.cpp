#include "app/icon_set_save.h"

#include "core/file_io.h"

namespace brv {

std::optional<int32_t> IconEditSaveBitRate(Host& host) {
    const std::vector<std::string> choices(kIconSaveKindTexts.begin(), kIconSaveKindTexts.end());
    const auto kind = host.AskChoice("", choices, kIconSaveDefaultKind);
    if (!kind || *kind < 0 || *kind >= static_cast<int32_t>(kIconSaveBitCounts.size()))
        return std::nullopt;
    return kIconSaveBitCounts[static_cast<size_t>(*kind)];
}

int32_t ReadIconSetFile(const IconC& ico, std::string_view fnm,
                        std::vector<IconSetEntry>& retEntries) {
    const int32_t count = ico.IconCount(fnm);
    if (count < 0) return count;
    std::vector<IconSetEntry> entries;
    for (int32_t index = 1; index <= count; ++index) {
        IconSetEntry e;
        const int32_t depth = ico.LoadIcon(fnm, index, e.Pixels, e.HotX, e.HotY, false);
        if (depth < 0) return depth;
        e.BitCount = depth;
        FlipAndInvert(e.Pixels, true, false);
        entries.push_back(std::move(e));
    }
    retEntries = std::move(entries);
    return 0;
}

int32_t WriteIconSetFile(const IconC& ico, std::string_view fnm,
                         const std::vector<IconSetEntry>& entries, int32_t bitCount) {
    if (FileExists(fnm) && !DeleteFile(fnm)) return -1;
    for (const auto& e : entries) {
        PixelBuffer fileOrder = e.Pixels;
        FlipAndInvert(fileOrder, true, false);
        const int32_t r = ico.SaveIcon(fnm, fileOrder, -1, e.HotX, e.HotY, 0, bitCount);
        if (r < 0) return r;
    }
    return 0;
}

}  // namespace brv
