#include "platform/document_window.h"

#include <QCloseEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QStyle>

#include "actions/action_codec.h"
#include "core/compositor.h"
#include "core/documents.h"
#include "core/sprites.h"
#include "core/undo_store.h"
#include "formats/ico_codec.h"
#include "platform/application.h"
#include "platform/main_window.h"
#include "platform/qt_image.h"

namespace brv {

namespace {

constexpr int kScrollMax = 32767;

QColor ColorOf(int32_t word) {
    const Bgra c = ColorWordToBgra(word);
    return QColor(c.r, c.g, c.b);
}

QPen PenOf(PenStyle style, int32_t color) {
    QPen pen(ColorOf(color));
    pen.setWidth(0);
    pen.setStyle(style == PenStyle::Dot ? Qt::DotLine : Qt::SolidLine);
    return pen;
}

// Draws polylines given as points cut by counts.
void DrawPolylines(QPainter& p, const std::vector<PointI>& points,
                   const std::vector<int32_t>& counts) {
    size_t at = 0;
    for (int32_t n : counts) {
        if (n < 1 || at + static_cast<size_t>(n) > points.size()) break;
        QPolygon poly;
        for (int32_t i = 0; i < n; ++i)
            poly << QPoint(points[at + i].x, points[at + i].y);
        p.drawPolyline(poly);
        at += static_cast<size_t>(n);
    }
}

}  // namespace

DocumentWindow::DocumentWindow(Application& app, int32_t fid) : app_(app), fid_(fid) {
    setMinimumSize(32, 32);
    canvas_ = new DocumentCanvas(app, *this);
    hbar_ = new QScrollBar(Qt::Horizontal, this);
    vbar_ = new QScrollBar(Qt::Vertical, this);
    for (QScrollBar* bar : {hbar_, vbar_}) {
        bar->setRange(0, kScrollMax);
        bar->setSingleStep(kScrollMax / 50);
        bar->setPageStep(kScrollMax / 5);
        bar->hide();
        connect(bar, &QScrollBar::valueChanged, this, &DocumentWindow::OnScroll);
    }
    setFocusProxy(canvas_);
}

void DocumentWindow::SetCaption(const QString& caption) {
    setWindowTitle(caption);
    if (parentWidget()) parentWidget()->setWindowTitle(caption);
}

QSize DocumentWindow::ClientSize() const {
    return canvas_->size();
}

void DocumentWindow::LayOut() {
    const DocumentRecord* doc = app_.State().Core.Doc(fid_);
    const int extent = style()->pixelMetric(QStyle::PM_ScrollBarExtent);
    int w = width(), h = height();
    bool needH = false, needV = false;
    if (doc) {
        const int zw = ZoomedWidth(*doc) + 1, zh = ZoomedHeight(*doc) + 1;
        // A bar takes room from the other direction, which may call for the other bar.
        for (int pass = 0; pass < 2; ++pass) {
            needH = zw > w - (needV ? extent : 0);
            needV = zh > h - (needH ? extent : 0);
        }
    }
    const int cw = std::max(1, w - (needV ? extent : 0));
    const int ch = std::max(1, h - (needH ? extent : 0));
    canvas_->setGeometry(0, 0, cw, ch);
    hbar_->setVisible(needH);
    vbar_->setVisible(needV);
    if (needH) hbar_->setGeometry(0, ch, cw, extent);
    if (needV) vbar_->setGeometry(cw, 0, extent, ch);
}

void DocumentWindow::SyncScrollBars() {
    const DocumentRecord* doc = app_.State().Core.Doc(fid_);
    if (!doc) return;
    syncing_ = true;
    hbar_->setValue(doc->HScrollPos);
    vbar_->setValue(doc->VScrollPos);
    syncing_ = false;
}

void DocumentWindow::OnScroll() {
    if (syncing_) return;
    DocumentRecord* doc = app_.State().Core.Doc(fid_);
    if (!doc) return;
    doc->HScrollPos = hbar_->value();
    doc->VScrollPos = vbar_->value();
    RedrawAll();
    app_.Frame().RefreshToolWindows(fid_);
}

void DocumentWindow::TakeFrame(const ViewFrame& frame) {
    frame_ = frame;
    const DocumentRecord* doc = app_.State().Core.Doc(fid_);
    if (frame.Action == ViewAction::Paint && doc && !doc->ViewPixels.Empty()) {
        const PixelBuffer& v = doc->ViewPixels;
        QImage bottomUp(v.Bytes().data(), v.Width(), v.Height(), static_cast<qsizetype>(v.Stride()),
                        QImage::Format_RGB32);
        block_ = bottomUp.mirrored(false, true);
    } else if (frame.Action == ViewAction::Clear) {
        block_ = QImage();
    }
}

void DocumentWindow::RedrawAll() {
    DocumentRecord* doc = app_.State().Core.Doc(fid_);
    if (!doc) return;
    LayOut();
    SyncScrollBars();
    const QSize c = ClientSize();
    doc->WindowClient = Size{c.width(), c.height()};
    rubberBand_.clear();
    TakeFrame(brv::RedrawAll(*doc, doc->WindowClient, app_.State().Core.BackgroundTile,
                             app_.Frame().Timer().AntsPhase));
    canvas_->update();
}

void DocumentWindow::RedrawDirty(RectI dirty) {
    DocumentRecord* doc = app_.State().Core.Doc(fid_);
    if (!doc) return;
    const QSize c = ClientSize();
    ViewFrame f =
        brv::RedrawDirty(*doc, app_.Host(), Size{c.width(), c.height()},
                         app_.State().Core.BackgroundTile, app_.Frame().Timer().AntsPhase, dirty);
    if (f.Action == ViewAction::Keep) return;
    TakeFrame(f);
    canvas_->update();
}

void DocumentWindow::SetRubberBand(std::vector<PointI> points) {
    rubberBand_ = std::move(points);
    canvas_->update();
}

void DocumentWindow::SetTimerFrame(const TimerFrame& frame) {
    overlay_ = frame;
    canvas_->update();
}

void DocumentWindow::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    RedrawAll();
}

