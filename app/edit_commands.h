// The selection and clipboard entries of the edit menu and of the canvas's right-button menu,
// on the active layer of a document. The window carries out what comes back:
//
//   EditOutcome o = RunEditCommand(app, host, Command::Cut, fid);
//   if (o.FullRefresh) RedrawAll ...;  if (o.SaveUndo) SaveUndo(app.Core, host, fid);
#pragma once

#include <cstdint>

#include "app/app_state.h"
#include "app/menu_table.h"
#include "core/host.h"

namespace brv {

struct EditOutcome {
    bool FullRefresh = false;
    bool SaveUndo = false;
};

// Whether the command is one of these entries.
bool IsEditCommand(Command command);

// Copy, cut, delete, the four pastes and deselect. A copy changes nothing and takes no undo
// step; an entry that found nothing to do (no selection, an empty clipboard) neither.
EditOutcome RunEditCommand(AppState& app, Host& host, Command command, int32_t fid);

}  // namespace brv
