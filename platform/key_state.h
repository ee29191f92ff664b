// Which Shift key is down. Qt reports Shift as one modifier, but only the left key adds to a
// selection, so the key events of the whole application are watched for it.
#pragma once

#include <QKeyEvent>
#include <QObject>

namespace brv {

class LeftShiftWatch : public QObject {
public:
    // Watches every key event of the application from now on.
    LeftShiftWatch();
    ~LeftShiftWatch() override;

    bool Down() const { return down_; }
    // Whether a Shift event came from the left key: by the key symbol (X11, Wayland) or the
    // scan code (Windows). A platform that tells neither counts every Shift as the left one.
    static bool IsLeftShift(const QKeyEvent& event);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    bool down_ = false;
};

}  // namespace brv
