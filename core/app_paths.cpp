#include "core/app_paths.h"

#include "core/file_io.h"

namespace brv {

namespace {

std::string Folder(std::string_view base, std::string_view name) {
    std::string s(base);
    s += name;
    s += kPathSeparator;
    return s;
}

}  // namespace

AppPaths ComputeAppPaths(std::string_view appFolder) {
    AppPaths p;
    p.AppPath = std::string(appFolder);
    if (p.AppPath.empty() || (p.AppPath.back() != '/' && p.AppPath.back() != kPathSeparator))
        p.AppPath += kPathSeparator;
    p.TempDir = Folder(p.AppPath, "tmp");
    p.BackgroundCacheFile = p.TempDir + "tempdat.nedat";
    p.FontCacheFile = p.TempDir + "fontcach.nedat";
    p.UndoPrefix = p.TempDir + "undo";
    p.ActionsDir = Folder(p.AppPath, "Actions");
    p.GraphicPensDir = Folder(p.AppPath, "GraphicPens");
    p.FillDatasDir = Folder(p.AppPath, "FillDatas");
    p.PalettesDir = Folder(p.AppPath, "Palettes");
    p.CursorsDir = Folder(p.AppPath, "Cursors");
    {
        std::string server = p.AppPath + ".." + kPathSeparator + "SusieProcess" + kPathSeparator +
                             "_susieserver" + std::string(kExeSuffix);
        p.SusieServerFile = FromFsPath(ToFsPath(server).lexically_normal());
    }
    p.WatcherFile = Folder(p.AppPath, "process watch") + "_brvdwt" + std::string(kExeSuffix);
    p.SettingsFile = p.AppPath + "Settings.dat";
    p.DefaultActionFile = p.TempDir + "_default_.act";
    p.GradationsDir = Folder(p.AppPath, "Gradations");
    p.CustomFilterDir = Folder(p.AppPath, "CustomFilter");
    p.UseFileList = p.AppPath + "UseFile.dat";
    p.HelpDir = Folder(p.AppPath, "help");
    return p;
}

bool EnsureDataFolders(const AppPaths& paths) {
    bool ok = true;
    for (const std::string* dir :
         {&paths.TempDir, &paths.ActionsDir, &paths.GraphicPensDir, &paths.FillDatasDir,
          &paths.PalettesDir, &paths.CursorsDir, &paths.GradationsDir, &paths.CustomFilterDir}) {
        ok = MakeDirectories(*dir) && ok;
    }
    return ok;
}

}  // namespace brv
