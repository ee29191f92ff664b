// "RGBAしきい": holds each channel between a lower and an upper limit.
//   EffectArgs: 0..3 lower limits of channels 0..3 (blue, green, red, alpha), 4..7 their
//   upper limits, each 0..255. A lower limit above the upper one loses to it.
#pragma once

#include "effects/effect.h"

namespace brv {

class EfLvRaise : public Effect {
public:
    EfLvRaise();
    DialogSpec Dialog(const CoreState& core, int32_t fid, int32_t lid) const override;
    std::optional<PixelBuffer> Calc(const PixelBuffer& SData, EffectEnv& env) override;
};

}  // namespace brv
