#include "effects/ef_rgba.h"

#include "effects/effect_table.h"

namespace brv {

EfRgba::EfRgba() : Effect(EffectInfoOf("ef_rgba")) {}

DialogSpec EfRgba::Dialog(const CoreState&, int32_t, int32_t) const {
    DialogSpec d = BaseDialog();
    const std::vector<std::string> items = {"Red", "Green", "Blue", "Alpha"};
    for (int32_t k = 0; k < 4; ++k)
        d.controls.push_back(ListControl(items[static_cast<size_t>(k)], k, items, k));
    return d;
}

std::optional<PixelBuffer> EfRgba::Calc(const PixelBuffer& SData, EffectEnv&) {
    // A list index (Red, Green, Blue, Alpha) to its channel byte.
    static constexpr int kMap[4] = {2, 1, 0, 3};
    ArgReader a(Args);
    int src[4];
    for (int k = 0; k < 4; ++k) {
        const int32_t index = a.Int(static_cast<size_t>(k));
        // An index outside the list is an array fault.
        if (index < 0 || index > 3) return std::nullopt;
        src[k] = kMap[index];
    }
    if (a.Failed()) return std::nullopt;
    return MapPixels(SData, [&](const uint8_t* in, uint8_t* out) {
        for (int k = 0; k < 3; ++k)
            out[kMap[k]] = in[src[k]];
        out[3] = static_cast<uint8_t>((in[src[3]] * in[3]) / 255);
        return true;
    });
}

}  // namespace brv
