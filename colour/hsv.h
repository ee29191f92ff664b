// Hue, saturation and value in whole numbers, with the truncations of the original arithmetic:
// hues are not exact, and a round trip can shift a colour by one. Callers depend on that.
#pragma once

#include <cstdint>

namespace brv {

// R, G, B 0..255 to H 0..359, S 0..255, V 0..255.
void RGBToHSV(int32_t R, int32_t G, int32_t B, int32_t& retH, int32_t& retS, int32_t& retV);
// Back to a colour word 0x00BBGGRR. H is expected in 0..360 (360 is not red: see the .cpp),
// S and V in 0..255; a channel that other values push outside 0..255 is held to it.
int32_t HSVToRGB(int32_t H, int32_t S, int32_t V);

}  // namespace brv
