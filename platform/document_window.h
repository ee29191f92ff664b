// Form1: the window of one document inside the frame. It knows its document only by FID; once
// the document is closed the window is detached (FID 0) and late events find nothing.
//
// The picture comes from the view logic: RedrawAll composites what the canvas shows and
// RedrawDirty a changed rectangle of it; the window only draws the block and its overlays.
#pragma once

#include <QImage>
#include <QScrollBar>
#include <QWidget>
#include <optional>
#include <vector>

#include "core/view_render.h"
#include "tools/freehand.h"

namespace brv {

class Application;
class DocumentCanvas;

class DocumentWindow : public QWidget {
    Q_OBJECT
public:
    DocumentWindow(Application& app, int32_t fid);

    int32_t Fid() const { return fid_; }
    void Detach() { fid_ = 0; }
    void SetCaption(const QString& caption);

    // The client area of the document: the canvas without the scroll bars.
    QSize ClientSize() const;
    // Composites the whole view anew (after a zoom, scroll, resize or a structural change).
    void RedrawAll();
    // Composites a changed rectangle of the document, in document pixels.
    void RedrawDirty(RectI dirty);
    // The timer's overlays for this window (ants and hot spot).
    void SetTimerFrame(const TimerFrame& frame);
    // The selection's rubber band in client pixels, until the next whole redraw.
    void SetRubberBand(std::vector<PointI> points);
    const std::vector<PointI>& RubberBand() const { return rubberBand_; }

    DocumentCanvas* Canvas() { return canvas_; }
    const ViewFrame& Frame() const { return frame_; }
    const QImage& Block() const { return block_; }
    const TimerFrame& Overlay() const { return overlay_; }

protected:
    void resizeEvent(QResizeEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    void LayOut();
    void SyncScrollBars();
    void OnScroll();
    void TakeFrame(const ViewFrame& frame);

    Application& app_;
    int32_t fid_ = 0;
    DocumentCanvas* canvas_ = nullptr;
    QScrollBar* hbar_ = nullptr;
    QScrollBar* vbar_ = nullptr;
    bool syncing_ = false;
    ViewFrame frame_;
    QImage block_;  // ViewPixels turned top-down
    TimerFrame overlay_;
    std::vector<PointI> rubberBand_;
};

// The drawing surface of a document window; it also reports the pointer to the status line.
class DocumentCanvas : public QWidget {
    Q_OBJECT
public:
    DocumentCanvas(Application& app, DocumentWindow& window);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    void ShowPointer(QPointF pos);
    void Carry(const CanvasActions& actions, QPointF pos);
    PaintContext Context();

    bool penIsDown_ = false;
    Application& app_;
    DocumentWindow& window_;
};

}  // namespace brv
