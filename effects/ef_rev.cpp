#include "effects/ef_rev.h"

#include "effects/effect_table.h"

namespace brv {

EfRev::EfRev() : Effect(EffectInfoOf("ef_rev")) {}

DialogSpec EfRev::Dialog(const CoreState&, int32_t, int32_t) const {
    DialogSpec d = BaseDialog();
    d.controls = {
        GroupControl("反転の対象要素"),  CheckControl("Blue", 0, true),
        CheckControl("Green", 1, true),  CheckControl("Red", 2, true),
        CheckControl("Alpha", 3, false),
    };
    return d;
}

std::optional<PixelBuffer> EfRev::Calc(const PixelBuffer& SData, EffectEnv&) {
    ArgReader a(Args);
    uint8_t mask[4];
    for (size_t k = 0; k < 4; ++k)
        mask[k] = a.Bool(k) ? 255 : 0;
    if (a.Failed()) return std::nullopt;
    return MapPixels(SData, [&](const uint8_t* in, uint8_t* out) {
        for (int k = 0; k < 4; ++k)
            out[k] = static_cast<uint8_t>(in[k] ^ mask[k]);
        return true;
    });
}

}  // namespace brv
