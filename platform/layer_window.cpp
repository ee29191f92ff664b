#include "platform/layer_window.h"

#include <QCloseEvent>
#include <QHBoxLayout>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>
#include <cstdlib>
#include <numeric>

#include "core/arith.h"
#include "core/layer_ops.h"
#include "core/sprites.h"
#include "core/undo_store.h"
#include "platform/application.h"
#include "platform/qt_text.h"

namespace brv {

namespace {

constexpr int64_t kDragDelayMs = 500;
constexpr int kDragBox = 10;  // pixels either way from the press
constexpr int kListWidth = 160;
constexpr int kTextHeight = 18;
// The offsets are written in white when unmoved, so the rows stand on a dark ground.
const QColor kListGround(48, 48, 48);

QColor FromColorRef(int32_t bgr) {
    return QColor(bgr & 255, (bgr >> 8) & 255, (bgr >> 16) & 255);
}

QImage ImageOf(const PixelBuffer& p) {
    return QImage(p.Bytes().data(), p.Width(), p.Height(), static_cast<qsizetype>(p.Stride()),
                  QImage::Format_RGB32);
}

const QImage& EyeImage() {
    static const QImage eyes = ImageOf(EyeSprites()).copy();
    return eyes;
}

}  // namespace

// Picture1: the rows of the list. It draws what the window lays out and hands the mouse back.
class LayerListCanvas : public QWidget {
public:
    explicit LayerListCanvas(LayerWindow& owner) : QWidget(&owner), owner_(owner) {
        setAttribute(Qt::WA_OpaquePaintEvent);
        setMinimumSize(kListWidth, kLayerRowHeight);
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter p(this);
        p.fillRect(rect(), kListGround);
        std::vector<int32_t> shown;
        const LayerListLayout list = owner_.ShownLayout(shown);
        for (const LayerRow& row : list.Rows) {
            if (row.Active)
                p.fillRect(0, row.Top, width(), kLayerRowHeight,
                           palette().color(QPalette::Highlight));
            const auto source = static_cast<size_t>(shown[static_cast<size_t>(row.Lid)]);
            if (source < owner_.thumbnails_.size() && !owner_.thumbnails_[source].isNull())
                p.drawImage(row.ThumbnailAt.x, row.ThumbnailAt.y, owner_.thumbnails_[source]);
            p.setPen(FromColorRef(row.OffsetColor));
            p.drawText(QRect(row.OffsetTextAt.x, row.OffsetTextAt.y, width(), kTextHeight),
                       Qt::AlignLeft | Qt::AlignTop, ToQ(row.OffsetText));
            p.setPen(Qt::white);
            p.drawText(QRect(row.ShowLabelAt.x, row.ShowLabelAt.y, width(), kTextHeight),
                       Qt::AlignLeft | Qt::AlignTop, ToQ(row.ShowLabel));
            p.drawImage(QPoint(row.EyeAt.x, row.EyeAt.y), EyeImage(),
                        QRect(row.EyeSourceX, 0, 16, 16));
        }
    }
    void resizeEvent(QResizeEvent*) override { owner_.UpdateScrollBar(); }
    void mousePressEvent(QMouseEvent* event) override {
        if (event->button() == Qt::LeftButton) owner_.OnPress(PixelOf(event));
    }
    void mouseMoveEvent(QMouseEvent* event) override {
        owner_.OnMove(PixelOf(event), (event->buttons() & Qt::LeftButton) != 0);
    }
    void mouseReleaseEvent(QMouseEvent* event) override {
        owner_.OnRelease(event->buttons() != Qt::NoButton);
    }
    // The second press of a double click is not a new press: an eye switches once.
    void mouseDoubleClickEvent(QMouseEvent* event) override { event->accept(); }

private:
    static QPoint PixelOf(const QMouseEvent* event) {
        return QPoint(static_cast<int>(Int(event->position().x())),
                      static_cast<int>(Int(event->position().y())));
    }

