// The shell-link reader takes any bytes and answers 0 or -1.
#include <cstdint>
#include <cstdlib>
#include <span>

#include "formats/shell_link.h"
#include "fuzz/fuzz_target.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    brv::ShellLinkInfo info;
    const int32_t r = brv::ReadShellLink(std::span(data, size), info);
    if (r != 0 && r != -1) std::abort();
    return 0;
}
