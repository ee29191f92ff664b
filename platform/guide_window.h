// Form2: the guide window. A floating tool window with the whole picture of a document fitted
// into 128 by 128, the part the document window shows framed on it, a zoom slider and a zoom
// text box in percent.
//
//   GuideWindow guide(app, &frame, [&](int32_t fid) { RedrawDocumentWindow(fid); });
//   guide.Refresh(fid);  // after every change of the document, its view or its zoom
//
// A click or drag in the picture moves the document's view there; the slider and the text box
// set the zoom. Each of those redraws the document through the callback and then the guide.
// The slider and the refresh would set each other off; while one of them runs the window is
// busy and the other leaves the slider alone.
#pragma once

#include <QWidget>
#include <functional>

#include "core/view_panels.h"

class QLineEdit;
class QScrollBar;

namespace brv {

class Application;
class GuideCanvas;

class GuideWindow : public QWidget {
    Q_OBJECT
public:
    GuideWindow(Application& app, QWidget* frame, std::function<void(int32_t fid)> redrawDocument);
    ~GuideWindow() override;

    // Shows a document: its picture, the viewport, the slider and the text from its zoom. FID 0
    // or a closed one empties the window.
    void Refresh(int32_t fid);

    int32_t Fid() const { return fid_; }
    bool GuideBusy() const { return guideBusy_; }
    const GuideView& Guide() const { return guide_; }

    // The controls by their names, for the frame and the tests.
    QWidget* Picture1() const;
    QScrollBar* HScroll2() const { return hscroll2_; }
    QLineEdit* Text1() const { return text1_; }

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void OnSliderMoved(int position);
    void OnTextEntered();
    void OnPicturePressed(double x, double y);
    // Applies a zoom to the shown document, redraws it and then this window.
    void SetZoom(double zoom);

    Application& app_;
    std::function<void(int32_t fid)> redrawDocument_;
    int32_t fid_ = 0;
    bool guideBusy_ = false;
    GuideView guide_;

    GuideCanvas* picture1_ = nullptr;
    QScrollBar* hscroll2_ = nullptr;
    QLineEdit* text1_ = nullptr;
};

}  // namespace brv