    LayerWindow& owner_;
};

LayerWindow::LayerWindow(Application& app, QWidget* frame,
                         std::function<void(int32_t fid)> redrawDocument, Clock clock)
    : QWidget(frame, Qt::Tool),
      app_(app),
      redrawDocument_(std::move(redrawDocument)),
      clock_(std::move(clock)) {
    if (!clock_) {
        elapsed_.start();
        clock_ = [this] { return elapsed_.elapsed(); };
    }
    setWindowTitle(QStringLiteral("レイヤー"));
    QFont f = font();
    f.setPixelSize(12);
    setFont(f);

    picture1_ = new LayerListCanvas(*this);
    vscroll1_ = new QScrollBar(Qt::Vertical, this);
    vscroll1_->setSingleStep(kLayerRowHeight / 3);
    vscroll1_->hide();
    connect(vscroll1_, &QScrollBar::valueChanged, picture1_, qOverload<>(&QWidget::update));

    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(0);
    row->addWidget(picture1_, 1);
    row->addWidget(vscroll1_);
    resize(kListWidth + 16, 5 * kLayerRowHeight);

    Refresh(0);
}

LayerWindow::~LayerWindow() = default;

QWidget* LayerWindow::Picture1() const {
    return picture1_;
}

void LayerWindow::Refresh(int32_t fid) {
    CoreState& core = app_.State().Core;
    const DocumentRecord* doc = core.Doc(fid);
    const int32_t shown = doc ? fid : 0;
    if (shown != fid_ && gesture_.Active) {
        // Another document came up in the middle of a drag: the drag no longer applies.
        gesture_ = Gesture{};
        picture1_->unsetCursor();
    }
    fid_ = shown;
    thumbnails_.clear();
    if (doc) {
        thumbnails_.resize(static_cast<size_t>(std::max(doc->LayerCount(), 0)) + 1);
        for (int32_t lid = 1; lid <= doc->LayerCount(); ++lid) {
            const PixelBuffer thumb =
                LayerThumbnail(doc->Layers[static_cast<size_t>(lid)], core.BackgroundTile);
            // Thumbnails come bottom-up.
            if (!thumb.Empty())
                thumbnails_[static_cast<size_t>(lid)] = ImageOf(thumb).mirrored(false, true);
        }
    }
    UpdateScrollBar();
    picture1_->update();
}

int32_t LayerWindow::Scroll() const {
    return vscroll1_->isHidden() ? 0 : vscroll1_->value();
}

void LayerWindow::UpdateScrollBar() {
    const DocumentRecord* doc = app_.State().Core.Doc(fid_);
    const int32_t height = picture1_->height();
    const LayerListLayout list = doc ? LayoutLayerList(*doc, height, 0) : LayerListLayout{};
    vscroll1_->setRange(0, list.ScrollBarVisible ? list.ScrollMax : 0);
    vscroll1_->setPageStep(std::max(height, 1));
    vscroll1_->setVisible(list.ScrollBarVisible);
    picture1_->update();
}

int32_t LayerWindow::LidAt(int32_t y) const {
    const DocumentRecord* doc = app_.State().Core.Doc(fid_);
    if (!doc) return 0;
    const double tpp = app_.State().Core.Screen.TwipsPerPixelY;
    return GetLID(doc->LayerCount(), y * tpp, tpp, Scroll());
}

LayerListLayout LayerWindow::ShownLayout(std::vector<int32_t>& retShown) const {
    retShown.clear();
    const DocumentRecord* doc = app_.State().Core.Doc(fid_);
    if (!doc) return {};
    const int32_t n = std::max(doc->LayerCount(), 0);
    retShown.resize(static_cast<size_t>(n) + 1);
    std::iota(retShown.begin(), retShown.end(), 0);
    const Gesture& g = gesture_;
    const bool moved = g.Dragging && g.FromLid != g.ToLid && g.FromLid >= 1 && g.FromLid <= n &&
                       g.ToLid >= 1 && g.ToLid <= n;
    if (!moved) return LayoutLayerList(*doc, picture1_->height(), Scroll());

    // The order the move will leave, on a stand-in document that carries no pixels.
    retShown.erase(retShown.begin() + g.FromLid);
    retShown.insert(retShown.begin() + g.ToLid, g.FromLid);
    DocumentRecord preview;
    preview.Layers.resize(retShown.size());
    for (size_t k = 1; k < retShown.size(); ++k) {
        const LayerRecord& from = doc->Layers[static_cast<size_t>(retShown[k])];
        preview.Layers[k].Visible = from.Visible;
        preview.Layers[k].OffsetX = from.OffsetX;
        preview.Layers[k].OffsetY = from.OffsetY;
    }
    preview.ActiveLID = g.ToLid;
    return LayoutLayerList(preview, picture1_->height(), Scroll());
}

void LayerWindow::OnPress(QPoint at) {
    if (gesture_.Active) return;  // another button within the same gesture
    CoreState& core = app_.State().Core;
    DocumentRecord* doc = core.Doc(fid_);
    if (!doc || doc->LayerCount() < 1) return;
    const ScreenMetrics& screen = core.Screen;
    const int32_t lid = LidAt(at.y());
    const int32_t fid = fid_;
    gesture_ = Gesture{};
    gesture_.Active = true;

    if (GetIconPos(at.x() * screen.TwipsPerPixelX, at.y() * screen.TwipsPerPixelY,
                   screen.TwipsPerPixelX, screen.TwipsPerPixelY, Scroll()) == 1) {
        gesture_.OnEye = true;
        LayerRecord& layer = doc->Layers[static_cast<size_t>(lid)];
        layer.Visible = 1 - layer.Visible;  // layers keep 1 and 0; the switch is this sum
        Refresh(fid);
        if (redrawDocument_) redrawDocument_(fid);
        SaveUndo(core, app_.Host(), fid);
        return;
    }

    gesture_.PressTime = clock_();
    gesture_.PressAt = at;
    gesture_.FromLid = lid;
    gesture_.ToLid = lid;
    doc->ActiveLID = lid;
    doc->PenLID = 1;  // intended: the pen follows the bottom layer, not the one chosen
    picture1_->update();
    emit ActiveLayerChanged(fid);
}

void LayerWindow::OnMove(QPoint at, bool buttonDown) {
    if (!gesture_.Active || gesture_.OnEye || !buttonDown) return;
    if (!gesture_.Dragging) {
        const QPoint d = at - gesture_.PressAt;
        const bool held = clock_() - gesture_.PressTime >= kDragDelayMs;
        const bool left = std::abs(d.x()) > kDragBox || std::abs(d.y()) > kDragBox;
        if (!held && !left) return;
        gesture_.Dragging = true;
        picture1_->setCursor(Qt::ClosedHandCursor);
    }
    gesture_.ToLid = LidAt(at.y());
    picture1_->update();
}

void LayerWindow::OnRelease(bool anyButtonDown) {
    if (anyButtonDown) return;
    const Gesture g = gesture_;
    gesture_ = Gesture{};
    if (!g.Dragging) return;
    picture1_->unsetCursor();
    picture1_->update();
    const int32_t fid = fid_;
    if (!app_.State().Core.Doc(fid)) return;
    LayerChangePos(app_.State().Core, app_.Host(), fid, g.FromLid, g.ToLid, false);
    if (redrawDocument_) redrawDocument_(fid);
    Refresh(fid);
}

void LayerWindow::closeEvent(QCloseEvent* event) {
    // Closing only hides the window; the frame keeps it for the next time.
    event->ignore();
    hide();
}

}  // namespace brv
