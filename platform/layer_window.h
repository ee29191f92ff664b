// Form4: the layer window. A floating tool window listing the layers of a document in rows of
// 54 pixels, top layer first, each with its thumbnail, its offset, and an eye that shows or
// hides it.
//
//   LayerWindow layers(app, &frame, [&](int32_t fid) { RedrawDocumentWindow(fid); });
//   connect(&layers, &LayerWindow::ActiveLayerChanged, &pen, &PenWindow::ShowPenState);
//   layers.Refresh(fid);  // after every change of the document
//
// A press on an eye switches the layer at once and takes an undo point; a press elsewhere
// selects the layer. Holding the button for 500 ms, or moving it more than 10 pixels from the
// press, starts a drag: the list shows the row at its new place, and the release moves the
// layer in the document.
#pragma once

#include <QElapsedTimer>
#include <QImage>
#include <QPoint>
#include <QWidget>
#include <functional>
#include <vector>

#include "core/view_panels.h"

class QScrollBar;

namespace brv {

class Application;
class LayerListCanvas;

class LayerWindow : public QWidget {
    Q_OBJECT
public:
    // Milliseconds from any fixed start; the drag's delay is measured with it.
    using Clock = std::function<int64_t()>;

    // Without a clock the window uses its own elapsed timer.
    LayerWindow(Application& app, QWidget* frame, std::function<void(int32_t fid)> redrawDocument,
                Clock clock = {});
    ~LayerWindow() override;

    // Shows a document's layers: thumbnails made again, the scroll bar by its rule. FID 0 or a
    // closed one empties the list.
    void Refresh(int32_t fid);

    int32_t Fid() const { return fid_; }
    // Whether a drag is under way, and where it would put the layer.
    bool Dragging() const { return gesture_.Dragging; }
    int32_t DragTarget() const { return gesture_.ToLid; }

    // The controls by their names, for the frame and the tests.
    QWidget* Picture1() const;
    QScrollBar* VScroll1() const { return vscroll1_; }

signals:
    // The user chose a layer in the list (the pen now follows layer 1 of the document).
    void ActiveLayerChanged(int32_t fid);

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    friend class LayerListCanvas;

    // From the first press until every button is up.
    struct Gesture {
        bool Active = false;
        bool OnEye = false;  // the press switched an eye; the rest of the gesture does nothing
        bool Dragging = false;
        int64_t PressTime = 0;
        QPoint PressAt;
        int32_t FromLid = 0;
        int32_t ToLid = 0;
    };

    void OnPress(QPoint at);
    void OnMove(QPoint at, bool buttonDown);
    void OnRelease(bool anyButtonDown);

    int32_t Scroll() const;
    int32_t LidAt(int32_t y) const;
    void UpdateScrollBar();
    // The rows as the list shows them now: during a drag, as they will be after the move.
    // retShown[k] is the LID of the document whose picture the row of LID k shows.
    LayerListLayout ShownLayout(std::vector<int32_t>& retShown) const;

    Application& app_;
    std::function<void(int32_t fid)> redrawDocument_;
    Clock clock_;
    QElapsedTimer elapsed_;  // the clock when none is given
    int32_t fid_ = 0;
    Gesture gesture_;
    std::vector<QImage> thumbnails_;  // by LID

    LayerListCanvas* picture1_ = nullptr;
    QScrollBar* vscroll1_ = nullptr;
};

}  // namespace brv
