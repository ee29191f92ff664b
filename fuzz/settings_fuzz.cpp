// The settings reader takes any bytes: a short file leaves zeros, a long one is cut, and the
// record written back always has the file's exact length and reads back the same.
#include <cstdint>
#include <cstdlib>
#include <span>

#include "core/settings.h"
#include "fuzz/fuzz_target.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    brv::SettingsRecord s = brv::DeserializeSettings(std::span(data, size));
    auto image = brv::SerializeSettings(s);
    if (!(brv::DeserializeSettings(image) == s)) std::abort();
    return 0;
}
