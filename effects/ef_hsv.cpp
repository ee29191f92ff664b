#include "effects/ef_hsv.h"

#include <limits>

#include "core/arith.h"
#include "effects/effect_table.h"
#include "colour/hsv.h"

namespace brv {

EfHsv::EfHsv() : Effect(EffectInfoOf("ef_hsv")) {}

DialogSpec EfHsv::Dialog(const CoreState&, int32_t, int32_t) const {
    DialogSpec d = BaseDialog();
    d.controls = {
        ScrollControl("色相", 0, -360, 360, 30, 0),
        ScrollControl("彩度", 1, -255, 255, 16, 0),
        ScrollControl("明度", 2, -255, 255, 16, 0),
    };
    return d;
}

std::optional<PixelBuffer> EfHsv::Calc(const PixelBuffer& SData, EffectEnv&) {
    ArgReader a(Args);
    const int64_t dh = a.Int(0), ds = a.Int(1), dv = a.Int(2);
    if (a.Failed()) return std::nullopt;
    return MapPixels(SData, [&](const uint8_t* in, uint8_t* out) {
        int32_t h, s, v;
        RGBToHSV(in[2], in[1], in[0], h, s, v);
        int64_t nh = h + dh;
        // A hue beyond 32 bits overflowed in the original arithmetic: a fault.
        if (nh > std::numeric_limits<int32_t>::max()) return false;
        // 360 itself is kept, so that a full turn gives the sector-6 colour: intended.
        // 2147483520 is a multiple of 360 that keeps the dividend positive.
        if (nh < 0)
            nh = (nh + 2147483520) % 360;
        else if (nh >= 361)
            nh %= 360;
        const int32_t c =
            HSVToRGB(static_cast<int32_t>(nh), static_cast<int32_t>(Clamp<int64_t>(s + ds, 0, 255)),
                     static_cast<int32_t>(Clamp<int64_t>(v + dv, 0, 255)));
        out[0] = static_cast<uint8_t>((c >> 16) & 255);
        out[1] = static_cast<uint8_t>((c >> 8) & 255);
        out[2] = static_cast<uint8_t>(c & 255);
        out[3] = in[3];
        return true;
    });
}

}  // namespace brv
