#include "effects/ef_coloradjust.h"

#include "core/arith.h"
#include "effects/effect_table.h"

namespace brv {

EfColorAdjust::EfColorAdjust() : Effect(EffectInfoOf("ef_coloradjust")) {}

DialogSpec EfColorAdjust::Dialog(const CoreState&, int32_t, int32_t) const {
    DialogSpec d = BaseDialog();
    d.controls = {
        ScrollControl("Red", 0, -255, 255, 30, 0),
        ScrollControl("Green", 1, -255, 255, 30, 0),
        ScrollControl("Blue", 2, -255, 255, 30, 0),
        ScrollControl("Alpha", 3, -255, 255, 30, 0),
    };
    return d;
}

std::optional<PixelBuffer> EfColorAdjust::Calc(const PixelBuffer& SData, EffectEnv&) {
    ArgReader a(Args);
    // Deltas by channel byte: blue, green, red, alpha.
    const int64_t delta[4] = {a.Int(2), a.Int(1), a.Int(0), a.Int(3)};
    if (a.Failed()) return std::nullopt;
    return MapPixels(SData, [&](const uint8_t* in, uint8_t* out) {
        for (int k = 0; k < 4; ++k)
            out[k] = static_cast<uint8_t>(Clamp<int64_t>(in[k] + delta[k], 0, 255));
        return true;
    });
}

}  // namespace brv
