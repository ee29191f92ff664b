// brivandelle-cli: the program without windows, for scripts and batch work.
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include "app/app_state.h"
#include "app/cli_commands.h"
#include "app/file_commands.h"
#include "cli/headless_host.h"
#include "core/app_paths.h"
#include "core/documents.h"
#include "core/file_io.h"

namespace {

// A private folder for what a run leaves behind (undo snapshots, moved-away files), so that
// the CLI touches nothing beside its executable; removed at the end.
std::string MakeRunFolder(brv::Host& host) {
    std::string pattern = host.TempFolder() + "brivandelle-cli-XXXXXX";
    std::vector<char> buffer(pattern.begin(), pattern.end());
    buffer.push_back('\0');
    if (!mkdtemp(buffer.data())) return {};
    return std::string(buffer.data()) + "/";
}

// The folder of this executable, with its separator; the stamps and tiles ship there.
std::string ExecutableFolder(const char* argv0) {
    std::error_code ec;
    std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", ec);
    if (ec) self = std::filesystem::absolute(argv0, ec);
    if (ec) return {};
    return brv::FromFsPath(self.parent_path()) + brv::kPathSeparator;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2 || std::strcmp(argv[1], "--help") == 0) {
        brv::PrintCliUsage(argc < 2 ? std::cerr : std::cout);
        return argc < 2 ? 1 : 0;
    }
    if (std::strcmp(argv[1], "--version") == 0) {
        std::cout << "brivandelle-cli " BRV_VERSION "\n";
        return 0;
    }
    brv::HeadlessHost host;
    const std::string runFolder = MakeRunFolder(host);
    if (runFolder.empty()) {
        std::cerr << "cannot make a folder in " << host.TempFolder() << "\n";
        return 1;
    }
    brv::AppState app;
    app.Core.Paths = brv::ComputeAppPaths(runFolder);
    brv::MakeDirectories(app.Core.Paths.TempDir);
    brv::InitDocTable(app.Core);
    if (std::strcmp(argv[1], "run") == 0) {
        // A graphic pen or a patterned fill of an action needs the libraries of the program.
        const std::string exeFolder = ExecutableFolder(argv[0]);
        if (!exeFolder.empty()) {
            app.Core.Paths.GraphicPensDir = exeFolder + "GraphicPens" + brv::kPathSeparator;
            app.Core.Paths.FillDatasDir = exeFolder + "FillDatas" + brv::kPathSeparator;
        }
        brv::LoadPatternLibraries(app);
    }

    const std::vector<std::string> args(argv + 1, argv + argc);
    const int code = brv::RunCliCommand(args, app, host, std::cout, std::cerr);
    std::error_code ec;
    std::filesystem::remove_all(brv::ToFsPath(runFolder), ec);
    return code;
}