void DocumentWindow::closeEvent(QCloseEvent* event) {
    // The document decides: its close asks, frees the slot, and drops this window.
    event->ignore();
    if (fid_ > 0) app_.CloseDocumentCommand(fid_);
}

DocumentCanvas::DocumentCanvas(Application& app, DocumentWindow& window)
    : QWidget(&window), app_(app), window_(window) {
    setAttribute(Qt::WA_OpaquePaintEvent);
    setMouseTracking(true);
    setFocusPolicy(Qt::StrongFocus);
}

void DocumentCanvas::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.fillRect(rect(), palette().brush(QPalette::Dark));
    const DocumentRecord* doc = app_.State().Core.Doc(window_.Fid());
    const ViewFrame& f = window_.Frame();
    if (!doc || f.Action != ViewAction::Paint || window_.Block().isNull()) return;
    p.drawImage(QPoint(f.BlockOrigin.x, f.BlockOrigin.y), window_.Block());
    if (f.Grid) {
        p.setPen(PenOf(f.Grid->Style, f.Grid->Color));
        DrawPolylines(p, f.Grid->Points, f.Grid->Counts);
    }
    // The timer's passes replace the redraw's once it has ticked.
    const auto& ants = window_.Overlay().Ants.empty() ? f.Ants : window_.Overlay().Ants;
    for (const AntsPass& pass : ants) {
        p.setPen(PenOf(pass.Style, pass.Color));
        DrawPolylines(p, doc->OutlinePoints, doc->OutlineLengths);
        DrawPolylines(p, doc->OutlineShadow, doc->OutlineLengths);
    }
    if (const auto& mark = window_.Overlay().Hotspot) {
        // The marker inverts what is under it: a raster AND with its mask, then XOR.
        const SpriteSheet& sheet = HotspotSprites();
        const int size = sheet.FrameSize;
        const PixelBuffer& pic = sheet.Picture;
        QImage all(pic.Bytes().data(), pic.Width(), pic.Height(),
                   static_cast<qsizetype>(pic.Stride()), QImage::Format_RGB32);
        const QPoint at(mark->Corner.x, mark->Corner.y);
        p.setCompositionMode(QPainter::RasterOp_SourceAndDestination);
        p.drawImage(at, all, QRect(mark->SpriteX, size, size, size));
        p.setCompositionMode(QPainter::RasterOp_SourceXorDestination);
        p.drawImage(at, all, QRect(mark->SpriteX, 0, size, size));
        p.setCompositionMode(QPainter::CompositionMode_SourceOver);
    }
    if (const auto& band = window_.RubberBand(); band.size() >= 2) {
        const std::vector<int32_t> counts{static_cast<int32_t>(band.size())};
        p.setPen(PenOf(PenStyle::Solid, 0x000000));
        DrawPolylines(p, band, counts);
        p.setPen(PenOf(PenStyle::Dot, 0xFFFFFF));
        DrawPolylines(p, band, counts);
    }
}

namespace {

int32_t ButtonsOf(Qt::MouseButtons buttons) {
    return (buttons & Qt::LeftButton ? kLeftButton : 0) |
           (buttons & Qt::RightButton ? kRightButton : 0);
}

int32_t ShiftOf(Qt::KeyboardModifiers m) {
    return (m & Qt::ShiftModifier ? kShiftKey : 0) | (m & Qt::ControlModifier ? kCtrlKey : 0) |
           (m & Qt::AltModifier ? kAltKey : 0);
}

// A cursor file of the Cursors folder as the window's pointer; nullopt when it can't be read,
// and the pointer then stays as it is.
std::optional<QCursor> CursorFromFile(const std::string& path) {
    PixelBuffer picture;
    int32_t hotX = 0, hotY = 0;
    if (IconC().LoadIcon(path, 1, picture, hotX, hotY, true) < 0) return std::nullopt;
    FlipAndInvert(picture, true, true);
    return QCursor(QPixmap::fromImage(ToQImage(picture)), hotX, hotY);
}

}  // namespace

