#include "platform/key_state.h"

#include <QCoreApplication>

namespace brv {

namespace {

constexpr quint32 kKeysymShiftLeft = 0xFFE1;
constexpr quint32 kKeysymShiftRight = 0xFFE2;
constexpr quint32 kWindowsVkShift = 0x10;
constexpr quint32 kWindowsScanShiftLeft = 0x2A;

}  // namespace

LeftShiftWatch::LeftShiftWatch() {
    if (QCoreApplication* app = QCoreApplication::instance()) app->installEventFilter(this);
}

LeftShiftWatch::~LeftShiftWatch() {
    if (QCoreApplication* app = QCoreApplication::instance()) app->removeEventFilter(this);
}

bool LeftShiftWatch::IsLeftShift(const QKeyEvent& event) {
    if (event.key() != Qt::Key_Shift) return false;
    const quint32 vk = event.nativeVirtualKey();
    if (vk == kKeysymShiftLeft) return true;
    if (vk == kKeysymShiftRight) return false;
    if (vk == kWindowsVkShift) return event.nativeScanCode() == kWindowsScanShiftLeft;
    return vk == 0;
}

bool LeftShiftWatch::eventFilter(QObject* watched, QEvent* event) {
    switch (event->type()) {
        case QEvent::KeyPress:
        case QEvent::KeyRelease: {
            const auto* key = static_cast<const QKeyEvent*>(event);
            // The same event reaches the filter once for each widget it propagates through.
            if (IsLeftShift(*key)) down_ = event->type() == QEvent::KeyPress;
            break;
        }
        case QEvent::ApplicationDeactivate:
            // A release while another program has the keyboard never arrives here.
            down_ = false;
            break;
        default:
            break;
    }
    return QObject::eventFilter(watched, event);
}

}  // namespace brv
