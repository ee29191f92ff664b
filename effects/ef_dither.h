// "色深度変更": reduces a layer to 2, 15 or 254 colours with the colour reducer, and can make
// alpha hard at a threshold. Also the count of colours in use.
//   EffectArgs: 0 "アルファ値も変更する" (1: alpha becomes 0 below the threshold, else 255),
//   1 the threshold 0..255, 2 the depth in bits (1, 4, 8; 24 and above keep the colours),
//   3..5 reserved.
#pragma once

#include <string>

#include "effects/effect.h"

namespace brv {

// The number of different colours of a picture; blue, green and red make a colour.
int32_t CountColors(const PixelBuffer& SData);
// The message of the menu command that counts the colours in use.
std::string ColorCountMessage(int32_t count);
// The menu command: counts the colours of the active layer of a document and says so.
// 0, or -1 without a document.
int32_t CountColorsCommand(const CoreState& core, Host& host, int32_t fid);

class EfDither : public Effect {
public:
    EfDither();
    // The dialog shows the layer's present number of colours.
    DialogSpec Dialog(const CoreState& core, int32_t fid, int32_t lid) const override;
    // With several layers it asks first whether to reduce this one alone.
    std::optional<EffectArgs> ShowUI(const DialogRunner& runner, const CoreState& core, Host& host,
                                     int32_t fid, int32_t lid) override;
    std::optional<PixelBuffer> Calc(const PixelBuffer& SData, EffectEnv& env) override;
};

}  // namespace brv
