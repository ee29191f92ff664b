// The guide and layer windows driven as a user drives them: clicks, drags, the zoom slider and
// the zoom text, checked on the document they change.
#include <QApplication>
#include <QLineEdit>
#include <QMouseEvent>
#include <QScrollBar>
#include <QSignalSpy>
#include <QtTest>
#include <memory>

#include "core/documents.h"
#include "core/layer_ops.h"
#include "core/sprites.h"
#include "core/view_render.h"
#include "platform/application.h"
#include "platform/guide_window.h"
#include "platform/layer_window.h"
#include "platform/main_window.h"
#include "tests/support/fake_host.h"

namespace brv {

namespace {

// An application with one document, and the document window's redraw played by the view
// routine itself so the guide sees a real view.
struct Scene {
    testing::TempFolder dir;
    std::unique_ptr<Application> app;
    int32_t fid = 0;
    std::vector<int32_t> redraws;

    Scene(int32_t width, int32_t height, int32_t layers) {
        ScreenMetrics screen;
        screen.ScreenWidth = 1024;
        screen.ScreenHeight = 768;
        app = std::make_unique<Application>(dir.Path(), screen);
        app->Start("");
        app->State().Core.Settings.AskOnClose = 0;
        fid = app->NewDocumentAndShow(width, height);
        for (int32_t k = 1; k < layers; ++k)
            LayerAdd(app->State().Core, fid);
        Doc().Zoom = 1.0;
        Doc().WindowClient = {200, 200};
        Redraw(fid);
    }

