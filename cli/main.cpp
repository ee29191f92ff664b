// brivandelle-cli: the program without windows.
#include <cstdio>
#include <cstring>
#include <string>

#include "cli/headless_host.h"

namespace {

void PrintUsage() {
    std::puts(
        "usage: brivandelle-cli COMMAND ...\n"
        "  --version    print the version\n"
        "Commands arrive with the codecs: dump, convert, run, batch.");
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2 || std::strcmp(argv[1], "--help") == 0) {
        PrintUsage();
        return argc < 2 ? 1 : 0;
    }
    if (std::strcmp(argv[1], "--version") == 0) {
        std::puts("brivandelle-cli " BRV_VERSION);
        return 0;
    }
    std::fprintf(stderr, "unknown command: %s\n", argv[1]);
    PrintUsage();
    return 1;
}
