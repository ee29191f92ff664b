// The desktop program: owns the application state, the Qt host and the frame, runs the start
// and the end, and carries out the menu commands.
#pragma once

#include <QObject>
#include <memory>
#include <string>

#include "app/app_state.h"
#include "app/file_commands.h"
#include "app/menu_table.h"
#include "app/startup.h"
#include "platform/key_state.h"
#include "platform/qt_host.h"

namespace brv {

class MainWindow;

class Application : public QObject {
    Q_OBJECT
public:
    // appFolder is where the settings and data folders live (the executable's folder).
    Application(std::string appFolder, const ScreenMetrics& screen);
    ~Application() override;

    // The start after the windows exist: placements, first-run layout, the command line,
    // a new document when the settings ask for one; then the frame is shown.
    void Start(const std::string& commandLine);

    AppState& State() { return state_; }
    QtHost& Host() { return host_; }
    MainWindow& Frame() { return *frame_; }
    const LeftShiftWatch& LeftShift() const { return leftShift_; }
    const StartupReport& Report() const { return report_; }

    // Whether a command has something behind it yet; the rest stay disabled in the menus.
    // Effect entries are told apart by their caption.
    static bool IsAvailable(Command command, std::string_view caption = {});
    void RunCommand(Command command, double argument, const std::string& caption);

    // New image dialog, then a document of that size. Returns the FID or 0.
    int32_t NewImageCommand();
    int32_t NewDocumentAndShow(int32_t width, int32_t height);
    void CloseDocumentCommand(int32_t fid);
    void ShowSettingsCommand();
    void OpenFileCommand(const std::string& path);
    void OpenDroppedFiles(const std::vector<std::string>& files);
    FileCommands& Files() { return *files_; }
    // The end of the program; false when a window refused to close.
    bool Shutdown();

private:
    void SaveAsCommand(int32_t fid);
    // Starts the recorder on the active document, or ends it into the default action file.
    void ToggleRecording();
    // Undo, redo and the layer menu on a document, with the undo point and the refresh.
    void RunLayerCommand(Command command, int32_t fid);

    AppState state_;
    QtHost host_;
    LeftShiftWatch leftShift_;
    StartupReport report_;
    std::unique_ptr<MainWindow> frame_;
    std::unique_ptr<FileCommands> files_;
    bool shutDown_ = false;
};

}  // namespace brv
