// The Host of the desktop program: Qt message boxes, dialogs, the status bar and the MDI area.
#pragma once

#include <QElapsedTimer>
#include <QProgressDialog>
#include <memory>

#include "core/host.h"

namespace brv {

class MainWindow;

class QtHost : public Host {
public:
    QtHost();
    // The frame must be attached before any window service is used.
    void AttachFrame(MainWindow* frame) { frame_ = frame; }

    void ShowMessage(std::string_view text, MessageIcon icon, std::string_view title) override;
    Answer Ask(std::string_view text, Buttons buttons, MessageIcon icon,
               std::string_view title) override;
    std::optional<std::string> AskText(std::string_view prompt, std::string_view initial,
                                       std::string_view title) override;
    std::optional<std::string> ChooseOpenFile(const FileDialogRequest& request) override;
    std::optional<std::string> ChooseSaveFile(const FileDialogRequest& request) override;
    void SetStatusText(std::string_view text) override;
    void DrawStatusProgress(int32_t position, int32_t maximum) override;
    void HideStatusProgress() override;
    bool CancelClicked() override;
    double Milliseconds() override;
    void DoEvents() override;
    Size FrameClientSize() override;
    int32_t CaptionHeight() override;
    Size CreateDocumentWindow(int32_t fid, Size outer) override;
    void DestroyDocumentWindow(int32_t fid) override;
    void SetDocumentCaption(int32_t fid, std::string_view caption) override;
    void FocusDocumentWindow(int32_t fid) override;
    bool ClipboardPut(const PixelBuffer& picture) override;
    std::optional<Size> ClipboardPictureSize() override;
    std::optional<PixelBuffer> ClipboardGet() override;
    uint64_t FreePhysicalMemory() override;
    std::string TempFolder() override;
    void ShowProgressBox(std::string_view caption, int32_t position, int32_t maximum) override;
    void CloseProgressBox() override;
    int32_t ChoosePicture(std::string_view fnm, const std::vector<PixelBuffer>& pictures) override;
    std::optional<int32_t> AskChoice(std::string_view title,
                                     const std::vector<std::string>& choices,
                                     int32_t initial) override;
    void ShowDocumentWindow(int32_t fid, bool bQuiet) override;
    std::optional<PngSaveOptions> AskPngSaveOptions(const PngSaveOptions& initial) override;
    std::optional<BmpSaveOptions> AskBmpSaveOptions(const BmpSaveOptions& initial) override;

private:
    MainWindow* frame_ = nullptr;
    QElapsedTimer clock_;
    std::unique_ptr<QProgressDialog> progressBox_;
};

// "desc|*.a;*.b|desc2|*.c" to Qt's "desc (*.a *.b);;desc2 (*.c)".
QString ToQtFilter(std::string_view filter);

}  // namespace brv
