// The folders and files the program keeps beside its executable. Every path is UTF-8 text; a
// folder ends in the platform's separator, so a file name is appended by plain concatenation.
#pragma once

#include <string>
#include <string_view>

namespace brv {

#ifdef _WIN32
inline constexpr char kPathSeparator = '\\';
inline constexpr std::string_view kExeSuffix = ".exe";
#else
inline constexpr char kPathSeparator = '/';
inline constexpr std::string_view kExeSuffix = "";
#endif

// The compositor's build folder name; kept for the folder layout under KRD.
inline constexpr std::string_view kBuildKind = "Release";

struct AppPaths {
    std::string AppPath;  // folder of the executable
    std::string TempDir;
    std::string BackgroundCacheFile;
    std::string FontCacheFile;
    std::string UndoPrefix;  // file-name prefix, not a folder
    std::string ActionsDir;
    std::string GraphicPensDir;
    std::string FillDatasDir;
    std::string PalettesDir;
    std::string CursorsDir;
    std::string SusieServerFile;
    std::string WatcherFile;
    std::string SettingsFile;
    std::string DefaultActionFile;
    std::string GradationsDir;
    std::string CustomFilterDir;
    std::string UseFileList;
    std::string HelpDir;
};

// All paths from the executable's folder (with or without a trailing separator).
AppPaths ComputeAppPaths(std::string_view appFolder);

// Creates the data folders that the program writes into; false if one cannot be made.
bool EnsureDataFolders(const AppPaths& paths);

}  // namespace brv
