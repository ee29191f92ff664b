// The progress display on the status bar for long effect computations.
//
//   progress.Begin(host, height, true, "");
//   for (int32_t y = 0; y < height; ++y) {
//       ...
//       if (y % 10 == 0 && progress.Step(host, y)) return copyOfInput;  // the user clicked
//   }
//   progress.End(host);
//
// Nothing shows for the first second, and afterwards at most every 100 ms, so that quick runs
// never flicker. A click on the bar (when Begin allowed cancelling) or RequestCancel makes the
// next Step end the display and answer true.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/host.h"

namespace brv {

inline constexpr std::string_view kProgressDefaultTitle = "処理中";
inline constexpr std::string_view kProgressClickToCancel = "[クリックでキャンセル]";

class StatusProgress {
public:
    // Unless a long task holds the bar: keeps max (at least 1) and the title (the given one,
    // else PendingTitle, else "処理中"), clears the cancel flag and starts the clock.
    void Begin(Host& host, int32_t max, bool canCancel, std::string_view title);
    // Draws value of max once more than 1000 ms have passed since Begin and more than 100 ms
    // since the last drawing, then lets events run. True when the user asked to cancel; the
    // display is then ended.
    bool Step(Host& host, int32_t value);
    void End(Host& host);

    // The cancel flag, as a dialog's own cancel button sets it.
    void RequestCancel() { cancel_ = true; }
    bool CancelRequested() const { return cancel_; }

    // What the bar shows over its fill: the title, prefixed when a click cancels.
    std::string Caption() const;
    int32_t Max() const { return max_; }

    // The caption of the effect dialog last opened; the title of a Begin without one.
    std::string PendingTitle;
    // Set while a long task (a batch) owns the bar: Begin and End leave it alone then.
    bool LongTaskHoldsBar = false;

private:
    int32_t max_ = 1;
    std::string title_;
    bool canCancel_ = false;
    bool cancel_ = false;
    bool drawn_ = false;
    double start_ = 0.0;
    double lastRefresh_ = 0.0;
};

}  // namespace brv
