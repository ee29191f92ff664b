#include "app/menu_table.h"

namespace brv {

namespace {

using K = EntryKind;
using C = Command;

constexpr MenuEntry Cmd(std::string_view caption, C command, std::string_view shortcut = {},
                        double argument = 0.0) {
    return MenuEntry{K::Command, caption, shortcut, command, argument};
}
constexpr MenuEntry Sep() {
    return MenuEntry{K::Separator, {}, {}, C::None, 0.0};
}
constexpr MenuEntry Sub(std::string_view caption) {
    return MenuEntry{K::SubmenuBegin, caption, {}, C::None, 0.0};
}
constexpr MenuEntry End() {
    return MenuEntry{K::SubmenuEnd, {}, {}, C::None, 0.0};
}
constexpr MenuEntry Recent() {
    return MenuEntry{K::RecentList, {}, {}, C::RecentFile, 0.0};
}
constexpr MenuEntry Fx(std::string_view caption) {
    return Cmd(caption, C::Effect);
}

constexpr MenuEntry kFrameFile[] = {
    Cmd("新規作成(&A)", C::NewImage, "Ctrl+N"),
    Cmd("開く(&O)", C::Open, "Ctrl+O"),
    Sub("最近使ったファイル"),
    Recent(),
    End(),
    Sep(),
    Cmd("アイコンを編集(&I)", C::EditIcon),
};
constexpr MenuEntry kFrameAction[] = {Cmd("バッチ処理", C::Batch)};
constexpr MenuEntry kFrameTool[] = {Cmd("設定(&S)", C::Settings)};
constexpr MenuEntry kHelp[] = {
    Cmd("ヘルプ(&H)", C::Help, "F1"),
    Cmd("バージョン情報", C::About),
};

constexpr TopMenu kFrameMenus[] = {
    {"ファイル(&F)", kFrameFile},
    {"アクション(&A)", kFrameAction},
    {"ツール(&T)", kFrameTool},
    {"ヘルプ(&H)", kHelp},
};

constexpr MenuEntry kDocFile[] = {
    Cmd("新規作成(&N)", C::NewImage, "Ctrl+N"),
    Cmd("開く(&O)", C::Open, "Ctrl+O"),
    Sub("最近使ったファイル"),
    Recent(),
    Sep(),
    Cmd("クリア", C::ClearRecent),
    End(),
    Sep(),
    Cmd("上書き保存(&S)", C::Save, "Ctrl+S"),
    Cmd("名前をつけて保存(&A)", C::SaveAs),
    Sep(),
    Cmd("アイコンを編集(&I)", C::EditIcon),
    Sep(),
    Cmd("終了(&X)", C::Exit),
};

constexpr MenuEntry kDocEdit[] = {
    Cmd("アンドゥ(&U)", C::Undo, "Ctrl+Z"),
    Cmd("リドゥ(&R)", C::Redo, "Ctrl+R"),
    Sep(),
    Cmd("コピー(&C)", C::Copy, "Ctrl+C"),
    Cmd("切り取り", C::Cut, "Ctrl+X"),
    Cmd("削除", C::Delete, "Del"),
    Cmd("貼り付け", C::Paste, "Ctrl+V"),
    Cmd("切り抜き", C::Crop),
    Cmd("レイヤーを増やして貼りつけ\tShift+Ctrl+V", C::PasteNewLayer),
    Cmd("選択地点に貼り付け", C::PasteAtSelection),
    Cmd("選択範囲内に貼り付け", C::PasteInSelection),
    Sep(),
    Cmd("選択範囲を解除\tEsc", C::Deselect),
    Cmd("全て選択", C::SelectAll, "Ctrl+A"),
    Cmd("数値で選択", C::SelectByNumber),
    Cmd("色域で選択", C::SelectByColor),
};

constexpr MenuEntry kDocLayer[] = {
    Cmd("レイヤーを増やす(&A)", C::LayerAdd),
    Cmd("レイヤーを削除(&D)", C::LayerDelete),
    Cmd("レイヤーをコピー(&C)", C::LayerCopy),
    Sep(),
    Cmd("選択中のレイヤーを上に移動\tCtrl+↑", C::LayerUp),
    Cmd("選択中のレイヤーを下に移動\tCtrl+↓", C::LayerDown),
    Sep(),
    Cmd("下のレイヤーと合成", C::LayerCombine, "Ctrl+E"),
    Cmd("レイヤーの移動を反映", C::LayerReflectMove, "Ctrl+F"),
    Cmd("レイヤーをすべて統合", C::LayerCombineAll, "Ctrl+T"),
};

constexpr MenuEntry kDocEffects[] = {
    Fx("RGBA調整"),
    Fx("RGBA変換"),
    Fx("RGBAしきい"),
    Fx("HSV調整"),
    Fx("レベル補正"),
    Fx("色の置き換え"),
    Fx("反転"),
    Fx("減色"),
    Sep(),
    Fx("ノイズ"),
    Fx("立体化"),
    Fx("影"),
    Fx("グラデーション"),
    Fx("エンボス"),
    Fx("輪郭調整"),
    Fx("カスタムフィルタ"),
    Sep(),
    Fx("波"),
    Fx("自由変形"),
    Fx("回転"),
    Sep(),
    // The second blur entry has no caption of its own: the Gaussian blur names it at run time.
    Fx("ぼかし、シャープ"),
    Fx(""),
    Fx("移動ぼかし"),
    Sep(),
    Fx("拡大縮小"),
    Fx("画像サイズ変更"),
    Sep(),
    Fx("左右反転"),
    Fx("上下反転"),
};

constexpr MenuEntry kDocTool[] = {
    Cmd("アクション記録開始\tShift+A", C::ActionRecord),
    Cmd("アクション再生\tShift+S", C::ActionPlay),
    Cmd("今のアクションを名前をつけて保存", C::ActionSaveAs),
    Cmd("保存してあるアクションを再生", C::ActionPlaySaved, "Ctrl+P"),
    Cmd("バッチ処理", C::Batch),
    Sep(),
    Cmd("使用色の計算", C::CountColors),
    Sep(),
    Cmd("設定(&S)", C::Settings),
};

constexpr MenuEntry kDocView[] = {
    Cmd("ホットスポット(&H)", C::Hotspot, "Ctrl+H"),
    Sub("グリッド(&G)"),
    Cmd("グリッドオンオフ(&G)", C::GridToggle, "Ctrl+G"),
    Cmd("グリッド吸着オンオフ(&P)", C::GridSnap),
    Cmd("グリッドサイズ", C::GridSize),
    End(),
    Sep(),
    Cmd("拡大(25%)\tCtrl++", C::ZoomRelative, {}, 1.25),
    Cmd("縮小(25%)\tCtrl+-", C::ZoomRelative, {}, 0.75),
    Cmd("拡大(100%)\tAlt+Ctrl++", C::ZoomRelative, {}, 2.0),
    Cmd("縮小(100%)\tAlt+Ctrl+-", C::ZoomRelative, {}, 0.5),
    Cmd("1/10倍", C::ZoomAbsolute, {}, 0.1),
    Cmd("1/5倍", C::ZoomAbsolute, {}, 0.2),
    Cmd("1/2倍", C::ZoomAbsolute, {}, 0.5),
    Cmd("等倍", C::ZoomAbsolute, {}, 1.0),
    Cmd("2倍", C::ZoomAbsolute, {}, 2.0),
    Cmd("5倍", C::ZoomAbsolute, {}, 5.0),
    Cmd("10倍", C::ZoomAbsolute, {}, 10.0),
    Cmd("20倍", C::ZoomAbsolute, {}, 20.0),
    Sep(),
    Cmd("ガイドウィンドウ(&G)", C::ToggleGuideWindow),
    Cmd("ペンウィンドウ(&P)", C::TogglePenWindow),
    Cmd("レイヤーウィンドウ(&L)", C::ToggleLayerWindow),
    Cmd("パレットウィンドウ(&T)", C::TogglePaletteWindow),
    Cmd("プレビューウィンドウ(&R)", C::TogglePreviewWindow),
    Cmd("全て表示", C::ShowAllToolWindows),
    Cmd("全て隠す", C::HideAllToolWindows),
    Sub("移動(&M)"),
    Cmd("標準位置に移動(&D)", C::LayOutToolWindows),
    End(),
    Sep(),
    Cmd("重ねて表示(&C)", C::Cascade),
    Cmd("上下に表示(&V)", C::TileStacked),
    Cmd("左右に表示(&H)", C::TileSideBySide),
    Cmd("すべて最小化(&N)", C::MinimizeAll),
    Cmd("すべて元に戻す(&R)", C::RestoreAll),
};

constexpr TopMenu kDocumentMenus[] = {
    {"ファイル(&F)", kDocFile},      {"編集(&E)", kDocEdit},   {"レイヤー(&L)", kDocLayer},
    {"エフェクト(&C)", kDocEffects}, {"ツール(&T)", kDocTool}, {"表示(&V)", kDocView},
    {"ヘルプ(&H)", kHelp},
};

constexpr MenuEntry kCanvasContext[] = {
    Cmd("コピー", C::Copy),
    Cmd("切り取り", C::Cut),
    Cmd("貼り付け", C::Paste),
    Cmd("削除", C::Delete),
    Cmd("レイヤーを増やして貼りつけ", C::PasteNewLayer),
    Cmd("選択地点に貼り付け", C::PasteAtSelection),
    Cmd("選択範囲内に貼り付け", C::PasteInSelection),
    Cmd("選択範囲を解除", C::Deselect),
};

}  // namespace

std::span<const TopMenu> FrameMenus() {
    return kFrameMenus;
}
std::span<const TopMenu> DocumentMenus() {
    return kDocumentMenus;
}
std::span<const MenuEntry> CanvasContextMenu() {
    return kCanvasContext;
}

MenuState ComputeMenuState(const CoreState& state, int32_t fid, bool clipboardHasImage) {
    MenuState m;
    const DocumentRecord* doc = state.Doc(fid);
    if (!doc) return m;
    m.undo = doc->UndoPos >= 2;
    m.redo = doc->UndoPos < doc->UndoTop;
    m.paste = clipboardHasImage;
    m.selection = doc->OutlineCount >= 1;
    m.severalLayers = doc->LayerCount() >= 2;
    if (doc->ActiveLID >= 0 && doc->ActiveLID <= doc->LayerCount()) {
        const LayerRecord& layer = doc->Layers[static_cast<size_t>(doc->ActiveLID)];
        m.reflectMove = layer.OffsetX != 0 || layer.OffsetY != 0;
    }
    m.gridVisible = doc->GridVisible != 0;
    m.gridSnap = doc->GridSnap != 0;
    m.hotspot = doc->ShowHotspot != 0;
    return m;
}

}  // namespace brv
