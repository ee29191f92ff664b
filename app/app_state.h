// The whole application state, passed explicitly: the core's documents, settings and paths,
// and what the higher levels add (the recorder, the private clipboard, the pattern libraries)
// as they arrive.
#pragma once

#include "colour/palette.h"
#include "core/core_state.h"
#include "effects/effect.h"
#include "tools/freehand.h"
#include "tools/pattern_library.h"

namespace brv {

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
};

}  // namespace brv
