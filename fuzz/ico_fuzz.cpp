// The icon reader takes any bytes: every road returns success or a code of its table, and a
// picture that decodes survives a write and a second read unchanged.
#include <cstdint>
#include <cstdlib>
#include <span>
#include <vector>

#include "formats/ico_codec.h"
#include "fuzz/fuzz_target.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::span<const uint8_t> bytes(data, size);
    const brv::IconC ico(brv::IconLimits{.MaxPixels = 1 << 18});
    auto described = [](int32_t code) { return code >= 0 || !brv::IconC::GetError(code).empty(); };
    if (!described(brv::IconC::IsIconBytes(bytes, size))) std::abort();
    const int32_t count = brv::IconC::IconCountBytes(bytes);
    for (int32_t index = 1; index <= count && index <= 4; ++index) {
        brv::PixelBuffer pic;
        int32_t hotX = 0, hotY = 0;
        const int32_t depth = ico.LoadIconBytes(bytes, index, pic, hotX, hotY, false);
        if (!described(depth)) std::abort();
        if (depth != 32) continue;
        // A 32-bit picture is written back as it is and must read back the same.
        brv::IconImageRecord rec;
        if (brv::IconC::EncodeIconImage(pic, rec, 32) < 0) std::abort();
        const auto file = brv::IconC::WriteIconBytes({rec}, 0);
        brv::PixelBuffer again;
        if (ico.LoadIconBytes(file, 1, again, hotX, hotY, false) != 32 || !(again == pic))
            std::abort();
    }
    std::vector<brv::IconImageRecord> records;
    const int32_t all = ico.LoadAllIconRecordsBytes(bytes, records);
    if (all != 0 && all != -2 && all != -9) std::abort();
    if (all == 0) (void)brv::IconC::WriteIconBytes(records, 0);
    return 0;
}
