#include "cli/headless_host.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

namespace brv {

void HeadlessHost::ShowMessage(std::string_view text, MessageIcon, std::string_view title) {
    if (!title.empty())
        std::fprintf(stderr, "%.*s: ", static_cast<int>(title.size()), title.data());
    std::fprintf(stderr, "%.*s\n", static_cast<int>(text.size()), text.data());
}

Answer HeadlessHost::Ask(std::string_view text, Buttons buttons, MessageIcon, std::string_view) {
    std::fprintf(stderr, "%.*s\n", static_cast<int>(text.size()), text.data());
    switch (buttons) {
        case Buttons::Ok:
        case Buttons::OkCancel:
            return Answer::Ok;
        case Buttons::YesNo:
        case Buttons::YesNoCancel:
            return Answer::Yes;
    }
    return Answer::Ok;
}

std::optional<std::string> HeadlessHost::AskText(std::string_view, std::string_view initial,
                                                 std::string_view) {
    return std::string(initial);
}

int32_t HeadlessHost::ChoosePicture(std::string_view fnm,
                                    const std::vector<PixelBuffer>& pictures) {
    std::fprintf(stderr, "%.*s: %zu images, taking image 1\n", static_cast<int>(fnm.size()),
                 fnm.data(), pictures.size());
    return 1;
}

std::optional<int32_t> HeadlessHost::AskChoice(std::string_view title,
                                               const std::vector<std::string>& choices,
                                               int32_t initial) {
    if (!title.empty())
        std::fprintf(stderr, "%.*s: ", static_cast<int>(title.size()), title.data());
    for (size_t i = 0; i < choices.size(); ++i)
        std::fprintf(stderr, "%s%s%s", i ? " / " : "",
                     static_cast<int32_t>(i) == initial ? "*" : "", choices[i].c_str());
    std::fputc('\n', stderr);
    return initial;
}

std::optional<PngSaveOptions> HeadlessHost::AskPngSaveOptions(const PngSaveOptions& initial) {
    std::fprintf(stderr, "png: %d bits, speed choice %d, interlace %s\n", initial.ColorBit,
                 initial.SpeedIndex + 1, initial.InterlaceOn ? "on" : "off");
    return initial;
}

std::optional<BmpSaveOptions> HeadlessHost::AskBmpSaveOptions(const BmpSaveOptions& initial) {
    std::fprintf(stderr, "bmp: %d bits%s%s\n", initial.Depth, initial.Check1 ? ", AND-XOR" : "",
                 initial.Check2 ? ", 24 bits" : "");
    return initial;
}

double HeadlessHost::Milliseconds() {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start_)
        .count();
}

uint64_t HeadlessHost::FreePhysicalMemory() {
    std::ifstream in("/proc/meminfo");
    std::string key;
    uint64_t kb = 0;
    std::string unit;
    while (in >> key >> kb >> unit) {
        if (key == "MemAvailable:") return kb * 1024;
    }
    return uint64_t{1} << 30;
}

std::string HeadlessHost::TempFolder() {
    for (const char* name : {"TEMP", "TMPDIR", "TMP"}) {
        if (const char* v = std::getenv(name); v && *v) {
            std::string s(v);
            if (s.back() != '/') s += '/';
            return s;
        }
    }
    return "/tmp/";
}

}  // namespace brv