    DocumentRecord& Doc() { return app->State().Core.Docs[static_cast<size_t>(fid)]; }
    void Redraw(int32_t f) {
        if (DocumentRecord* d = app->State().Core.Doc(f))
            RedrawAll(*d, d->WindowClient, app->State().Core.BackgroundTile, 0);
    }
    std::function<void(int32_t)> RedrawCallback() {
        return [this](int32_t f) {
            redraws.push_back(f);
            Redraw(f);
        };
    }
    // The windows beside the frame, shown with the document.
    std::unique_ptr<LayerWindow> List(int height, LayerWindow::Clock clock = {}) {
        auto list =
            std::make_unique<LayerWindow>(*app, &app->Frame(), RedrawCallback(), std::move(clock));
        list->resize(176, height);
        list->show();
        list->Refresh(fid);
        return list;
    }
    std::unique_ptr<GuideWindow> Guide() {
        auto guide = std::make_unique<GuideWindow>(*app, &app->Frame(), RedrawCallback());
        guide->show();
        guide->Refresh(fid);
        return guide;
    }
};

void SendMouse(QWidget* w, QEvent::Type type, QPoint at, Qt::MouseButton button,
               Qt::MouseButtons buttons) {
    QMouseEvent e(type, QPointF(at), w->mapToGlobal(QPointF(at)), button, buttons, Qt::NoModifier);
    QApplication::sendEvent(w, &e);
}
void Press(QWidget* w, QPoint at) {
    SendMouse(w, QEvent::MouseButtonPress, at, Qt::LeftButton, Qt::LeftButton);
}
void DragTo(QWidget* w, QPoint at) {
    SendMouse(w, QEvent::MouseMove, at, Qt::NoButton, Qt::LeftButton);
}
void Release(QWidget* w, QPoint at) {
    SendMouse(w, QEvent::MouseButtonRelease, at, Qt::LeftButton, Qt::NoButton);
}
void Click(QWidget* w, QPoint at) {
    Press(w, at);
    Release(w, at);
}

QRgb PixelOf(QWidget* w, QPoint at) {
    return w->grab().toImage().pixel(at);
}

bool HasColour(QWidget* w, QRect area, QRgb colour) {
    const QImage image = w->grab().toImage();
    for (int y = area.top(); y <= area.bottom(); ++y)
        for (int x = area.left(); x <= area.right(); ++x)
            if (image.pixel(x, y) == colour) return true;
    return false;
}

// The eye as the list should show it: closed at source x 0, open at 16.
QImage EyeFrame(int32_t sourceX) {
    const PixelBuffer& eyes = EyeSprites();
    return QImage(eyes.Bytes().data(), eyes.Width(), eyes.Height(),
                  static_cast<qsizetype>(eyes.Stride()), QImage::Format_RGB32)
        .copy(sourceX, 0, 16, 16);
}

QImage Region(QWidget* w, QRect area) {
    return w->grab().toImage().copy(area).convertToFormat(QImage::Format_RGB32);
}

// Each layer in a colour of its own, so a thumbnail tells which layer it is.
void PaintLayers(DocumentRecord& doc) {
    const Bgra colours[] = {{0, 0, 0, 0}, {255, 0, 0, 255}, {0, 255, 0, 255}, {0, 0, 255, 255}};
    for (int32_t lid = 1; lid <= doc.LayerCount(); ++lid)
        doc.Layers[static_cast<size_t>(lid)].Pixels.Fill(colours[lid % 4]);
}

}  // namespace

class PanelsTest : public QObject {
    Q_OBJECT

private slots:
    void EyeSwitchesOnceAndTakesAnUndoPoint() {
        Scene s(16, 16, 3);
        const auto listWindow = s.List(300);
        LayerWindow& list = *listWindow;
        DocumentRecord& doc = s.Doc();
        doc.ActiveLID = 3;
        const int32_t undoBefore = doc.UndoPos;
        QWidget* canvas = list.Picture1();

        // Row 2 holds LID 2; its eye covers x 62..77 and y 54+34 .. 54+49.
        const QRect eye2(62, 88, 16, 16);
        QCOMPARE(Region(canvas, eye2), EyeFrame(16));
        Press(canvas, {77, 103});
        QCOMPARE(doc.Layers[2].Visible, 0);
        QCOMPARE(Region(canvas, eye2), EyeFrame(0));
        QCOMPARE(doc.UndoPos, undoBefore + 1);
        QCOMPARE(s.redraws, std::vector<int32_t>{s.fid});
        // The rest of the gesture, a double click included, switches nothing more.
        DragTo(canvas, {150, 10});
        Release(canvas, {150, 10});
        SendMouse(canvas, QEvent::MouseButtonDblClick, {77, 103}, Qt::LeftButton, Qt::LeftButton);
        Release(canvas, {77, 103});
        QCOMPARE(doc.Layers[2].Visible, 0);
        QCOMPARE(doc.UndoPos, undoBefore + 1);
        QCOMPARE(doc.ActiveLID, 3);
        QVERIFY(!list.Dragging());

        Click(canvas, {62, 88});
        QCOMPARE(doc.Layers[2].Visible, 1);
        QCOMPARE(doc.UndoPos, undoBefore + 2);
        // Just beside the eye is the row itself.
        Click(canvas, {78, 103});
        Click(canvas, {70, 87});
        QCOMPARE(doc.Layers[2].Visible, 1);
        QCOMPARE(doc.UndoPos, undoBefore + 2);
        QCOMPARE(doc.ActiveLID, 2);
        QCOMPARE(s.redraws.size(), size_t{2});
    }

    void ClickSelectsTheRowsLayerAndPaintsItActive() {
        Scene s(16, 16, 3);
        const auto listWindow = s.List(300);
        LayerWindow& list = *listWindow;
        QSignalSpy selected(&list, &LayerWindow::ActiveLayerChanged);
        DocumentRecord& doc = s.Doc();
        // A thumbnail stands upright: the layer's top half at the top of its 48 pixels.
        for (int32_t y = 0; y < 16; ++y)
            for (int32_t x = 0; x < 16; ++x)
                doc.Layers[3].Pixels.Set(x, y, y < 8 ? Bgra{0, 0, 255, 255} : Bgra{255, 0, 0, 255});
        list.Refresh(s.fid);
        QCOMPARE(PixelOf(list.Picture1(), {28, 3 + 10}), QColor(255, 0, 0).rgb());
        QCOMPARE(PixelOf(list.Picture1(), {28, 3 + 40}), QColor(0, 0, 255).rgb());
        doc.PenLID = 3;
        const int32_t undoBefore = doc.UndoPos;

        Click(list.Picture1(), {150, 54 + 10});
        QCOMPARE(doc.ActiveLID, 2);
        QCOMPARE(doc.PenLID, 1);
        QCOMPARE(doc.UndoPos, undoBefore);
        QVERIFY(s.redraws.empty());
        QCOMPARE(selected.count(), 1);
        QCOMPARE(selected.at(0).at(0).toInt(), s.fid);
        const QRgb highlight = list.palette().color(QPalette::Highlight).rgb();
        QCOMPARE(PixelOf(list.Picture1(), {150, 60}), highlight);
        QVERIFY(PixelOf(list.Picture1(), {150, 10}) != highlight);

        // Below the last row the bottom layer is meant.
        Click(list.Picture1(), {150, 250});
        QCOMPARE(doc.ActiveLID, 1);
        QVERIFY(list.VScroll1()->isHidden());
    }

