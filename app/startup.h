// Starting and ending the program, without windows: the platform calls these in order and
// does the window work in between.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "app/app_state.h"
#include "core/host.h"

namespace brv {

struct StartupReport {
    bool FirstRun = false;         // the stored main rectangle was unusable
    bool SettingsLoaded = false;   // false: defaults were set and written
    bool TileFromCache = false;    // false: the background was computed and its cache written
    bool DefaultsWritten = false;  // first-run palettes and gradations were made
};

// The logic steps of the start: paths, data folders, settings and their fix-ups, the main
// window rectangle, the background tile, the document table, first-run palettes and
// gradations, and the palette. ActiveFID ends at 0.
StartupReport StartApplication(AppState& app, std::string_view appFolder,
                               const ScreenMetrics& screen);

// The command line is one text, not split. A name of an existing file goes to openFile; any
// other non-empty text gets "ファイルが見つかりません。". Returns true when a file was opened.
bool OpenCommandLine(Host& host, std::string_view commandLine,
                     const std::function<void(const std::string&)>& openFile);

// The whole command line as one text: the arguments after the program name joined by blanks,
// so that a name with blanks needs no quotes.
std::string JoinCommandLine(int argc, char** argv);

// The end of the program after the window placements have been taken into the settings: the
// main rectangle widened to 100 by 100, Settings.dat written, each open document closed with
// its question, and every file of the temporary folder deleted but the caches.
void ShutdownApplication(AppState& app, Host& host, const std::function<void(int32_t)>& saveAs);

}  // namespace brv
