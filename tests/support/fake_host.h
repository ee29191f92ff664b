// A scripted Host for tests: it records every message and question, answers questions from a
// queue (or with a fixed default), and plays the window system with fixed sizes.
//
//   FakeHost host;
//   host.answers.push_back(Answer::Yes);
//   CloseDocument(state, host, fid, saveAs);
//   EXPECT_EQ(host.questions.size(), 1u);
#pragma once

#include <deque>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "core/host.h"

namespace brv::testing {

class FakeHost : public Host {
public:
    // Recorded traffic.
    std::vector<std::string> messages;
    std::vector<std::string> questions;
    std::vector<std::string> statusTexts;
    std::vector<std::pair<int32_t, int32_t>> progress;
    std::map<int32_t, std::string> captions;  // FID -> caption of a live window
    std::vector<int32_t> createdWindows;
    std::vector<int32_t> destroyedWindows;
    std::vector<int32_t> focusedWindows;

    std::vector<std::tuple<std::string, int32_t, int32_t>> progressBoxes;  // caption, pos, max
    int progressBoxCloses = 0;
    std::vector<std::vector<PixelBuffer>> pictureRequests;  // what each chooser was shown
    std::vector<std::vector<std::string>> choiceRequests;
    std::vector<std::pair<int32_t, bool>> shownWindows;  // FID, quiet
    std::vector<PngSaveOptions> pngOptionRequests;       // what each options box started with
    std::vector<BmpSaveOptions> bmpOptionRequests;

    // Script.
    std::deque<int32_t> pictureAnswers;  // consumed one per chooser; 0 (cancel) when empty
    std::deque<std::optional<int32_t>> choiceAnswers;  // nullopt (cancel) when empty
    std::deque<Answer> answers;                        // consumed one per question
    // Consumed one per options box; nullopt (cancel) when empty.
    std::deque<std::optional<PngSaveOptions>> pngOptionAnswers;
    std::deque<std::optional<BmpSaveOptions>> bmpOptionAnswers;
    Answer defaultAnswer = Answer::No;  // when the queue is empty
    std::deque<std::optional<std::string>> textAnswers;
    std::deque<std::optional<std::string>> fileAnswers;
    Size frameClient{800, 600};
    int32_t captionHeight = 20;
    // Client size given to a new document window; by default the outer size less the caption.
    std::optional<Size> documentClient;
    double clock = 0.0;  // milliseconds; advanced by clockStep at each read
    double clockStep = 0.0;
    int doEventsCalls = 0;
    bool cancelClicked = false;
    uint64_t freeMemory = uint64_t{8} << 30;
    // The clipboard: what it holds (in-transit conventions), how often it was written, and
    // whether the platform refuses pictures.
    std::optional<PixelBuffer> clipboard;
    int clipboardPuts = 0;
    bool clipboardRefuses = false;
    std::string tempFolder = "/tmp/";

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
    bool CancelClicked() override { return cancelClicked; }
    double Milliseconds() override;
    void DoEvents() override { ++doEventsCalls; }
    Size FrameClientSize() override { return frameClient; }
    int32_t CaptionHeight() override { return captionHeight; }
    Size CreateDocumentWindow(int32_t fid, Size outer) override;
    void DestroyDocumentWindow(int32_t fid) override;
    void SetDocumentCaption(int32_t fid, std::string_view caption) override;
    void FocusDocumentWindow(int32_t fid) override { focusedWindows.push_back(fid); }
    void ShowProgressBox(std::string_view caption, int32_t position, int32_t maximum) override;
    void CloseProgressBox() override { ++progressBoxCloses; }
    int32_t ChoosePicture(std::string_view fnm, const std::vector<PixelBuffer>& pictures) override;
    std::optional<int32_t> AskChoice(std::string_view title,
                                     const std::vector<std::string>& choices,
                                     int32_t initial) override;
    void ShowDocumentWindow(int32_t fid, bool bQuiet) override {
        shownWindows.emplace_back(fid, bQuiet);
    }
    std::optional<PngSaveOptions> AskPngSaveOptions(const PngSaveOptions& initial) override;
    std::optional<BmpSaveOptions> AskBmpSaveOptions(const BmpSaveOptions& initial) override;
    bool ClipboardPut(const PixelBuffer& picture) override;
    std::optional<Size> ClipboardPictureSize() override;
    std::optional<PixelBuffer> ClipboardGet() override { return clipboard; }
    uint64_t FreePhysicalMemory() override { return freeMemory; }
    std::string TempFolder() override { return tempFolder; }
};

// A fresh, empty folder for one test, removed when the object goes. Ends in a separator.
class TempFolder {
public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;
    const std::string& Path() const { return path_; }
    std::string File(std::string_view name) const { return path_ + std::string(name); }

private:
    std::string path_;
};

// The public corpus folder, or an empty text when it is not on this machine.
std::string CorpusDir();

}  // namespace brv::testing
