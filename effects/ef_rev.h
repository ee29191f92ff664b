// "反転": inverts the chosen channels.
//   EffectArgs: 0..3 check boxes of channels 0..3 (blue, green, red, alpha).
#pragma once

#include "effects/effect.h"

namespace brv {

class EfRev : public Effect {
public:
    EfRev();
    DialogSpec Dialog(const CoreState& core, int32_t fid, int32_t lid) const override;
    std::optional<PixelBuffer> Calc(const PixelBuffer& SData, EffectEnv& env) override;
};

}  // namespace brv
