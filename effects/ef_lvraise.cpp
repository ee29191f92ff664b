#include "effects/ef_lvraise.h"

#include "effects/effect_table.h"

namespace brv {

EfLvRaise::EfLvRaise() : Effect(EffectInfoOf("ef_lvraise")) {}

DialogSpec EfLvRaise::Dialog(const CoreState&, int32_t, int32_t) const {
    static const char* const kChannels[4] = {"Blue", "Green", "Red", "Alpha"};
    DialogSpec d = BaseDialog();
    d.controls.push_back(GroupControl("下限"));
    for (int32_t k = 0; k < 4; ++k)
        d.controls.push_back(ScrollControl(kChannels[k], k, 0, 255, 30, 0));
    d.controls.push_back(GroupControl("上限"));
    for (int32_t k = 0; k < 4; ++k)
        d.controls.push_back(ScrollControl(kChannels[k], k + 4, 0, 255, 30, 255));
    return d;
}

std::optional<PixelBuffer> EfLvRaise::Calc(const PixelBuffer& SData, EffectEnv&) {
    ArgReader a(Args);
    int64_t lower[4], upper[4];
    for (size_t k = 0; k < 4; ++k) {
        lower[k] = a.Int(k);
        upper[k] = a.Int(k + 4);
    }
    if (a.Failed()) return std::nullopt;
    return MapPixels(SData, [&](const uint8_t* in, uint8_t* out) {
        bool ok = true;
        for (int k = 0; k < 4; ++k) {
            int64_t v = in[k];
            if (v < lower[k]) v = lower[k];
            if (v > upper[k]) v = upper[k];
            ok &= StoreByte(out[k], v);
        }
        return ok;
    });
}

}  // namespace brv
