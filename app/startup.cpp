#include "app/startup.h"

#include "core/documents.h"
#include "core/file_io.h"
#include "core/messages.h"
#include "core/startup.h"
#include "core/undo_store.h"
#include "effects/gradation_list.h"

namespace brv {

StartupReport StartApplication(AppState& app, std::string_view appFolder,
                               const ScreenMetrics& screen) {
    StartupReport report;
    CoreState& core = app.Core;
    core.Screen = screen;
    core.Paths = ComputeAppPaths(appFolder);
    EnsureDataFolders(core.Paths);
    core.MaxNewWidth = 2048;
    core.MaxNewHeight = 2048;

    report.SettingsLoaded = LoadSettingsAtStart(core) == 0;
    report.FirstRun = CheckMainWindowRect(core.Settings, core.Screen);
    report.TileFromCache = EnsureBackgroundTile(core) == TileSource::Cache;

    InitDocTable(core);

    const std::string defaultPalette = core.Paths.PalettesDir + "Default.BVP";
    if (!FileExists(defaultPalette)) {
        MakeDefaultPalettes(core.Paths.PalettesDir);
        MakeDefaultGradations(core.Paths.GradationsDir);
        report.DefaultsWritten = true;
    }
    LoadPalette(defaultPalette, app.CurrentPalette);

    core.ActiveFID = 0;
    return report;
}

bool OpenCommandLine(Host& host, std::string_view commandLine,
                     const std::function<void(const std::string&)>& openFile) {
    if (commandLine.empty()) return false;
    const std::string name(commandLine);
    if (!FileExists(name)) {
        host.ShowMessage(msg::kFileNotFound, MessageIcon::Exclamation);
        return false;
    }
    if (openFile) openFile(name);
    return true;
}

std::string JoinCommandLine(int argc, char** argv) {
    std::string line;
    for (int i = 1; i < argc; ++i) {
        if (i > 1) line += ' ';
        line += argv[i];
    }
    return line;
}

void ShutdownApplication(AppState& app, Host& host, const std::function<void(int32_t)>& saveAs) {
    CoreState& core = app.Core;
    WidenMainWindowRect(core.Settings);
    SaveSettings(core.Paths.SettingsFile, core.Settings);
    for (size_t fid = 1; fid < core.Docs.size(); ++fid) {
        if (core.Docs[fid].InUse) CloseDocument(core, host, static_cast<int32_t>(fid), saveAs);
    }
    DeleteUndoFiles(core.Paths, -1);
}

}  // namespace brv
