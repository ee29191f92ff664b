#include "platform/action_commands.h"

#include <QMenuBar>

#include "actions/action_file.h"
#include "app/action_player.h"
#include "core/file_io.h"
#include "core/undo_store.h"
#include "platform/application.h"
#include "platform/main_window.h"

namespace brv {

void PlayActionCommand(Application& app, bool bChoose) {
    AppState& state = app.State();
    CoreState& core = state.Core;
    Host& host = app.Host();
    MainWindow& frame = app.Frame();
    const int32_t fid = core.ActiveFID;
    if (!core.Doc(fid)) return;

    std::string fnm = core.Paths.DefaultActionFile;
    if (bChoose) {
        FileDialogRequest request;
        // Both cases of the extension, as files keep it either way here.
        request.filter =
            std::string(kActionOpenFilter) + "|" + std::string(kActionOpenFilter) + ";*.kra";
        request.initialPath = core.Paths.ActionsDir;
        auto chosen = host.ChooseOpenFile(request);
        if (!chosen) return;
        fnm = *chosen;
    }
    if (!FileExists(fnm)) return;

    ActionPlayerHooks hooks;
    // Before a step's question: the frame in front and the document as it stands.
    hooks.Effects.RedrawDocument = [&frame](int32_t f) {
        frame.activateWindow();
        frame.RefreshActiveDocument();
        frame.RefreshToolWindows(f);
    };
    // The document area and the menus stay still while the run lets events through.
    auto enable = [&frame](bool on) {
        if (frame.centralWidget()) frame.centralWidget()->setEnabled(on);
        if (frame.menuBar()) frame.menuBar()->setEnabled(on);
    };
    enable(false);
    ActionContext ctx{state, host, hooks};
    std::string result;
    RunActionFile(ctx, fid, fnm, result);
    enable(true);

    // One undo point for the whole run.
    if (core.Doc(fid)) {
        SaveUndo(core, host, fid);
        frame.RefreshActiveDocument();
        frame.RefreshToolWindows(fid);
    }
}

}  // namespace brv
