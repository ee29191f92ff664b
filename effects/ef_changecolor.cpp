#include "effects/ef_changecolor.h"

#include <algorithm>
#include <utility>

#include "core/arith.h"
#include "effects/effect_table.h"

namespace brv {

EfChangeColor::EfChangeColor() : Effect(EffectInfoOf("ef_changecolor")) {}

DialogSpec EfChangeColor::Dialog(const CoreState& core, int32_t fid, int32_t) const {
    int32_t source[4] = {0, 0, 0, 255};  // R, G, B, A
    if (const DocumentRecord* doc = core.Doc(fid);
        doc && doc->PenLID >= 1 && doc->PenLID <= doc->LayerCount()) {
        const LayerRecord& pen = doc->Layers[static_cast<size_t>(doc->PenLID)];
        const Bgra c = ColorWordToBgra(pen.PenColor);
        source[0] = c.r;
        source[1] = c.g;
        source[2] = c.b;
        source[3] = Clamp(255 - pen.PenTransparency, 0, 255);
    }
    static const char* const kRgba[4] = {"R", "G", "B", "A"};
    DialogSpec d = BaseDialog();
    d.controls.push_back(GroupControl("元の色"));
    for (int32_t k = 0; k < 4; ++k)
        d.controls.push_back(ScrollControl(kRgba[k], k, 0, 255, 30, source[k]));
    d.controls.push_back(GroupControl("変更後の色"));
    for (int32_t k = 0; k < 4; ++k)
        d.controls.push_back(ScrollControl(kRgba[k], k + 4, 0, 255, 30, source[k]));
    ControlSpec mode;
    mode.kind = ControlKind::Options;
    mode.arg = 9;
    mode.items = {"通常", "合成"};
    mode.itemValues = {EffectValue(true), EffectValue(false)};
    mode.defaultValue = EffectValue(true);
    d.controls.push_back(mode);
    d.controls.push_back(CheckControl("単一色", 10, true));
    d.controls.push_back(ScrollControl("反映度", 11, 0, 255, 30, 255));
    d.controls.push_back(GroupControl("対象範囲"));
    const int32_t tolerance[4] = {10, 10, 10, 255};
    for (int32_t k = 0; k < 4; ++k)
        d.controls.push_back(ScrollControl(kRgba[k], k + 12, 0, 255, 30, tolerance[k]));
    for (int32_t k = 0; k < 4; ++k)
        d.controls.push_back(CheckControl(kRgba[k], k + 16, true));
    return d;
}

std::optional<PixelBuffer> EfChangeColor::Calc(const PixelBuffer& SData, EffectEnv&) {
    ArgReader a(Args);
    int64_t lo[4], hi[4], target[4];
    bool use[4];
    for (size_t k = 0; k < 4; ++k) {
        const int64_t source = a.Int(k);
        const int64_t tolerance = a.Int(12 + k);
        lo[k] = std::max<int64_t>(source - tolerance, 0);
        hi[k] = std::min<int64_t>(source + tolerance, 255);
        target[k] = a.Int(4 + k);
        use[k] = a.Bool(16 + k);
    }
    const bool replace = a.Bool(9);
    const bool flat = a.Bool(10);
    const double rate = a.Int(11) / 255.0;
    if (a.Failed()) return std::nullopt;
    // The lists run R, G, B, A; from here index k is channel byte k.
    std::swap(lo[0], lo[2]);
    std::swap(hi[0], hi[2]);
    std::swap(target[0], target[2]);
    std::swap(use[0], use[2]);

    // Each formula depends on one byte value: computed once per value, not per pixel.
    // blend[k][v]: "合成" of value v on channel k; shade[k][m]: the target shaded by m / 255.
    int64_t blend[4][256], shade[3][256];
    for (int k = 0; k < 4; ++k)
        for (int v = 0; v < 256; ++v) {
            blend[k][v] =
                static_cast<int64_t>(Round((1 - rate) * v + static_cast<double>(target[k]) * rate));
            if (k < 3)
                shade[k][v] =
                    static_cast<int64_t>(Round(v / 255.0 * static_cast<double>(target[k])));
        }

    return MapPixels(SData, [&](const uint8_t* in, uint8_t* out) {
        bool match = true;
        for (int k = 0; k < 4; ++k)
            match &= lo[k] <= in[k] && in[k] <= hi[k];
        if (!match) {
            for (int k = 0; k < 4; ++k)
                out[k] = in[k];
            return true;
        }
        bool ok = true;
        if (!replace) {
            // "合成" ignores "単一色".
            for (int k = 0; k < 4; ++k)
                ok &= StoreByte(out[k], blend[k][in[k]]);
        } else {
            if (flat) {
                for (int k = 0; k < 3; ++k)
                    ok &= StoreByte(out[k], target[k]);
            } else {
                const int m = std::max({in[0], in[1], in[2]});
                for (int k = 0; k < 3; ++k)
                    ok &= StoreByte(out[k], shade[k][m]);
            }
            ok &= StoreByte(out[3], target[3]);
        }
        for (int k = 0; k < 4; ++k)
            if (!use[k]) out[k] = in[k];
        return ok;
    });
}

}  // namespace brv
