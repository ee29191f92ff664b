// The fill and shape tools driven with the mouse through a real document window's canvas.
#include <QApplication>
#include <QtTest>

#include "core/documents.h"
#include "core/undo_store.h"
#include "core/view_render.h"
#include "platform/application.h"
#include "platform/document_window.h"
#include "platform/main_window.h"
#include "tests/support/fake_host.h"

namespace brv {

class ToolsCanvasTest : public QObject {
    Q_OBJECT

    static ScreenMetrics Screen() {
        ScreenMetrics s;
        s.ScreenWidth = 1024;
        s.ScreenHeight = 768;
        return s;
    }

    struct Canvas {
        Application& app;
        DocumentRecord& doc;
        QWidget* widget;

        QPoint At(int x, int y) const {
            return QPoint(MapXToView(doc, x) + 5, MapYToView(doc, y) + 5);
        }
        void Drag(int x, int y, Qt::MouseButtons held = Qt::LeftButton) const {
            QMouseEvent move(QEvent::MouseMove, At(x, y), widget->mapToGlobal(At(x, y)),
                             Qt::NoButton, held, Qt::NoModifier);
            QApplication::sendEvent(widget, &move);
        }
        LayerRecord& Pen() const { return doc.Layers[static_cast<size_t>(doc.PenLID)]; }
        const PixelBuffer& Pixels() const { return doc.Layers[1].Pixels; }
    };

private slots:
    void FillAndShapesThroughTheCanvas() {
        testing::TempFolder dir;
        Application app(dir.Path(), Screen());
        app.Start("");
        app.State().Core.Settings.AskOnClose = 0;
        const int32_t fid = app.NewDocumentAndShow(16, 16);
        DocumentWindow* view = app.Frame().FindDocumentWindow(fid);
        QVERIFY(view);
        QVERIFY(QTest::qWaitForWindowExposed(view));
        DocumentRecord& doc = app.State().Core.Docs[static_cast<size_t>(fid)];
        ZoomChange(doc, 10.0, false);
        view->RedrawAll();
        const Canvas c{app, doc, view->Canvas()};

        // A rectangle, opaque red, one pixel wide, soft off.
        c.Pen().Tool = 10;
        c.Pen().PenParams(1, 1) = 1;
        c.Pen().PenParams(1, 4) = 0;
        c.Pen().PenColor = 0x0000FF;
        c.Pen().PenTransparency = 0;
        QTest::mousePress(c.widget, Qt::LeftButton, {}, c.At(2, 2));
        c.Drag(12, 12);
        c.Drag(9, 8);
        QTest::mouseRelease(c.widget, Qt::LeftButton, {}, c.At(9, 8));
        QCOMPARE(*c.Pixels().Get(2, 5), (Bgra{0, 0, 255, 255}));
        QCOMPARE(*c.Pixels().Get(9, 8), (Bgra{0, 0, 255, 255}));
        QCOMPARE(c.Pixels().Get(12, 12)->a, uint8_t{0});  // the first outline went away
        QCOMPARE(c.Pixels().Get(5, 5)->a, uint8_t{0});
        QCOMPARE(doc.UndoPos, 2);

        // Fill inside it with green: the outline stops the fill.
        c.Pen().Tool = 5;
        c.Pen().PenColor = 0x00FF00;
        c.Pen().PenParams(5, 1) = 0;
        c.Pen().PenParams(5, 2) = 255;
        c.Pen().PenParams(5, 3) = 0;
        c.Pen().PenParams(5, 4) = 0;
        QTest::mousePress(c.widget, Qt::LeftButton, {}, c.At(5, 5));
        QTest::mouseRelease(c.widget, Qt::LeftButton, {}, c.At(5, 5));
        QCOMPARE(*c.Pixels().Get(5, 5), (Bgra{0, 255, 0, 255}));
        QCOMPARE(*c.Pixels().Get(8, 7), (Bgra{0, 255, 0, 255}));
        QCOMPARE(*c.Pixels().Get(2, 2), (Bgra{0, 0, 255, 255}));
        QCOMPARE(c.Pixels().Get(0, 0)->a, uint8_t{0});
        QCOMPARE(doc.UndoPos, 3);
        // What the window shows follows the layer.
        view->RedrawAll();

        // A line, then an ellipse cancelled by the right button: the picture is as before.
        c.Pen().Tool = 4;
        QTest::mousePress(c.widget, Qt::LeftButton, {}, c.At(0, 14));
        c.Drag(15, 14);
        QTest::mouseRelease(c.widget, Qt::LeftButton, {}, c.At(15, 14));
        QCOMPARE(c.Pixels().Get(7, 14)->a, uint8_t{255});
        const PixelBuffer before = c.Pixels();
        c.Pen().Tool = 14;
        QTest::mousePress(c.widget, Qt::LeftButton, {}, c.At(1, 1));
        c.Drag(14, 12);
        QVERIFY(c.Pixels() != before);
        QTest::mousePress(c.widget, Qt::RightButton, {}, c.At(14, 12));
        QCOMPARE(c.Pixels(), before);
        QTest::mouseRelease(c.widget, Qt::LeftButton, {}, c.At(14, 12));
        QCOMPARE(c.Pixels(), before);

        // Undo takes the fill's step back as a whole.
        QVERIFY(Undo(app.State().Core, fid) == 0);
        QVERIFY(Undo(app.State().Core, fid) == 0);
        QVERIFY(Undo(app.State().Core, fid) == 0);
        QCOMPARE(doc.Layers[1].Pixels.Get(5, 5)->a, uint8_t{0});
        QCOMPARE(*doc.Layers[1].Pixels.Get(2, 5), (Bgra{0, 0, 255, 255}));
    }
};

}  // namespace brv

QTEST_MAIN(brv::ToolsCanvasTest)
#include "tools_canvas_test.moc"
