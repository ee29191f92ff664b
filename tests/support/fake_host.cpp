#include "tests/support/fake_host.h"

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <string>

#include <unistd.h>

#include "core/file_io.h"

namespace brv::testing {

void FakeHost::ShowMessage(std::string_view text, MessageIcon, std::string_view) {
    messages.emplace_back(text);
}

Answer FakeHost::Ask(std::string_view text, Buttons, MessageIcon, std::string_view) {
    questions.emplace_back(text);
    if (answers.empty()) return defaultAnswer;
    Answer a = answers.front();
    answers.pop_front();
    return a;
}

std::optional<std::string> FakeHost::AskText(std::string_view prompt, std::string_view,
                                             std::string_view) {
    questions.emplace_back(prompt);
    if (textAnswers.empty()) return std::nullopt;
    auto a = textAnswers.front();
    textAnswers.pop_front();
    return a;
}

std::optional<std::string> FakeHost::ChooseOpenFile(const FileDialogRequest&) {
    if (fileAnswers.empty()) return std::nullopt;
    auto a = fileAnswers.front();
    fileAnswers.pop_front();
    return a;
}

std::optional<std::string> FakeHost::ChooseSaveFile(const FileDialogRequest& request) {
    return ChooseOpenFile(request);
}

void FakeHost::SetStatusText(std::string_view text) {
    statusTexts.emplace_back(text);
}

void FakeHost::DrawStatusProgress(int32_t position, int32_t maximum) {
    progress.emplace_back(position, maximum);
}

void FakeHost::HideStatusProgress() {
    cancelClicked = false;
}

double FakeHost::Milliseconds() {
    double now = clock;
    clock += clockStep;
    return now;
}

Size FakeHost::CreateDocumentWindow(int32_t fid, Size outer) {
    createdWindows.push_back(fid);
    captions[fid] = "";
    return documentClient.value_or(Size{outer.width, outer.height - captionHeight});
}

void FakeHost::DestroyDocumentWindow(int32_t fid) {
    destroyedWindows.push_back(fid);
    captions.erase(fid);
}

void FakeHost::SetDocumentCaption(int32_t fid, std::string_view caption) {
    captions[fid] = std::string(caption);
}

void FakeHost::ShowProgressBox(std::string_view caption, int32_t position, int32_t maximum) {
    progressBoxes.emplace_back(std::string(caption), position, maximum);
}

int32_t FakeHost::ChoosePicture(std::string_view, const std::vector<PixelBuffer>& pictures) {
    pictureRequests.push_back(pictures);
    if (pictureAnswers.empty()) return 0;
    const int32_t a = pictureAnswers.front();
    pictureAnswers.pop_front();
    return a;
}

std::optional<int32_t> FakeHost::AskChoice(std::string_view,
                                           const std::vector<std::string>& choices, int32_t) {
    choiceRequests.push_back(choices);
    if (choiceAnswers.empty()) return std::nullopt;
    const auto a = choiceAnswers.front();
    choiceAnswers.pop_front();
    return a;
}

namespace {
template <typename T>
std::optional<T> TakeScripted(std::deque<std::optional<T>>& script) {
    if (script.empty()) return std::nullopt;
    auto a = script.front();
    script.pop_front();
    return a;
}
}  // namespace

std::optional<PngSaveOptions> FakeHost::AskPngSaveOptions(const PngSaveOptions& initial) {
    pngOptionRequests.push_back(initial);
    return TakeScripted(pngOptionAnswers);
}

std::optional<BmpSaveOptions> FakeHost::AskBmpSaveOptions(const BmpSaveOptions& initial) {
    bmpOptionRequests.push_back(initial);
    return TakeScripted(bmpOptionAnswers);
}

bool FakeHost::ClipboardPut(const PixelBuffer& picture) {
    ++clipboardPuts;
    if (clipboardRefuses) return false;
    clipboard = picture;
    return true;
}

std::optional<Size> FakeHost::ClipboardPictureSize() {
    if (!clipboard) return std::nullopt;
    return Size{clipboard->Width(), clipboard->Height()};
}

TempFolder::TempFolder() {
    static std::atomic<int> counter{0};
    const char* base = std::getenv("BRV_TEST_TMP");
    std::filesystem::path root =
        base && *base ? std::filesystem::path(base) : std::filesystem::temp_directory_path();
    std::filesystem::path dir =
        root / ("brv-" + std::to_string(::getpid()) + "-" + std::to_string(counter.fetch_add(1)));
    std::filesystem::remove_all(dir);
    std::filesystem::create_directories(dir);
    path_ = FromFsPath(dir) + "/";
}

TempFolder::~TempFolder() {
    std::error_code ec;
    std::filesystem::remove_all(ToFsPath(path_), ec);
}

std::string CorpusDir() {
    std::error_code ec;
    if (std::filesystem::is_directory(BRV_CORPUS_DIR, ec)) return BRV_CORPUS_DIR;
    return {};
}

}  // namespace brv::testing
