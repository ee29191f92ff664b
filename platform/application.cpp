#include "platform/application.h"

#include <QDesktopServices>
#include <QMessageBox>
#include <QUrl>

#include "actions/action_file.h"
#include "app/edit_commands.h"
#include "core/documents.h"
#include "core/file_io.h"
#include "core/layer_ops.h"
#include "core/messages.h"
#include "core/settings.h"
#include "core/undo_store.h"
#include "core/view_render.h"
#include "effects/ef_dither.h"
#include "effects/effect_table.h"
#include "platform/action_commands.h"
#include "platform/effect_dialog.h"
#include "platform/main_window.h"
#include "platform/new_image_dialog.h"
#include "platform/qt_text.h"
#include "platform/setting_dialog.h"

namespace brv {

Application::Application(std::string appFolder, const ScreenMetrics& screen) {
    report_ = StartApplication(state_, appFolder, screen);
    LoadPatternLibraries(state_);
    frame_ = std::make_unique<MainWindow>(*this);
    frame_->Pen()->DrawPatternLists();
    host_.AttachFrame(frame_.get());
    files_ = std::make_unique<FileCommands>(state_, host_);
    files_->RefreshWindows = [this](int32_t fid) { frame_->RefreshToolWindows(fid); };
}

Application::~Application() {
    if (!shutDown_) Shutdown();
    host_.AttachFrame(nullptr);
}

void Application::Start(const std::string& commandLine) {
    frame_->RestorePlacements(state_.Core.Settings);
    state_.Core.ActiveFID = 0;
    frame_->show();
    if (report_.FirstRun || frame_->ToolLayoutPending()) frame_->LayOutToolWindows();
    frame_->RefreshToolWindows(0);
    if (!commandLine.empty()) {
        OpenCommandLine(host_, commandLine,
                        [this](const std::string& path) { OpenFileCommand(path); });
    } else if (state_.Core.Settings.NewOnStart != 0) {
        NewDocumentAndShow(0, 0);
    }
}

bool Application::IsAvailable(Command command, std::string_view caption) {
    if (IsEditCommand(command)) return true;
    switch (command) {
        case Command::Effect:
            return IsEffectMenuEntryAvailable(caption);
        case Command::CountColors:
        case Command::TogglePenWindow:
            return true;
        case Command::NewImage:
        case Command::Open:
        case Command::RecentFile:
        case Command::Save:
        case Command::SaveAs:
        case Command::ZoomRelative:
        case Command::ZoomAbsolute:
        case Command::ActionRecord:
        case Command::ActionPlay:
        case Command::ActionPlaySaved:
        case Command::ActionSaveAs:
        case Command::ClearRecent:
        case Command::Exit:
        case Command::Settings:
        case Command::Undo:
        case Command::Redo:
        case Command::LayerAdd:
        case Command::LayerDelete:
        case Command::LayerCopy:
        case Command::LayerUp:
        case Command::LayerDown:
        case Command::LayerCombine:
        case Command::LayerReflectMove:
        case Command::LayerCombineAll:
        case Command::Hotspot:
        case Command::GridToggle:
        case Command::GridSnap:
        case Command::GridSize:
        case Command::Cascade:
        case Command::TileStacked:
        case Command::TileSideBySide:
        case Command::MinimizeAll:
        case Command::RestoreAll:
        case Command::ToggleGuideWindow:
        case Command::ToggleLayerWindow:
        case Command::ShowAllToolWindows:
        case Command::HideAllToolWindows:
        case Command::LayOutToolWindows:
        case Command::Help:
        case Command::About:
            return true;
        default:
            return false;
    }
}

void Application::RunCommand(Command command, double argument, const std::string& caption) {
    // An effect's dialog or computation is under way: the menus wait for it.
    if (state_.Effects.IsUIMode || state_.Effects.IsCalculating || state_.Player.Playing) return;
    CoreState& core = state_.Core;
    DocumentRecord* doc = core.Doc(core.ActiveFID);
    if (IsEditCommand(command)) {
        if (!doc) return;
        const int32_t fid = core.ActiveFID;
        const EditOutcome outcome = RunEditCommand(state_, host_, command, fid);
        if (outcome.FullRefresh) frame_->RefreshActiveDocument();
        if (outcome.SaveUndo) SaveUndo(core, host_, fid);
        frame_->RefreshToolWindows(fid);
        return;
    }
    switch (command) {
        case Command::NewImage:
            NewImageCommand();
            break;
        case Command::Open:
            files_->OpenFileDialog(0);
            break;
        case Command::Save:
            if (doc) files_->SaveFile(core.ActiveFID);
            break;
        case Command::SaveAs:
            if (doc) files_->SaveAs(core.ActiveFID);
            break;
        case Command::ZoomRelative:
        case Command::ZoomAbsolute:
            if (doc) {
                ZoomChange(*doc, argument, command == Command::ZoomRelative);
                frame_->RefreshActiveDocument();
            }
            break;
        case Command::ActionRecord:
            if (doc) ToggleRecording();
            break;
        case Command::ActionPlay:
        case Command::ActionPlaySaved:
            if (doc) PlayActionCommand(*this, command == Command::ActionPlaySaved);
            break;
        case Command::ActionSaveAs: {
            FileDialogRequest request;
            request.filter = std::string(kActionSaveFilter);
            request.initialPath = core.Paths.ActionsDir;
            if (auto chosen = static_cast<brv::Host&>(host_).ChooseSaveFile(request))
                CopyActionFile(core.Paths.DefaultActionFile, ActionSaveAsName(*chosen));
            break;
        }
        case Command::ClearRecent:
            ClearRecentFiles(core.Paths.UseFileList);
            break;
        case Command::Exit:
            frame_->close();
            break;
        case Command::Settings:
            ShowSettingsCommand();
            break;
        case Command::Undo:
        case Command::Redo:
        case Command::LayerAdd:
        case Command::LayerDelete:
        case Command::LayerCopy:
        case Command::LayerUp:
        case Command::LayerDown:
        case Command::LayerCombine:
        case Command::LayerReflectMove:
        case Command::LayerCombineAll:
            if (doc) RunLayerCommand(command, core.ActiveFID);
            break;
        case Command::Hotspot:
            if (doc) doc->ShowHotspot = doc->ShowHotspot ? kNo : kYes;
            frame_->RefreshActiveDocument();
            break;
        case Command::GridToggle:
            if (doc) doc->GridVisible = doc->GridVisible ? kNo : kYes;
            frame_->RefreshActiveDocument();
            break;
        case Command::GridSnap:
            if (doc) doc->GridSnap = doc->GridSnap ? kNo : kYes;
            break;
        case Command::GridSize:
            if (doc) {
                auto text = static_cast<brv::Host&>(host_).AskText("グリッドサイズ",
                                                                   std::to_string(doc->GridSize));
                if (!text) break;
                bool ok = false;
                int value = ToQ(*text).trimmed().toInt(&ok);
                if (!ok || value < 1 || value > PixelBuffer::kMaxSide) {
                    static_cast<brv::Host&>(host_).ShowMessage(msg::kNumberOutOfRange,
                                                               MessageIcon::Exclamation);
                    break;
                }
                doc->GridSize = value;
                frame_->RefreshActiveDocument();
            }
            break;
        case Command::Cascade:
        case Command::TileStacked:
        case Command::TileSideBySide:
        case Command::MinimizeAll:
        case Command::RestoreAll:
            frame_->ArrangeDocuments(command);
            break;
        case Command::ToggleGuideWindow:
        case Command::ToggleLayerWindow:
            frame_->ToggleToolWindow(command);
            break;
        case Command::ShowAllToolWindows:
        case Command::HideAllToolWindows:
            frame_->ShowAllToolWindows(command == Command::ShowAllToolWindows);
            break;
        case Command::LayOutToolWindows:
            frame_->LayOutToolWindows();
            break;
        case Command::Effect:
            if (doc)
                RunEffectMenuCommand({frame_.get(), core, host_, state_.Effects,
                                      [this](int32_t fid) {
                                          frame_->RefreshActiveDocument();
                                          frame_->RefreshToolWindows(fid);
                                      }},
                                     caption);
            break;
        case Command::CountColors:
            if (doc) CountColorsCommand(core, host_, core.ActiveFID);
            break;
        case Command::TogglePenWindow:
            frame_->ToggleToolWindow(command);
            break;
        case Command::Help:
            QDesktopServices::openUrl(QUrl::fromLocalFile(ToQ(core.Paths.HelpDir + "index.htm")));
            break;
        case Command::About:
            QMessageBox::about(frame_.get(), QStringLiteral("バージョン情報"),
                               QStringLiteral("Brivandelle %1").arg(QStringLiteral(BRV_VERSION)));
            break;
        default:
            break;
    }
}

int32_t Application::NewImageCommand() {
    NewImageDialog dialog(state_.Core, host_, frame_.get());
    if (dialog.exec() != QDialog::Accepted) return 0;
    return NewDocumentAndShow(dialog.ChosenWidth(), dialog.ChosenHeight());
}

int32_t Application::NewDocumentAndShow(int32_t width, int32_t height) {
    int32_t fid = NewDocument(state_.Core, host_, width, height);
    if (fid <= 0) return 0;
    files_->ShowDocument(fid, 0);
    return fid;
}

void Application::CloseDocumentCommand(int32_t fid) {
    CloseDocument(state_.Core, host_, fid, [this](int32_t f) { SaveAsCommand(f); });
    frame_->UpdateMenuBar();
}

void Application::ToggleRecording() {
    CoreState& core = state_.Core;
    if (!core.Recorder.Recording()) {
        StartActionRecording(core.Recorder, core.ActiveFID, kDefaultActionName);
        frame_->SetRecordingCaption(kActionRecordStopCaption);
    } else {
        EndActionRecording(core.Recorder, core.Paths.DefaultActionFile);
        frame_->SetRecordingCaption(kActionRecordStartCaption);
    }
    frame_->SetRecordingStatus(core.Recorder.Recording() ? kActionRecordingStatus : "");
}

void Application::RunLayerCommand(Command command, int32_t fid) {
    CoreState& core = state_.Core;
    DocumentRecord& doc = core.Docs[static_cast<size_t>(fid)];
    brv::Host& host = host_;
    bool changed = true;
    switch (command) {
        case Command::Undo:
            changed = false;
            Undo(core, fid);
            break;
        case Command::Redo:
            changed = false;
            Redo(core, fid);
            break;
        case Command::LayerAdd:
            LayerAdd(core, fid);
            break;
        case Command::LayerDelete:
            changed = LayerDelete(core, fid) == 0;
            break;
        case Command::LayerCopy:
            LayerCopy(core, fid);
            break;
        case Command::LayerUp:
        case Command::LayerDown: {
            const int32_t to =
                command == Command::LayerUp ? LayerUpTarget(doc) : LayerDownTarget(doc);
            changed = false;  // the move takes its own undo point
            if (to > 0) LayerChangePos(core, host, fid, doc.ActiveLID, to, false);
            break;
        }
        case Command::LayerCombine:
            changed = LayerCombine(core, host, fid, 0, true) == 0;
            break;
        case Command::LayerReflectMove:
            changed = ReflectLayerPos(core, fid, doc.ActiveLID) == 0;
            break;
        case Command::LayerCombineAll:
            LayerCombineAll(core, host, fid);
            break;
        default:
            return;
    }
    if (changed) SaveUndo(core, host, fid);
    frame_->RefreshActiveDocument();
}

void Application::SaveAsCommand(int32_t fid) {
    files_->SaveAs(fid);
}

void Application::OpenFileCommand(const std::string& path) {
    files_->OpenFile(path, 0);
}

void Application::OpenDroppedFiles(const std::vector<std::string>& files) {
    files_->OpenDroppedFiles(files);
}

void Application::ShowSettingsCommand() {
    SettingDialog dialog(state_.Core.Settings, frame_.get());
    if (dialog.exec() == QDialog::Accepted) {
        state_.Core.Settings = dialog.Result();
        SaveSettings(state_.Core.Paths.SettingsFile, state_.Core.Settings);
    }
}

bool Application::Shutdown() {
    if (shutDown_) return true;
    frame_->TakePlacements(state_.Core.Settings);
    ShutdownApplication(state_, host_, [this](int32_t f) { SaveAsCommand(f); });
    shutDown_ = true;
    return true;
}

}  // namespace brv
