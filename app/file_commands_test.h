// The fixture of the open and save command tests: an application state with its folders in a
// fresh temporary folder, a scripted host, and the commands over both.
#pragma once

#include <gtest/gtest.h>

#include "app/app_state.h"
#include "app/file_commands.h"
#include "core/app_paths.h"
#include "core/documents.h"
#include "core/file_io.h"
#include "tests/support/fake_host.h"

namespace brv::testing {

class FileCommandsFixture : public ::testing::Test {
protected:
    FileCommandsFixture() : files(app, host) {
        app.Core.Paths = ComputeAppPaths(dir.Path());
        MakeDirectories(app.Core.Paths.TempDir);
        InitDocTable(app.Core);
        host.tempFolder = dir.Path();
    }
    const DocumentRecord& Doc(int32_t fid) { return *app.Core.Doc(fid); }

    TempFolder dir;
    AppState app;
    FakeHost host;
    FileCommands files;
};

}  // namespace brv::testing
