// Host: everything the logic asks of the user and of the machine.
//
// The logic never talks to a window system. It asks the Host to show a message, put a
// question, pick a file, draw progress, make or drop a document window, read the clock and let
// pending events run. The desktop program implements it with Qt, the CLI with a headless host
// that answers questions with their defaults, and the tests with a scripted fake.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/pixel_buffer.h"

namespace brv {

enum class MessageIcon { None, Information, Exclamation, Critical, Question };

// Which buttons a question offers; the answer names the one pressed.
enum class Buttons { Ok, OkCancel, YesNo, YesNoCancel };
enum class Answer { Ok, Cancel, Yes, No };

struct Size {
    int32_t width = 0;
    int32_t height = 0;
    friend bool operator==(const Size&, const Size&) = default;
};

// The screen the program starts on. Twips convert between window units and pixels.
struct ScreenMetrics {
    double TwipsPerPixelX = 15.0;
    double TwipsPerPixelY = 15.0;
    int32_t ScreenWidth = 1024;
    int32_t ScreenHeight = 768;
};

// The PNG save options box: three colour choices (8, 24 and 32 bits; the picture allows some of
// them), four speed choices from the slowest, and interlacing.
struct PngSaveOptions {
    std::array<bool, 3> ColorEnabled{true, true, true};  // 8, 24, 32
    int32_t ColorBit = 32;                               // the choice selected
    int32_t SpeedIndex = 2;                              // 0 .. 3, slowest first
    bool InterlaceOn = false;
    friend bool operator==(const PngSaveOptions&, const PngSaveOptions&) = default;
};

// The bitmap save options box: the depth the picture needs, shown in its label, and the two
// check boxes.
struct BmpSaveOptions {
    int32_t Depth = 32;
    bool Check1 = false;  // also write the AND-XOR pair of files
    bool Check2 = false;  // write 24 bits
    friend bool operator==(const BmpSaveOptions&, const BmpSaveOptions&) = default;
};

struct FileDialogRequest {
    std::string title;
    // Filter in the "description|*.ext;*.ext2|description|*.ext" form.
    std::string filter;
    std::string initialPath;
};

class Host {
public:
    virtual ~Host() = default;

    // Message boxes, with the exact texts of the calling module.
    virtual void ShowMessage(std::string_view text, MessageIcon icon = MessageIcon::None,
                             std::string_view title = {}) = 0;
    virtual Answer Ask(std::string_view text, Buttons buttons,
                       MessageIcon icon = MessageIcon::Question, std::string_view title = {}) = 0;
    // A line of text from the user; nullopt when cancelled.
    virtual std::optional<std::string> AskText(std::string_view prompt,
                                               std::string_view initial = {},
                                               std::string_view title = {}) = 0;

    // File dialogs; nullopt when cancelled.
    virtual std::optional<std::string> ChooseOpenFile(const FileDialogRequest& request) = 0;
    virtual std::optional<std::string> ChooseSaveFile(const FileDialogRequest& request) = 0;

    // The status line and its progress bar. The timing rule (nothing before 1000 ms, then at
    // most every 100 ms) is the logic's; the host only draws what it is told.
    virtual void SetStatusText(std::string_view text) = 0;
    virtual void DrawStatusProgress(int32_t position, int32_t maximum) = 0;
    virtual void HideStatusProgress() = 0;
    // True once the user has clicked to cancel since the last HideStatusProgress.
    virtual bool CancelClicked() = 0;

    // Clock and event loop: a monotonic millisecond clock, and one turn of pending events
    // followed by a 1 ms sleep, which is how long loops stay responsive.
    virtual double Milliseconds() = 0;
    virtual void DoEvents() = 0;

    // Document windows, one per open document, found by FID.
    virtual Size FrameClientSize() = 0;   // inner size of the main window, pixels
    virtual int32_t CaptionHeight() = 0;  // a window caption's height, pixels
    // Makes the window of a document with the given outer size; returns its client size.
    virtual Size CreateDocumentWindow(int32_t fid, Size outer) = 0;
    virtual void DestroyDocumentWindow(int32_t fid) = 0;
    virtual void SetDocumentCaption(int32_t fid, std::string_view caption) = 0;
    // Gives the window the focus unless it lies off the screen.
    virtual void FocusDocumentWindow(int32_t fid) = 0;

    // The open and save commands' windows. Each has a default that answers like a cancel, so
    // a host without the window still builds; the desktop program overrides them all.

    // A modal box with a caption and a progress bar (position of maximum), until closed.
    virtual void ShowProgressBox(std::string_view /*caption*/, int32_t /*position*/,
                                 int32_t /*maximum*/) {}
    virtual void CloseProgressBox() {}
    // The thumbnail chooser: pictures[i] is image i + 1 of the file, in layer order (rows
    // top-down, straight alpha), empty where it could not be read. Returns the index picked,
    // from 1, or 0 when cancelled.
    virtual int32_t ChoosePicture(std::string_view /*fnm*/,
                                  const std::vector<PixelBuffer>& /*pictures*/) {
        return 0;
    }
    // One choice out of a list (an options box with radio buttons and OK / Cancel), starting
    // at `initial`. Returns the index chosen, or nullopt when cancelled.
    virtual std::optional<int32_t> AskChoice(std::string_view /*title*/,
                                             const std::vector<std::string>& /*choices*/,
                                             int32_t /*initial*/) {
        return std::nullopt;
    }
    // Shows a document window made by CreateDocumentWindow: the normal show (activated), or
    // with bQuiet only made visible.
    virtual void ShowDocumentWindow(int32_t /*fid*/, bool /*bQuiet*/) {}
    // The writers' options boxes, shown with `initial`; the choices confirmed, or nullopt when
    // cancelled.
    virtual std::optional<PngSaveOptions> AskPngSaveOptions(const PngSaveOptions& /*initial*/) {
        return std::nullopt;
    }
    virtual std::optional<BmpSaveOptions> AskBmpSaveOptions(const BmpSaveOptions& /*initial*/) {
        return std::nullopt;
    }

    // The system clipboard. Pictures cross it in the in-transit conventions (rows bottom-up,
    // the fourth byte a transparency); how the platform stores them is the host's affair, as
    // long as a picture put comes back as it went. A host without a clipboard keeps one
    // picture of its own.
    // false when the platform refused the picture.
    virtual bool ClipboardPut(const PixelBuffer& picture) = 0;
    // The size of the picture on the clipboard, without reading it; nullopt when it holds none.
    virtual std::optional<Size> ClipboardPictureSize() = 0;
    virtual std::optional<PixelBuffer> ClipboardGet() = 0;

    // Machine facts.
    virtual uint64_t FreePhysicalMemory() = 0;  // bytes
    virtual std::string TempFolder() = 0;       // the user's temporary folder, trailing separator
};

}  // namespace brv
