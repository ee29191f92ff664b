// The menus of the main window as data: captions, order, shortcuts and the command each entry
// runs. The frame menu stands when no document is open; the document menu replaces it while
// one is active. The windows build their menu bars from these tables, and the enablement
// rules are computed here so that they can be tested without a window.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "core/core_state.h"

namespace brv {

enum class Command : int {
    None,
    NewImage,
    Open,
    RecentFile,  // one entry of the recent-files list; the list is built at run time
    ClearRecent,
    Save,
    SaveAs,
    EditIcon,
    Exit,
    Undo,
    Redo,
    Copy,
    Cut,
    Delete,
    Paste,
    Crop,
    PasteNewLayer,
    PasteAtSelection,
    PasteInSelection,
    Deselect,
    SelectAll,
    SelectByNumber,
    SelectByColor,
    LayerAdd,
    LayerDelete,
    LayerCopy,
    LayerUp,
    LayerDown,
    LayerCombine,
    LayerReflectMove,
    LayerCombineAll,
    ActionRecord,
    ActionPlay,
    ActionSaveAs,
    ActionPlaySaved,
    Batch,
    CountColors,
    Settings,
    Hotspot,
    GridToggle,
    GridSnap,
    GridSize,
    ZoomRelative,  // argument: the factor
    ZoomAbsolute,  // argument: the zoom
    ToggleGuideWindow,
    TogglePenWindow,
    ToggleLayerWindow,
    TogglePaletteWindow,
    TogglePreviewWindow,
    ShowAllToolWindows,
    HideAllToolWindows,
    LayOutToolWindows,
    Cascade,
    TileStacked,     // one above the other
    TileSideBySide,  // one beside the other
    MinimizeAll,
    RestoreAll,
    Help,
    About,
    Effect,  // argument: the effect's name (the entry's caption)
};

enum class EntryKind { Command, Separator, SubmenuBegin, SubmenuEnd, RecentList };

struct MenuEntry {
    EntryKind kind = EntryKind::Command;
    std::string_view caption;
    // A key sequence in the portable text form ("Ctrl+N", "Alt+Ctrl++"); empty for none.
    // Captions with a hand-made shortcut after a tab keep it in the caption instead.
    std::string_view shortcut;
    Command command = Command::None;
    double argument = 0.0;
};

struct TopMenu {
    std::string_view caption;
    std::span<const MenuEntry> entries;
};

std::span<const TopMenu> FrameMenus();
std::span<const TopMenu> DocumentMenus();
// The canvas's right-button menu.
std::span<const MenuEntry> CanvasContextMenu();

// What the menus may offer for the active document, computed when a menu opens.
struct MenuState {
    bool undo = false;
    bool redo = false;
    bool paste = false;      // the clipboard holds an image
    bool selection = false;  // copy, cut, delete, crop, paste at, deselect
    bool severalLayers = false;
    bool reflectMove = false;
    bool gridVisible = false;
    bool gridSnap = false;
    bool hotspot = false;
};
MenuState ComputeMenuState(const CoreState& state, int32_t fid, bool clipboardHasImage);

}  // namespace brv
