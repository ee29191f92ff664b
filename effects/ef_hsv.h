// "HSV調整": moves hue, saturation and value of each pixel through the integer hsv module.
//   EffectArgs: 0 hue delta -360..360, 1 saturation delta -255..255, 2 value delta -255..255,
//   3..5 reserved.
// Even with all deltas 0 this is not the identity: the module's truncations shift colours.
#pragma once

#include "effects/effect.h"

namespace brv {

class EfHsv : public Effect {
public:
    EfHsv();
    DialogSpec Dialog(const CoreState& core, int32_t fid, int32_t lid) const override;
    std::optional<PixelBuffer> Calc(const PixelBuffer& SData, EffectEnv& env) override;
};

}  // namespace brv
