#include "effects/effect_table.h"

#include "effects/ef_changecolor.h"
#include "effects/ef_coloradjust.h"
#include "effects/ef_dither.h"
#include "effects/ef_hsv.h"
#include "effects/ef_lvadjust.h"
#include "effects/ef_lvraise.h"
#include "effects/ef_rev.h"
#include "effects/ef_rgba.h"

namespace brv {

namespace {

constexpr EffectInfo kEffects[] = {
    {"ef_coloradjust", "RGB調整", 4, true},
    {"ef_hsv", "HSV調整", 6, true},
    {"ef_rgba", "RGBA変換", 6, true},
    {"ef_lvadjust", "レベル調整", 7, true},
    {"ef_lvraise", "RGBAしきい", 8, true},
    {"ef_rev", "反転", 4, false},
    {"ef_changecolor", "色の置き換え", 20, true},
    {"ef_scumble", "ぼかし、シャープ", 4, true},
    {"ef_gblur", "ガウスぼかし", 6, true},
    {"ef_angleblur", "移動ぼかし", 6, true},
    {"ef_customfilter", "カスタムフィルタ", 31, true},
    {"ef_sizechange", "拡大、縮小", 6, false},
    {"ef_sizechangemove", "サイズ変更", 5, false},
    {"ef_rotate", "回転", 6, true},
    // The free transform draws its own preview inside its dialog.
    {"ef_freemove", "自由変形", 38, false},
    {"ef_wave", "波", 6, true},
    {"ef_bebelu", "立体化", 8, true},
    {"ef_embos", "エンボス", 6, true},
    {"ef_shadow", "影", 7, true},
    {"ef_outline", "輪郭調整", 6, true},
    {"ef_outlineadd", "輪郭追加", 6, true},
    {"ef_outlinedelete", "輪郭削除", 6, true},
    {"ef_noize", "ノイズ", 4, true},
    {"ef_grad", "グラデーション", 4, true},
    {"InputChar", "テキスト入力", 10, true},
    {"ef_dither", "色深度変更", 6, false},
    {"sef_selectofcolor", "色域で選択", 6, false},
    {"sef_selectrect", "領域選択", 5, false},
};

struct MenuLink {
    std::string_view caption;
    std::string_view name;
};

// The menu's captions are not the dialogs' titles ("RGBA調整" opens "RGB調整").
constexpr MenuLink kMenuLinks[] = {
    {"RGBA調整", "ef_coloradjust"},
    {"RGBA変換", "ef_rgba"},
    {"RGBAしきい", "ef_lvraise"},
    {"HSV調整", "ef_hsv"},
    {"レベル補正", "ef_lvadjust"},
    {"色の置き換え", "ef_changecolor"},
    {"反転", "ef_rev"},
    {"減色", "ef_dither"},
    {"ノイズ", "ef_noize"},
    {"立体化", "ef_bebelu"},
    {"影", "ef_shadow"},
    {"グラデーション", "ef_grad"},
    {"エンボス", "ef_embos"},
    {"輪郭調整", "ef_outline"},
    {"カスタムフィルタ", "ef_customfilter"},
    {"波", "ef_wave"},
    {"自由変形", "ef_freemove"},
    {"回転", "ef_rotate"},
    {"ぼかし、シャープ", "ef_scumble"},
    // The entry without a caption of its own is the Gaussian blur.
    {"", "ef_gblur"},
    {"ガウスぼかし", "ef_gblur"},
    {"移動ぼかし", "ef_angleblur"},
    {"拡大縮小", "ef_sizechange"},
    {"画像サイズ変更", "ef_sizechangemove"},
};

template <class T>
std::unique_ptr<Effect> Make() {
    return std::make_unique<T>();
}

}  // namespace

std::span<const EffectInfo> AllEffects() {
    return kEffects;
}

const EffectInfo* FindEffectInfo(std::string_view name) {
    for (const EffectInfo& e : kEffects)
        if (e.name == name) return &e;
    return nullptr;
}

const EffectInfo& EffectInfoOf(std::string_view name) {
    static constexpr EffectInfo kUnknown{"", "", 0, false};
    const EffectInfo* info = FindEffectInfo(name);
    return info ? *info : kUnknown;
}

std::string_view EffectNameForMenuCaption(std::string_view caption) {
    for (const MenuLink& m : kMenuLinks)
        if (m.caption == caption) return m.name;
    return {};
}

bool IsEffectMenuEntryAvailable(std::string_view caption) {
    const std::string_view name = EffectNameForMenuCaption(caption);
    return !name.empty() && DefaultEffectRegistry().Has(name);
}

EffectRegistry DefaultEffectRegistry() {
    EffectRegistry r;
    r.Register("ef_coloradjust", Make<EfColorAdjust>);
    r.Register("ef_hsv", Make<EfHsv>);
    r.Register("ef_rgba", Make<EfRgba>);
    r.Register("ef_lvadjust", Make<EfLvAdjust>);
    r.Register("ef_lvraise", Make<EfLvRaise>);
    r.Register("ef_rev", Make<EfRev>);
    r.Register("ef_changecolor", Make<EfChangeColor>);
    r.Register("ef_dither", Make<EfDither>);
    return r;
}

}  // namespace brv
