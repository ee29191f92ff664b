// "色の置き換え": replaces the pixels near a source colour by a target colour.
//   EffectArgs: 0..3 source R, G, B, A; 4..7 target R, G, B, A; 8 reserved; 9 True for
//   "通常" (replace), False for "合成" (blend); 10 "単一色" (1: flat target, 0: keep the
//   source's shading); 11 "反映度", the blend amount 0..255; 12..15 tolerance R, G, B, A;
//   16..19 check boxes R, G, B, A: a channel that is off keeps its value.
// The blend of "合成" reaches alpha too, before the check boxes put channels back.
#pragma once

#include "effects/effect.h"

namespace brv {

class EfChangeColor : public Effect {
public:
    EfChangeColor();
    // The source colour starts as the pen colour of the document's pen layer.
    DialogSpec Dialog(const CoreState& core, int32_t fid, int32_t lid) const override;
    std::optional<PixelBuffer> Calc(const PixelBuffer& SData, EffectEnv& env) override;
};

}  // namespace brv
