#include "effects/ef_dither.h"

#include <cmath>
#include <unordered_set>

#include "colour/dither.h"
#include "core/arith.h"
#include "effects/effect_table.h"

namespace brv {

namespace {

constexpr std::string_view kAskSeveralLayers =
    "レイヤーが複数あります。\n"
    "このレイヤーの減色を行っても統合後の画像は\n"
    "減色されていない可能性があります｡\n"
    "このレイヤーを減色しますか？";

}  // namespace

int32_t CountColors(const PixelBuffer& SData) {
    std::unordered_set<uint32_t> seen;
    const uint8_t* p = SData.Bytes().data();
    for (size_t i = 0, n = SData.ByteSize(); i < n; i += 4)
        seen.insert(uint32_t{p[i]} | (uint32_t{p[i + 1]} << 8) | (uint32_t{p[i + 2]} << 16));
    return static_cast<int32_t>(seen.size());
}

std::string ColorCountMessage(int32_t count) {
    return "使用している色の数は " + std::to_string(count) + " 色です。";
}

int32_t CountColorsCommand(const CoreState& core, Host& host, int32_t fid) {
    const DocumentRecord* doc = core.Doc(fid);
    if (!doc || doc->ActiveLID < 1 || doc->ActiveLID > doc->LayerCount()) return -1;
    host.ShowMessage(
        ColorCountMessage(CountColors(doc->Layers[static_cast<size_t>(doc->ActiveLID)].Pixels)),
        MessageIcon::Information);
    return 0;
}

EfDither::EfDither() : Effect(EffectInfoOf("ef_dither")) {}

DialogSpec EfDither::Dialog(const CoreState& core, int32_t fid, int32_t lid) const {
    DialogSpec d = BaseDialog();
    if (const DocumentRecord* doc = core.Doc(fid); doc && lid >= 1 && lid <= doc->LayerCount())
        d.controls.push_back(TextControl(
            "現在の色数: " +
            std::to_string(CountColors(doc->Layers[static_cast<size_t>(lid)].Pixels)) + "色"));
    ControlSpec depth;
    depth.kind = ControlKind::Options;
    depth.arg = 2;
    depth.items = {"2色", "16色", "256色", "16777216色（フルカラー）"};
    depth.itemValues = {EffectValue(1), EffectValue(4), EffectValue(8), EffectValue(24)};
    depth.defaultValue = EffectValue(8);
    d.controls.push_back(depth);
    d.controls.push_back(CheckControl("アルファ値も変更する", 0, true));
    ControlSpec threshold = ScrollControl("しきい値", 1, 0, 255, 30, 128);
    threshold.suffix = "以上は不透明";
    d.controls.push_back(threshold);
    return d;
}

std::optional<EffectArgs> EfDither::ShowUI(const DialogRunner& runner, const CoreState& core,
                                           Host& host, int32_t fid, int32_t lid) {
    if (const DocumentRecord* doc = core.Doc(fid); doc && doc->LayerCount() >= 2) {
        if (host.Ask(kAskSeveralLayers, Buttons::YesNo) != Answer::Yes) return std::nullopt;
    }
    return Effect::ShowUI(runner, core, host, fid, lid);
}

std::optional<PixelBuffer> EfDither::Calc(const PixelBuffer& SData, EffectEnv& env) {
    ArgReader a(Args);
    const bool hardAlpha = a.Bool(0);
    const int32_t threshold = a.Int(1);
    const int32_t bits = a.Int(2);
    if (a.Failed()) return std::nullopt;

    PixelBuffer out = SData;
    if (bits < 9) {
        // 2, 15 and 254 colours for 1, 4 and 8 bits.
        double colours = std::pow(2.0, bits) - 1;
        if (bits == 8) colours -= 1;
        if (bits == 1) colours += 1;
        StatusProgress& progress = env.fx.Progress;
        Host& host = env.host;
        auto ditProg = [&](int32_t value, int32_t max, int16_t& retCancel) {
            if (value == 0) {
                progress.Begin(host, max, true, "");
            } else if (value == max) {
                progress.End(host);
            } else if (progress.Step(host, value)) {
                retCancel = -1;
            }
        };
        PixelBuffer work = SData;
        std::vector<uint8_t> indices, palette;
        const std::optional<int32_t> count = ToInt32(colours);
        if (!count) return std::nullopt;
        if (Dither(work, indices, palette, *count, ditProg) < 0) return std::nullopt;
        const size_t entries = palette.size() / 4;
        uint8_t* o = out.Bytes().data();
        for (size_t i = 0; i < indices.size(); ++i) {
            if (indices[i] >= entries) return std::nullopt;
            const uint8_t* c = palette.data() + size_t{4} * indices[i];
            o[4 * i] = c[0];
            o[4 * i + 1] = c[1];
            o[4 * i + 2] = c[2];
        }
    }
    if (hardAlpha) {
        uint8_t* o = out.Bytes().data();
        for (size_t i = 3, n = out.ByteSize(); i < n; i += 4)
            o[i] = o[i] < threshold ? 0 : 255;
    }
    return out;
}

}  // namespace brv
