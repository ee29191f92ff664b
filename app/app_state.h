// The whole application state, passed explicitly: the core's documents, settings and paths,
// and what the higher levels add (the recorder, the private clipboard, the pattern libraries)
// as they arrive.
#pragma once

#include "colour/palette.h"
#include "core/core_state.h"
#include "effects/effect.h"
#include "tools/clipboard.h"
#include "tools/freehand.h"
#include "tools/pattern_library.h"

namespace brv {

// The action player's run state.
struct ActionPlayerState {
    // -1 once the user asked a run to stop (the batch's progress window sets it); cleared at
    // the start of each run.
    int16_t CancelRequest = 0;
    // No summary box at the end of a run; a batch sets it.
    bool ActionQuietEnd = false;
    // Set while a run is under way: the run lets events through, and the menus wait for it.
    bool Playing = false;
};

struct AppState {
    CoreState Core;
    Palette CurrentPalette;
    // Set while the pattern libraries are being read, so that the loader stays quiet.
    bool LoadingLibrary = false;
    // The canvas's drag state, one for the whole program.
    FreehandState Freehand;
    // The graphic pens' stamps and the fill tool's tiles.
    PatternLibraries Patterns;
    // The effect dialogs' shared state: the busy flags, the preview's seed and place.
    EffectState Effects;
    ActionPlayerState Player;
    // The last cut or copy, with its place and source document.
    PrivateClipRecord Clip;
};

}  // namespace brv