    void ScrolledListMapsClicksWithTheScroll() {
        Scene s(16, 16, 3);
        const auto listWindow = s.List(100);
        LayerWindow& list = *listWindow;
        QCOMPARE(list.Picture1()->height(), 100);
        // Three rows are 162 pixels: 62 more than the height.
        QVERIFY(!list.VScroll1()->isHidden());
        QCOMPARE(list.VScroll1()->maximum(), 62);
        list.VScroll1()->setValue(62);
        Click(list.Picture1(), {150, 0});
        QCOMPARE(s.Doc().ActiveLID, 2);
        Click(list.Picture1(), {150, 99});
        QCOMPARE(s.Doc().ActiveLID, 1);
        // (30 + 62) mod 54 = 38: the eye of LID 2.
        Click(list.Picture1(), {70, 30});
        QCOMPARE(s.Doc().Layers[2].Visible, 0);

        list.resize(176, 170);
        QTRY_VERIFY(list.VScroll1()->isHidden());
        Click(list.Picture1(), {150, 0});
        QCOMPARE(s.Doc().ActiveLID, 3);

        // An empty list takes no clicks.
        list.Refresh(0);
        Click(list.Picture1(), {70, 40});
        QCOMPARE(s.Doc().Layers[3].Visible, 1);
        QCOMPARE(s.Doc().ActiveLID, 3);
    }

    void DragFromTopRowToBottomRowMovesTheLayer() {
        Scene s(16, 16, 3);
        int64_t now = 1000;
        const auto listWindow = s.List(300, [&now] { return now; });
        LayerWindow& list = *listWindow;
        DocumentRecord& doc = s.Doc();
        PaintLayers(doc);
        doc.Layers[3].OffsetX = 4;
        list.Refresh(s.fid);
        const int32_t undoBefore = doc.UndoPos;
        QWidget* canvas = list.Picture1();
        // The moved layer's offsets are written in red, the others' in white.
        const QRgb red = QColor(255, 0, 0).rgb();
        const QRgb white = QColor(255, 255, 255).rgb();
        QVERIFY(HasColour(canvas, {62, 2, 90, 18}, red));
        QVERIFY(!HasColour(canvas, {62, 54 + 2, 90, 18}, red));
        QVERIFY(HasColour(canvas, {62, 54 + 2, 90, 18}, white));

        Press(canvas, {150, 10});
        QCOMPARE(doc.ActiveLID, 3);
        now += 499;
        DragTo(canvas, {150, 20});  // 10 pixels down, 499 ms: still a press
        QVERIFY(!list.Dragging());
        now += 1;
        DragTo(canvas, {150, 20});
        QVERIFY(list.Dragging());
        QCOMPARE(canvas->cursor().shape(), Qt::ClosedHandCursor);
        DragTo(canvas, {150, 130});
        QCOMPARE(list.DragTarget(), 1);
        // The list shows the move; the document doesn't have it yet.
        QCOMPARE(PixelOf(canvas, {20, 20}), QColor(0, 255, 0).rgb());   // was LID 2
        QCOMPARE(PixelOf(canvas, {20, 74}), QColor(0, 0, 255).rgb());   // was LID 1
        QCOMPARE(PixelOf(canvas, {20, 128}), QColor(255, 0, 0).rgb());  // the dragged one
        QCOMPARE(PixelOf(canvas, {150, 130}), list.palette().color(QPalette::Highlight).rgb());
        QCOMPARE(doc.Layers[3].Pixels.Get(0, 0), (Bgra{0, 0, 255, 255}));
        QVERIFY(s.redraws.empty());

        Release(canvas, {150, 130});
        QVERIFY(!list.Dragging());
        QVERIFY(canvas->cursor().shape() != Qt::ClosedHandCursor);
        QCOMPARE(doc.Layers[1].Pixels.Get(0, 0), (Bgra{0, 0, 255, 255}));
        QCOMPARE(doc.Layers[1].OffsetX, 4);
        QCOMPARE(doc.Layers[2].Pixels.Get(0, 0), (Bgra{255, 0, 0, 255}));
        QCOMPARE(doc.Layers[3].Pixels.Get(0, 0), (Bgra{0, 255, 0, 255}));
        QCOMPARE(doc.ActiveLID, 1);
        QCOMPARE(doc.UndoPos, undoBefore + 1);
        QCOMPARE(s.redraws, std::vector<int32_t>{s.fid});
        QCOMPARE(PixelOf(canvas, {20, 128}), QColor(255, 0, 0).rgb());
    }

