#include "formats/reference_decoder_test.h"

#include <cstdio>
#include <cstdlib>
#include <sstream>

#include "core/file_io.h"
#include "tests/support/fake_host.h"

namespace brv::testing {

namespace {

std::string Quoted(const std::string& s) {
    std::string out = "'";
    for (char c : s) {
        if (c == '\'')
            out += "'\\''";
        else
            out += c;
    }
    return out + "'";
}

// A PAM stream forced to four channels: header lines up to ENDHDR, then the samples.
std::optional<RgbaPicture> ParsePam(const std::string& data) {
    const size_t end = data.find("ENDHDR\n");
    if (data.rfind("P7\n", 0) != 0 || end == std::string::npos) return std::nullopt;
    std::istringstream header(data.substr(3, end - 3));
    RgbaPicture p;
    int depth = 0;
    std::string line;
    while (std::getline(header, line)) {
        std::istringstream words(line);
        std::string key;
        words >> key;
        if (key == "WIDTH") words >> p.Width;
        if (key == "HEIGHT") words >> p.Height;
        if (key == "DEPTH") words >> depth;
    }
    const size_t size = 4 * static_cast<size_t>(p.Width) * static_cast<size_t>(p.Height);
    if (depth != 4 || data.size() - (end + 7) != size) return std::nullopt;
    p.Rgba.assign(data.begin() + static_cast<std::ptrdiff_t>(end + 7), data.end());
    return p;
}

}  // namespace

bool HaveImageMagick() {
    static const bool have = std::system("convert -version >/dev/null 2>&1") == 0;
    return have;
}

std::optional<RgbaPicture> MagickDecode(const std::string& path, const std::string& options) {
    if (!HaveImageMagick()) return std::nullopt;
    const std::string command = "convert " + Quoted(path + "[0]") + " " + options +
                                " -depth 8 -type TrueColorAlpha pam:- 2>/dev/null";
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) return std::nullopt;
    std::string data;
    char buffer[65536];
    size_t n;
    while ((n = fread(buffer, 1, sizeof buffer, pipe)) > 0)
        data.append(buffer, n);
    const int status = pclose(pipe);
    if (status != 0 || data.empty()) return std::nullopt;
    return ParsePam(data);
}

std::optional<RgbaPicture> MagickDecodeBytes(const std::vector<uint8_t>& bytes,
                                             const std::string& suffix) {
    TempFolder dir;
    const std::string file = dir.File("reference" + suffix);
    if (!WriteWholeFile(file, bytes)) return std::nullopt;
    return MagickDecode(file);
}

}  // namespace brv::testing
