#include "effects/gradation_list.h"

#include "core/byte_io.h"
#include "core/file_io.h"

namespace brv {

void GradAdd(GradData& list, int32_t r, int32_t g, int32_t b, int32_t a, int32_t pos) {
    list.push_back(GradPoint{r, g, b, a, pos, 0});
}

void GradSort(GradData& list) {
    // Only strictly greater positions are exchanged, which keeps equal ones in order.
    for (size_t i = 0; i + 1 < list.size(); ++i)
        for (size_t j = i + 1; j < list.size(); ++j)
            if (list[i].Pos > list[j].Pos) {
                GradPoint moved = list[j];
                list.erase(list.begin() + static_cast<std::ptrdiff_t>(j));
                list.insert(list.begin() + static_cast<std::ptrdiff_t>(i), moved);
            }
}

std::vector<uint8_t> SerializeGradation(const GradData& list) {
    ByteWriter w(4 + 24 * (list.size() + 1));
    w.I32LE(static_cast<int32_t>(list.size()));
    w.Zeros(24);
    for (const GradPoint& p : list) {
        w.I32LE(p.R);
        w.I32LE(p.G);
        w.I32LE(p.B);
        w.I32LE(p.A);
        w.I32LE(p.Pos);
        w.I32LE(p.Mark);
    }
    return std::move(w).Take();
}

int32_t GradLoad(std::string_view fnm, GradData& retList) {
    auto bytes = ReadWholeFile(fnm, 1 << 20);
    if (!bytes) return -1;
    ByteReader r(*bytes);
    const int32_t n = r.I32LE();
    if (r.Failed() || n < 1 || n > kGradMaxPoints) return -2;
    r.Skip(24);
    GradData list;
    for (int32_t i = 0; i < n; ++i) {
        GradPoint p;
        p.R = r.I32LE();
        p.G = r.I32LE();
        p.B = r.I32LE();
        p.A = r.I32LE();
        p.Pos = r.I32LE();
        p.Mark = r.I32LE();
        list.push_back(p);
    }
    if (r.Failed()) return -3;
    retList = std::move(list);
    return 0;
}

int32_t GradSave(std::string_view fnm, GradData list) {
    std::string name(fnm);
    const std::string shortName = ShortName(name);
    const auto dot = shortName.find_last_of('.');
    const std::string ext = dot == std::string::npos ? "" : shortName.substr(dot);
    if (ext != ".BVG" && ext != ".bvg") name += ".BVG";
    GradSort(list);
    return WriteWholeFile(name, SerializeGradation(list)) ? 0 : -1;
}

int MakeDefaultGradations(std::string_view gradationsDir) {
    const std::string dir(gradationsDir);
    GradData blackToWhite;
    GradAdd(blackToWhite, 0, 0, 0, 255, 0);
    GradAdd(blackToWhite, 255, 255, 255, 255, 100);
    // Magenta to transparent green, in spite of the name: the shipped file always was.
    GradData whiteToClearBlack;
    GradAdd(whiteToClearBlack, 255, 0, 255, 255, 0);
    GradAdd(whiteToClearBlack, 0, 255, 0, 0, 100);
    int written = 0;
    written += GradSave(dir + "黒から白.BVG", blackToWhite) == 0;
    written += GradSave(dir + "白から透明な黒.BVG", whiteToClearBlack) == 0;
    return written;
}

}  // namespace brv
