// Form1: the window of one document inside the frame. It knows its document only by FID; once
// the document is closed the window is detached (FID 0) and late events find nothing.
#pragma once

#include <QWidget>

namespace brv {

class Application;

class DocumentWindow : public QWidget {
    Q_OBJECT
public:
    DocumentWindow(Application& app, int32_t fid);

    int32_t Fid() const { return fid_; }
    void Detach() { fid_ = 0; }
    void SetCaption(const QString& caption);

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    Application& app_;
    int32_t fid_ = 0;
};

}  // namespace brv