    void DragStartsWhenThePointerLeavesTheBox() {
        Scene s(16, 16, 3);
        int64_t now = 0;
        const auto listWindow = s.List(300, [&now] { return now; });
        LayerWindow& list = *listWindow;
        list.Refresh(s.fid);
        DocumentRecord& doc = s.Doc();
        const int32_t undoBefore = doc.UndoPos;
        QWidget* canvas = list.Picture1();

        // Within 10 pixels both ways the press stays a press, and its release changes nothing.
        Press(canvas, {150, 64});
        DragTo(canvas, {140, 74});
        DragTo(canvas, {160, 54});
        QVERIFY(!list.Dragging());
        Release(canvas, {160, 54});
        QCOMPARE(doc.ActiveLID, 2);
        QCOMPARE(doc.UndoPos, undoBefore);

        Press(canvas, {150, 64});
        DragTo(canvas, {150, 53});
        QVERIFY(list.Dragging());
        QCOMPARE(list.DragTarget(), 3);
        Release(canvas, {150, 53});
        QCOMPARE(doc.ActiveLID, 3);
        QCOMPARE(doc.UndoPos, undoBefore + 1);

        // A drag that ends on its own row moves nothing.
        Press(canvas, {150, 10});
        DragTo(canvas, {139, 10});
        QVERIFY(list.Dragging());
        Release(canvas, {139, 10});
        QCOMPARE(doc.UndoPos, undoBefore + 1);
    }

    void KeysInTheToolWindowsReachTheFrame() {
        Scene s(16, 16, 1);
        s.app->Frame().activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&s.app->Frame()));
        const auto listWindow = s.List(300);
        const auto guideWindow = s.Guide();
        LayerWindow& list = *listWindow;
        GuideWindow& guide = *guideWindow;
        Click(list.Picture1(), {70, 40});
        QCOMPARE(s.Doc().Layers[1].Visible, 0);
        QCOMPARE(s.Doc().UndoPos, 2);

