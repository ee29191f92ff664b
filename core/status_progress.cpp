#include "core/status_progress.h"

#include <algorithm>

namespace brv {

void StatusProgress::Begin(Host& host, int32_t max, bool canCancel, std::string_view title) {
    if (LongTaskHoldsBar) return;
    max_ = std::max(max, 1);
    if (!title.empty())
        title_ = std::string(title);
    else if (!PendingTitle.empty())
        title_ = PendingTitle;
    else
        title_ = std::string(kProgressDefaultTitle);
    canCancel_ = canCancel;
    cancel_ = false;
    drawn_ = false;
    // A click left over from an earlier display must not cancel this one.
    host.HideStatusProgress();
    start_ = host.Milliseconds();
    lastRefresh_ = start_;
}

bool StatusProgress::Step(Host& host, int32_t value) {
    const double now = host.Milliseconds();
    if (now - start_ > 1000.0 && now - lastRefresh_ > 100.0) {
        lastRefresh_ = now;
        if (!LongTaskHoldsBar) {
            host.SetStatusText(Caption());
            host.DrawStatusProgress(value, max_);
            drawn_ = true;
        }
        host.DoEvents();
        if (canCancel_ && host.CancelClicked()) cancel_ = true;
    }
    if (!cancel_) return false;
    End(host);
    return true;
}

void StatusProgress::End(Host& host) {
    if (!LongTaskHoldsBar) {
        if (drawn_) host.SetStatusText("");
        host.HideStatusProgress();
    }
    drawn_ = false;
    cancel_ = false;
}

std::string StatusProgress::Caption() const {
    return canCancel_ ? std::string(kProgressClickToCancel) + title_ : title_;
}

}  // namespace brv
