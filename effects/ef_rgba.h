// "RGBA変換": each output component takes the channel chosen in its list.
//   EffectArgs: 0..3 the list index (0 Red, 1 Green, 2 Blue, 3 Alpha) of the source of the
//   output's red, green, blue and alpha; 4, 5 reserved.
// The alpha output is always multiplied by the source alpha, so the defaults turn A into
// A * A div 255: intended.
#pragma once

#include "effects/effect.h"

namespace brv {

class EfRgba : public Effect {
public:
    EfRgba();
    DialogSpec Dialog(const CoreState& core, int32_t fid, int32_t lid) const override;
    std::optional<PixelBuffer> Calc(const PixelBuffer& SData, EffectEnv& env) override;
};

}  // namespace brv