PaintContext DocumentCanvas::Context() {
    AppState& s = app_.State();
    const PatternLibraries* patterns = &s.Patterns;
    return PaintContext{
        s.Core,
        s.Freehand,
        [patterns](int32_t i) { return PatternPixels(patterns->GraphicPenList, i); },
        [patterns](int32_t i) { return PatternPixels(patterns->FillPatternList, i); },
        [](const PixelBuffer& picture) { return EncodeByteImage(picture); },
        [](const SelectionMask& mask) { return EncodeByteImage(mask); }};
}

void DocumentCanvas::mousePressEvent(QMouseEvent* event) {
    const int32_t fid = window_.Fid();
    if (!app_.State().Core.Doc(fid)) return;
    app_.State().Core.ActiveFID = fid;
    penIsDown_ = true;
    const QPointF pos = event->position();
    const ScreenMetrics& screen = app_.State().Core.Screen;
    Carry(PenStep(Context(), fid, ButtonsOf(event->button()), ShiftOf(event->modifiers()),
                  pos.x() * screen.TwipsPerPixelX, pos.y() * screen.TwipsPerPixelY,
                  app_.Host().Milliseconds()),
          pos);
}

void DocumentCanvas::mouseMoveEvent(QMouseEvent* event) {
    const QPointF pos = event->position();
    ShowPointer(pos);
    if (!penIsDown_) return;
    const int32_t fid = window_.Fid();
    if (!app_.State().Core.Doc(fid)) return;
    const ScreenMetrics& screen = app_.State().Core.Screen;
    Carry(CanvasDrag(Context(), fid, ButtonsOf(event->buttons()), ShiftOf(event->modifiers()),
                     pos.x() * screen.TwipsPerPixelX, pos.y() * screen.TwipsPerPixelY,
                     app_.Host().Milliseconds()),
          pos);
}

void DocumentCanvas::mouseReleaseEvent(QMouseEvent* event) {
    if (!penIsDown_) return;
    penIsDown_ = false;
    const int32_t fid = window_.Fid();
    if (!app_.State().Core.Doc(fid)) return;
    const QPointF pos = event->position();
    const ScreenMetrics& screen = app_.State().Core.Screen;
    // Only the left Shift key adds to a selection, and only as the button comes up.
    int32_t shift = ShiftOf(event->modifiers());
    if ((shift & kShiftKey) && app_.LeftShift().Down()) shift |= kLeftShiftKey;
    Carry(
        CanvasUp(Context(), fid, ButtonsOf(event->button()), shift, pos.x() * screen.TwipsPerPixelX,
                 pos.y() * screen.TwipsPerPixelY, app_.Host().Milliseconds()),
        pos);
}

void DocumentCanvas::Carry(const CanvasActions& a, QPointF pos) {
    const int32_t fid = window_.Fid();
    if (a.RedrawAll || a.FullRefresh || a.UpdateScrollBars)
        window_.RedrawAll();
    else if (a.RefreshRect)
        window_.RedrawDirty(*a.RefreshRect);
    if (a.RubberBand) window_.SetRubberBand(*a.RubberBand);
    if (a.SaveUndo) SaveUndo(app_.State().Core, app_.Host(), fid);
    if (a.RefreshRect || a.RefreshLayerWindow || a.SaveUndo || a.FullRefresh)
        app_.Frame().RefreshToolWindows(fid);
    if (!a.CursorFile.empty()) {
        if (auto cursor = CursorFromFile(a.CursorFile)) setCursor(*cursor);
    }
    if (a.DefaultCursor) unsetCursor();
    if (a.ShowPenState) app_.Frame().Pen()->ShowPenState(fid);
    if (a.OpenContextMenu) app_.Frame().ShowCanvasMenu(mapToGlobal(pos.toPoint()));
}

void DocumentCanvas::ShowPointer(QPointF pos) {
    const CoreState& core = app_.State().Core;
    const int32_t fid = window_.Fid();
    const DocumentRecord* doc = core.Doc(fid);
    if (!doc) return;
    const int32_t x = ViewToImageXEx(core, fid, pos.x() * core.Screen.TwipsPerPixelX, -1, -1);
    const int32_t y = ViewToImageYEx(core, fid, pos.y() * core.Screen.TwipsPerPixelY, -1, -1);
    QString text = QStringLiteral("X:%1 Y:%2").arg(x).arg(y);
    if (auto c = PixelUnderPointer(*doc, x, y))
        text += QStringLiteral("   R:%1 G:%2 B:%3 A:%4").arg(c->r).arg(c->g).arg(c->b).arg(c->a);
    app_.Frame().SetStatusText(text);
}

}  // namespace brv