        list.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&list));
        QTest::keyClick(list.Picture1(), Qt::Key_Z, Qt::ControlModifier);
        QCOMPARE(s.Doc().UndoPos, 1);
        QCOMPARE(s.Doc().Layers[1].Visible, 1);

        guide.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&guide));
        QTest::keyClick(guide.Picture1(), Qt::Key_R, Qt::ControlModifier);
        QCOMPARE(s.Doc().UndoPos, 2);
        QCOMPARE(s.Doc().Layers[1].Visible, 0);
    }

    void GuideSliderAndTextSetTheZoomWithinItsLimits() {
        Scene s(64, 32, 1);
        const auto guideWindow = s.Guide();
        GuideWindow& guide = *guideWindow;
        DocumentRecord& doc = s.Doc();
        QScrollBar* slider = guide.HScroll2();
        QLineEdit* text = guide.Text1();
        // (1 * 2^36) ^ (1/3) = 4096.
        QCOMPARE(slider->value(), 4096);
        QCOMPARE(text->text(), QStringLiteral("100"));
        QVERIFY(s.redraws.empty());

        slider->setValue(8192);  // (8192 / 4096) ^ 3
        QCOMPARE(doc.Zoom, 8.0);
        QCOMPARE(text->text(), QStringLiteral("800"));
        QCOMPARE(s.redraws, std::vector<int32_t>{s.fid});
        QVERIFY(!guide.GuideBusy());

        // The lowest position is far below the least zoom; the slider stays where it was put
        // until the next refresh brings it to the zoom's own position.
        slider->setValue(slider->minimum());
        QCOMPARE(doc.Zoom, 0.1);
        QCOMPARE(text->text(), QStringLiteral("10"));
        QCOMPARE(slider->value(), 100);
        guide.Refresh(s.fid);
        QCOMPARE(slider->value(), 1901);  // 4096 * 0.1 ^ (1/3) = 1901.19
        QCOMPARE(s.redraws.size(), size_t{2});

        slider->setValue(slider->maximum());  // (32767 / 4096) ^ 3 = 511.9
        QCOMPARE(doc.Zoom, 500.0);
        QCOMPARE(text->text(), QStringLiteral("50000"));

        text->setText(QStringLiteral("250"));
        QTest::keyClick(text, Qt::Key_Return);
        QCOMPARE(doc.Zoom, 2.5);
        QCOMPARE(slider->value(), 5559);  // 4096 * 2.5 ^ (1/3) = 5559.13
        QCOMPARE(text->text(), QStringLiteral("250"));
        const size_t redrawsSoFar = s.redraws.size();

        text->setText(QStringLiteral("100000"));
        QTest::keyClick(text, Qt::Key_Return);
        QCOMPARE(doc.Zoom, 500.0);
        text->setText(QStringLiteral(" 0.5"));
        QTest::keyClick(text, Qt::Key_Return);
        QCOMPARE(doc.Zoom, 0.1);
        text->setText(QStringLiteral("150%"));
        QTest::keyClick(text, Qt::Key_Return);
        QCOMPARE(doc.Zoom, 1.5);
        QCOMPARE(s.redraws.size(), redrawsSoFar + 3);
        // No number: the zoom stays and the box shows it again.
        text->setText(QStringLiteral("abc"));
        QTest::keyClick(text, Qt::Key_Return);
        QCOMPARE(doc.Zoom, 1.5);
        QCOMPARE(text->text(), QStringLiteral("150"));
        QCOMPARE(s.redraws.size(), redrawsSoFar + 3);
    }

    void GuideShowsThePictureAndItsFrame() {
        Scene s(64, 32, 1);
        PixelBuffer& pixels = s.Doc().Layers[1].Pixels;
        pixels.Fill({10, 20, 30, 255});
        for (int32_t x = 0; x < 64; ++x) {
            pixels.Set(x, 0, {200, 100, 0, 255});
            pixels.Set(x, 1, {200, 100, 0, 255});
        }
        s.Redraw(s.fid);
        const auto guideWindow = s.Guide();
        GuideWindow& guide = *guideWindow;
        // The whole document shows: the frame is the fitted picture, 128 by 64 from y 32.
        QWidget* p = guide.Picture1();
        QCOMPARE(PixelOf(p, {0, 32}), QColor(Qt::black).rgb());
        QCOMPARE(PixelOf(p, {127, 95}), QColor(Qt::black).rgb());
        QCOMPARE(PixelOf(p, {1, 33}), QColor(Qt::white).rgb());
        QCOMPARE(PixelOf(p, {126, 94}), QColor(Qt::white).rgb());
        QCOMPARE(PixelOf(p, {2, 40}), QColor(30, 20, 10).rgb());
        QCOMPARE(PixelOf(p, {64, 64}), QColor(30, 20, 10).rgb());
        // The document's top rows are on top, two guide rows each (the frame covers the first).
        QCOMPARE(PixelOf(p, {64, 35}), QColor(0, 100, 200).rgb());
        QCOMPARE(PixelOf(p, {64, 92}), QColor(30, 20, 10).rgb());
        const QRgb ground = guide.palette().color(QPalette::Dark).rgb();
        QCOMPARE(PixelOf(p, {64, 31}), ground);
        QCOMPARE(PixelOf(p, {64, 96}), ground);

        guide.Refresh(0);
        QCOMPARE(PixelOf(p, {64, 64}), ground);
        QVERIFY(guide.Text1()->text().isEmpty());
        QVERIFY(!guide.HScroll2()->isEnabled());
        Click(p, {64, 64});
        QVERIFY(s.redraws.empty());
    }

    void GuideClickAndDragMoveTheView() {
        Scene s(64, 32, 1);
        s.Doc().Zoom = 4.0;
        s.Doc().WindowClient = {100, 100};
        s.Redraw(s.fid);
        const auto guideWindow = s.Guide();
        GuideWindow& guide = *guideWindow;
        DocumentRecord& doc = s.Doc();
        QWidget* p = guide.Picture1();

        // Fitted 128 by 64 with a top margin of 32; 64 / 128 * 32767 = 16383.5, to even.
        Press(p, {64, 64});
        QCOMPARE(doc.HScrollPos, 16384);
        QCOMPARE(doc.VScrollPos, 16384);
        QCOMPARE(s.redraws, std::vector<int32_t>{s.fid});
        DragTo(p, {200, 5});
        QCOMPARE(doc.HScrollPos, 32767);
        QCOMPARE(doc.VScrollPos, 0);
        Release(p, {200, 5});
        // The frame follows the view redrawn before it: left (255 - 100.75) / 4 * 2 = 77.1,
        // right 77.1 + 100.75 / 4 * 127 / 64 = 127.1, bottom 32 + 100 / 4 * 63 / 32 = 81.2.
        QCOMPARE(guide.Guide().Viewport, (RectI{77, 32, 127, 81}));
        QCOMPARE(PixelOf(p, {77, 32}), QColor(Qt::black).rgb());
        QCOMPARE(PixelOf(p, {126, 80}), QColor(Qt::black).rgb());
        // A move without the button is only a move.
        SendMouse(p, QEvent::MouseMove, {10, 40}, Qt::NoButton, Qt::NoButton);
        QCOMPARE(doc.HScrollPos, 32767);
        QCOMPARE(s.redraws.size(), size_t{2});
    }

    // With BRV_GRAB_DIR set, both windows of a document of three layers, one moved and one
    // hidden, go to PNG files there for a look.
    void GrabBothWindows() {
        const QString dir = qEnvironmentVariable("BRV_GRAB_DIR");
        if (dir.isEmpty()) QSKIP("BRV_GRAB_DIR not set");
        Scene s(48, 32, 3);
        DocumentRecord& doc = s.Doc();
        doc.Layers[1].Pixels.Fill({200, 120, 40, 255});
        PixelBuffer& disc = doc.Layers[2].Pixels;
        for (int32_t y = 0; y < 32; ++y)
            for (int32_t x = 0; x < 48; ++x)
                if ((x - 16) * (x - 16) + (y - 16) * (y - 16) < 144)
                    disc.Set(x, y, {40, 40, 230, 200});
        doc.Layers[2].OffsetX = 12;
        doc.Layers[2].OffsetY = -4;
        for (int32_t y = 4; y < 28; ++y)
            for (int32_t x = 30; x < 44; ++x)
                doc.Layers[3].Pixels.Set(x, y, {60, 200, 60, 255});
        doc.Layers[3].Visible = 0;
        doc.ActiveLID = 2;
        doc.Zoom = 3.0;
        doc.HScrollPos = 16000;
        doc.WindowClient = {100, 80};
        s.Redraw(s.fid);
        const auto list = s.List(190);
        const auto guide = s.Guide();
        QVERIFY(list->grab().save(dir + QStringLiteral("/brv_layer_window.png")));
        QVERIFY(guide->grab().save(dir + QStringLiteral("/brv_guide_window.png")));
    }
};

}  // namespace brv

QTEST_MAIN(brv::PanelsTest)
#include "panels_test.moc"
