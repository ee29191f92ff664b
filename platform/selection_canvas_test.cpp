// The selection tools, the clipboard and the edit menu through real document windows.
#include <QApplication>
#include <QClipboard>
#include <QtTest>

#include "core/documents.h"
#include "core/view_render.h"
#include "platform/application.h"
#include "platform/document_window.h"
#include "platform/key_state.h"
#include "platform/main_window.h"
#include "tests/support/fake_host.h"

namespace brv {

class SelectionCanvasTest : public QObject {
    Q_OBJECT

    static ScreenMetrics Screen() {
        ScreenMetrics s;
        s.ScreenWidth = 1024;
        s.ScreenHeight = 768;
        return s;
    }

    static QPoint At(const DocumentRecord& doc, int x, int y) {
        return QPoint(MapXToView(doc, x) + 5, MapYToView(doc, y) + 5);
    }

    static int64_t SelectedCount(const DocumentRecord& doc) {
        return std::count(doc.Selection.bytes.begin(), doc.Selection.bytes.end(), 1);
    }

    static void Trigger(Application& app, const char* caption) {
        QAction* a = app.Frame().FindAction(QString::fromUtf8(caption));
        QVERIFY2(a, caption);
        QVERIFY2(a->isEnabled(), caption);
        a->trigger();
    }

private slots:
    void CopyAndPasteBetweenWindowsKeepAlpha() {
        testing::TempFolder dir;
        Application app(dir.Path(), Screen());
        app.Start("");
        app.State().Core.Settings.AskOnClose = 0;
        QGuiApplication::clipboard()->clear();
        const int32_t a = app.NewDocumentAndShow(16, 16);
        const int32_t b = app.NewDocumentAndShow(16, 16);
        DocumentWindow* viewA = app.Frame().FindDocumentWindow(a);
        DocumentWindow* viewB = app.Frame().FindDocumentWindow(b);
        QVERIFY(viewA && viewB);
        DocumentRecord& docA = app.State().Core.Docs[static_cast<size_t>(a)];
        DocumentRecord& docB = app.State().Core.Docs[static_cast<size_t>(b)];
        docA.Layers[1].Pixels.Fill({10, 20, 30, 128});
        docA.Layers[1].Pixels.Set(5, 5, {200, 100, 50, 60});
        app.Frame().Activate(viewA);
        QVERIFY(QTest::qWaitForWindowExposed(viewA));
        ZoomChange(docA, 10.0, false);
        viewA->RedrawAll();

        // "選択2" from (3, 3) to (7, 6): the rubber band follows, the mask comes at the release.
        docA.Layers[static_cast<size_t>(docA.PenLID)].Tool = 9;
        QWidget* canvas = viewA->Canvas();
        QTest::mousePress(canvas, Qt::LeftButton, {}, At(docA, 3, 3));
        QMouseEvent move(QEvent::MouseMove, At(docA, 7, 6), canvas->mapToGlobal(At(docA, 7, 6)),
                         Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(canvas, &move);
        QCOMPARE(viewA->RubberBand().size(), size_t{5});
        QCOMPARE(SelectedCount(docA), int64_t{0});
        QTest::mouseRelease(canvas, Qt::LeftButton, {}, At(docA, 7, 6));
        QVERIFY(viewA->RubberBand().empty());
        QCOMPARE(SelectedCount(docA), int64_t{20});
        QVERIFY(docA.OutlineCount >= 1);  // the ants have an outline to march along
        QCOMPARE(app.State().Core.ActiveFID, a);

        Trigger(app, "コピー(&C)");
        const QImage onClipboard = QGuiApplication::clipboard()->image();
        QCOMPARE(onClipboard.size(), QSize(5, 4));
        // Other programs see the picture as drawn, alpha and all.
        QCOMPARE(qAlpha(onClipboard.pixel(0, 0)), 128);
        QCOMPARE(onClipboard.pixel(2, 2), qRgba(50, 100, 200, 60));

        // Into the other window: at its corner, with alpha.
        app.Frame().Activate(viewB);
        app.State().Core.ActiveFID = b;
        app.Frame().UpdateMenuBar();
        Trigger(app, "貼り付け");
        QCOMPARE(*docB.Layers[1].Pixels.Get(0, 0), (Bgra{10, 20, 30, 128}));
        QCOMPARE(*docB.Layers[1].Pixels.Get(2, 2), (Bgra{200, 100, 50, 60}));
        QCOMPARE(docB.Layers[1].Pixels.Get(5, 0)->a, uint8_t{0});
        QCOMPARE(docB.UndoPos, 2);

        // Another program's picture: at the corner, its alpha as it comes.
        QImage foreign(3, 2, QImage::Format_ARGB32);
        foreign.fill(qRgba(1, 2, 3, 77));
        QGuiApplication::clipboard()->setImage(foreign);
        Trigger(app, "レイヤーを増やして貼りつけ\tShift+Ctrl+V");
        QCOMPARE(docB.LayerCount(), 2);
        QCOMPARE(docB.ActiveLID, 2);
        QCOMPARE(*docB.Layers[2].Pixels.Get(2, 1), (Bgra{3, 2, 1, 77}));
        QCOMPARE(docB.Layers[2].Pixels.Get(3, 1)->a, uint8_t{0});

        // Back in the first window: the selection goes with "選択範囲を解除".
        app.Frame().Activate(viewA);
        app.State().Core.ActiveFID = a;
        Trigger(app, "選択範囲を解除\tEsc");
        QCOMPARE(SelectedCount(docA), int64_t{0});
        QCOMPARE(docA.OutlineCount, 0);
    }

    void OnlyTheLeftShiftKeyIsTakenForIt() {
        auto shift = [](quint32 keysym) {
            return QKeyEvent(QEvent::KeyPress, Qt::Key_Shift, Qt::ShiftModifier, 0, keysym, 0);
        };
        QVERIFY(LeftShiftWatch::IsLeftShift(shift(0xFFE1)));
        QVERIFY(!LeftShiftWatch::IsLeftShift(shift(0xFFE2)));
        // No native code at all: every Shift counts.
        QVERIFY(LeftShiftWatch::IsLeftShift(shift(0)));
        // Windows: one virtual key, told apart by the scan code.
        QVERIFY(LeftShiftWatch::IsLeftShift(
            QKeyEvent(QEvent::KeyPress, Qt::Key_Shift, Qt::ShiftModifier, 0x2A, 0x10, 0)));
        QVERIFY(!LeftShiftWatch::IsLeftShift(
            QKeyEvent(QEvent::KeyPress, Qt::Key_Shift, Qt::ShiftModifier, 0x36, 0x10, 0)));

        LeftShiftWatch watch;
        QWidget w;
        QKeyEvent right = shift(0xFFE2);
        QApplication::sendEvent(&w, &right);
        QVERIFY(!watch.Down());
        QKeyEvent left = shift(0xFFE1);
        QApplication::sendEvent(&w, &left);
        QVERIFY(watch.Down());
        QKeyEvent up(QEvent::KeyRelease, Qt::Key_Shift, Qt::NoModifier, 0, 0xFFE1, 0);
        QApplication::sendEvent(&w, &up);
        QVERIFY(!watch.Down());
    }
};

}  // namespace brv

QTEST_MAIN(brv::SelectionCanvasTest)
#include "selection_canvas_test.moc"
