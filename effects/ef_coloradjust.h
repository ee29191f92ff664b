// "RGB調整": adds a delta to each channel, held to 0..255.
//   EffectArgs: 0 red, 1 green, 2 blue, 3 alpha delta, each -255..255.
#pragma once

#include "effects/effect.h"

namespace brv {

class EfColorAdjust : public Effect {
public:
    EfColorAdjust();
    DialogSpec Dialog(const CoreState& core, int32_t fid, int32_t lid) const override;
    std::optional<PixelBuffer> Calc(const PixelBuffer& SData, EffectEnv& env) override;
};

}  // namespace brv
