#include "platform/document_window.h"

#include <QCloseEvent>
#include <QImage>
#include <QPainter>

#include "core/documents.h"
#include "platform/application.h"

namespace brv {

DocumentWindow::DocumentWindow(Application& app, int32_t fid) : app_(app), fid_(fid) {
    setAttribute(Qt::WA_OpaquePaintEvent);
    setFocusPolicy(Qt::StrongFocus);
    setMinimumSize(16, 16);
}

void DocumentWindow::SetCaption(const QString& caption) {
    setWindowTitle(caption);
    if (parentWidget()) parentWidget()->setWindowTitle(caption);
}

void DocumentWindow::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.fillRect(rect(), palette().brush(QPalette::Window));
    const DocumentRecord* doc = app_.State().Core.Doc(fid_);
    if (!doc) return;
    // The image area over the transparency background, centred when smaller than the window.
    const int w = std::min(ZoomedWidth(*doc) + 1, width());
    const int h = std::min(ZoomedHeight(*doc) + 1, height());
    const int x = w < width() ? (width() - w) / 2 : 0;
    const int y = h < height() ? (height() - h) / 2 : 0;
    const PixelBuffer& tile = app_.State().Core.BackgroundTile;
    if (!tile.Empty()) {
        QImage img(tile.Bytes().data(), tile.Width(), tile.Height(),
                   static_cast<qsizetype>(tile.Stride()), QImage::Format_RGB32);
        p.drawImage(QPoint(x, y), img, QRect(0, 0, w, h));
    }
}

void DocumentWindow::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    if (DocumentRecord* doc = app_.State().Core.Doc(fid_))
        doc->WindowClient = Size{width(), height()};
}

void DocumentWindow::closeEvent(QCloseEvent* event) {
    // The document decides: its close asks, frees the slot, and drops this window.
    event->ignore();
    if (fid_ > 0) app_.CloseDocumentCommand(fid_);
}

}  // namespace brv
