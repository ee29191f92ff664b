// The CLI's host: no windows. Questions take their default answer, messages go to stderr.
#pragma once

#include <chrono>

#include "core/host.h"

namespace brv {

class HeadlessHost : public Host {
public:
    void ShowMessage(std::string_view text, MessageIcon icon, std::string_view title) override;
    // Yes for yes/no questions, Ok for ok/cancel: the answer a user pressing Enter gives.
    Answer Ask(std::string_view text, Buttons buttons, MessageIcon icon,
               std::string_view title) override;
    std::optional<std::string> AskText(std::string_view prompt, std::string_view initial,
                                       std::string_view title) override;
    std::optional<std::string> ChooseOpenFile(const FileDialogRequest&) override {
        return std::nullopt;
    }
    std::optional<std::string> ChooseSaveFile(const FileDialogRequest&) override {
        return std::nullopt;
    }
    void SetStatusText(std::string_view) override {}
    void DrawStatusProgress(int32_t, int32_t) override {}
    void HideStatusProgress() override {}
    bool CancelClicked() override { return false; }
    double Milliseconds() override;
    void DoEvents() override {}
    Size FrameClientSize() override { return {1024, 768}; }
    int32_t CaptionHeight() override { return 0; }
    Size CreateDocumentWindow(int32_t, Size outer) override { return outer; }
    void DestroyDocumentWindow(int32_t) override {}
    void SetDocumentCaption(int32_t, std::string_view) override {}
    void FocusDocumentWindow(int32_t) override {}
    void ShowProgressBox(std::string_view, int32_t, int32_t) override {}
    void CloseProgressBox() override {}
    // The chooser's default is the first image; the choice's is the one it starts at. Both are
    // reported on stderr, as questions are.
    int32_t ChoosePicture(std::string_view fnm, const std::vector<PixelBuffer>& pictures) override;
    std::optional<int32_t> AskChoice(std::string_view title,
                                     const std::vector<std::string>& choices,
                                     int32_t initial) override;
    void ShowDocumentWindow(int32_t, bool) override {}
    // The options boxes confirmed as they open, which is the writer's default; the choice is
    // reported on stderr.
    std::optional<PngSaveOptions> AskPngSaveOptions(const PngSaveOptions& initial) override;
    std::optional<BmpSaveOptions> AskBmpSaveOptions(const BmpSaveOptions& initial) override;
    // A clipboard of its own, for the cut, copy and paste lines of a played action.
    bool ClipboardPut(const PixelBuffer& picture) override {
        clipboard_ = picture;
        return true;
    }
    std::optional<Size> ClipboardPictureSize() override {
        if (!clipboard_) return std::nullopt;
        return Size{clipboard_->Width(), clipboard_->Height()};
    }
    std::optional<PixelBuffer> ClipboardGet() override { return clipboard_; }
    uint64_t FreePhysicalMemory() override;
    std::string TempFolder() override;

private:
    std::optional<PixelBuffer> clipboard_;
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

}  // namespace brv
