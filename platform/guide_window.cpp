#include "platform/guide_window.h"

#include <QCloseEvent>
#include <QHBoxLayout>
#include <QImage>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPainter>
#include <QRegularExpression>
#include <QScopedValueRollback>
#include <QScrollBar>
#include <QVBoxLayout>
#include <algorithm>
#include <optional>
#include <utility>

#include "core/arith.h"
#include "core/view_render.h"
#include "platform/application.h"
#include "platform/qt_text.h"

namespace brv {

namespace {

// The slider's ends: the lowest position its zoom formula gives, and the usual scroll maximum.
constexpr int kSliderMin = 100;
constexpr int kSliderMax = 32767;

// The zoom text is read the way a BASIC Val reads: the number at the start, the rest ignored.
// A text with no number at the start changes nothing.
std::optional<double> LeadingNumber(const QString& text) {
    static const QRegularExpression number(
        QStringLiteral(R"(^\s*[+-]?(\d+\.?\d*|\.\d+)([eE][+-]?\d+)?)"));
    const QRegularExpressionMatch m = number.match(text);
    if (!m.hasMatch()) return std::nullopt;
    bool ok = false;
    const double value = m.captured(0).trimmed().toDouble(&ok);
    return ok ? std::optional<double>(value) : std::nullopt;
}

QRect GdiRectangle(const RectI& r) {
    // The outline covers left .. right - 1 and top .. bottom - 1, as the GDI call draws it.
    return QRect(r.left, r.top, std::max(r.right - r.left - 1, 0),
                 std::max(r.bottom - r.top - 1, 0));
}

}  // namespace

// Picture1: the fitted picture and the viewport frame; reports presses and drags.
class GuideCanvas : public QWidget {
public:
    explicit GuideCanvas(QWidget* parent) : QWidget(parent) {
        setAttribute(Qt::WA_OpaquePaintEvent);
        setFixedSize(kGuideSide, kGuideSide);
    }

    void Show(QImage picture, QPoint at, std::optional<GuideFrame> frame) {
        picture_ = std::move(picture);
        at_ = at;
        frame_ = frame;
        update();
    }

    std::function<void(double x, double y)> OnPress;

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter p(this);
        p.fillRect(rect(), palette().color(QPalette::Dark));
        if (!picture_.isNull()) p.drawImage(at_, picture_);
        if (!frame_) return;
        p.setBrush(Qt::NoBrush);
        p.setPen(QPen(Qt::black, 0));
        p.drawRect(GdiRectangle(frame_->Outer));
        p.setPen(QPen(Qt::white, 0));
        p.drawRect(GdiRectangle(frame_->Inner));
    }
    void mousePressEvent(QMouseEvent* event) override {
        if (event->button() == Qt::LeftButton && OnPress)
            OnPress(event->position().x(), event->position().y());
    }
    void mouseMoveEvent(QMouseEvent* event) override {
        if ((event->buttons() & Qt::LeftButton) && OnPress)
            OnPress(event->position().x(), event->position().y());
    }

private:
    QImage picture_;
    QPoint at_;
    std::optional<GuideFrame> frame_;
};

GuideWindow::GuideWindow(Application& app, QWidget* frame,
                         std::function<void(int32_t fid)> redrawDocument)
    : QWidget(frame, Qt::Tool), app_(app), redrawDocument_(std::move(redrawDocument)) {
    setWindowTitle(QStringLiteral("ガイド"));

    picture1_ = new GuideCanvas(this);
    picture1_->OnPress = [this](double x, double y) { OnPicturePressed(x, y); };

    hscroll2_ = new QScrollBar(Qt::Horizontal, this);
    hscroll2_->setRange(kSliderMin, kSliderMax);
    hscroll2_->setSingleStep(64);
    hscroll2_->setPageStep(1024);
    connect(hscroll2_, &QScrollBar::valueChanged, this, &GuideWindow::OnSliderMoved);

    text1_ = new QLineEdit(this);
    text1_->setFixedWidth(52);
    text1_->setAlignment(Qt::AlignRight);
    connect(text1_, &QLineEdit::returnPressed, this, &GuideWindow::OnTextEntered);

    auto* zoomRow = new QHBoxLayout;
    zoomRow->setContentsMargins(0, 0, 0, 0);
    zoomRow->addWidget(hscroll2_, 1);
    zoomRow->addWidget(text1_);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(4, 4, 4, 4);
    column->setSpacing(4);
    column->addWidget(picture1_, 0, Qt::AlignHCenter);
    column->addLayout(zoomRow);
    column->setSizeConstraint(QLayout::SetFixedSize);

    Refresh(0);
}

GuideWindow::~GuideWindow() = default;

QWidget* GuideWindow::Picture1() const {
    return picture1_;
}

void GuideWindow::Refresh(int32_t fid) {
    CoreState& core = app_.State().Core;
    const DocumentRecord* doc = core.Doc(fid);
    fid_ = doc ? fid : 0;
    hscroll2_->setEnabled(doc != nullptr);
    text1_->setEnabled(doc != nullptr);
    if (!doc) {
        text1_->clear();
        picture1_->Show(QImage(), QPoint(), std::nullopt);
        return;
    }

    const GuideFrame frame = RedrawGuide(*doc, guide_, core.BackgroundTile, false);
    const PixelBuffer& buffer = guide_.GuideBuffer;
    QImage picture;
    if (frame.Composed && !buffer.Empty()) {
        // The buffer's rows run bottom-up.
        picture = QImage(buffer.Bytes().data(), buffer.Width(), buffer.Height(),
                         static_cast<qsizetype>(buffer.Stride()), QImage::Format_RGB32)
                      .mirrored(false, true);
    }
    picture1_->Show(std::move(picture), QPoint(guide_.MarginX, guide_.MarginY), frame);

    const GuideSlider slider = hs2Rev(doc->Zoom);
    text1_->setText(ToQ(slider.Text));
    // While the slider itself is changing the zoom it stays where the user put it.
    if (!guideBusy_) {
        const QScopedValueRollback busy(guideBusy_, true);
        hscroll2_->setValue(slider.Position);
    }
}

void GuideWindow::SetZoom(double zoom) {
    DocumentRecord* doc = app_.State().Core.Doc(fid_);
    if (!doc) return;
    ZoomChange(*doc, zoom, false);
    const int32_t fid = fid_;
    if (redrawDocument_) redrawDocument_(fid);
    Refresh(fid);
}

void GuideWindow::OnSliderMoved(int position) {
    if (guideBusy_) return;
    const QScopedValueRollback busy(guideBusy_, true);
    SetZoom(hs2(position));
}

void GuideWindow::OnTextEntered() {
    const std::optional<double> value = LeadingNumber(text1_->text());
    if (!value) {
        Refresh(fid_);
        return;
    }
    SetZoom(*value / 100.0);
}

void GuideWindow::OnPicturePressed(double x, double y) {
    DocumentRecord* doc = app_.State().Core.Doc(fid_);
    if (!doc) return;
    ChangePos(*doc, guide_, static_cast<int32_t>(Int(x)), static_cast<int32_t>(Int(y)));
    const int32_t fid = fid_;
    if (redrawDocument_) redrawDocument_(fid);
    Refresh(fid);
}

void GuideWindow::closeEvent(QCloseEvent* event) {
    // The window lives as long as the frame; closing it only hides it.
    event->ignore();
    hide();
}

}  // namespace brv
