// The frame as a user meets it: menus, the new image dialog, closing with the question.
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QMdiSubWindow>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>
#include <QtTest>
#include <functional>

#include "core/documents.h"
#include "core/file_io.h"
#include "core/undo_store.h"
#include "core/view_render.h"
#include "platform/application.h"
#include "platform/document_window.h"
#include "platform/main_window.h"
#include "platform/new_image_dialog.h"
#include "platform/setting_dialog.h"
#include "tests/support/fake_host.h"

namespace brv {

class FrameTest : public QObject {
    Q_OBJECT

    // Runs `act` on the next modal dialog as soon as it shows.
    static void OnNextModal(std::function<void(QWidget*)> act) {
        auto* timer = new QTimer;
        timer->setInterval(20);
        QObject::connect(timer, &QTimer::timeout, [timer, act] {
            if (QWidget* modal = QApplication::activeModalWidget()) {
                timer->stop();
                timer->deleteLater();
                act(modal);
            }
        });
        timer->start();
    }

    static void ClickButton(QWidget* box, QMessageBox::StandardButton which) {
        auto* mb = qobject_cast<QMessageBox*>(box);
        QVERIFY(mb);
        mb->button(which)->click();
    }

    static ScreenMetrics Screen() {
        ScreenMetrics s;
        s.ScreenWidth = 1024;
        s.ScreenHeight = 768;
        return s;
    }

private slots:
    void FrameMenuUntilADocumentOpens() {
        testing::TempFolder dir;
        Application app(dir.Path(), Screen());
        app.Start("");
        const QList<QAction*> tops = app.Frame().menuBar()->actions();
        QCOMPARE(tops.size(), 4);
        QCOMPARE(tops[0]->text(), QStringLiteral("ファイル(&F)"));
        QVERIFY(app.Frame().FindAction(QStringLiteral("新規作成(&A)"))->isEnabled());
        QVERIFY(!app.Frame().FindAction(QStringLiteral("アイコンを編集(&I)"))->isEnabled());
        QCOMPARE(app.Frame().FindAction(QStringLiteral("新規作成(&A)"))->shortcut(),
                 QKeySequence(QStringLiteral("Ctrl+N")));

        app.NewDocumentAndShow(16, 16);
        QCOMPARE(app.Frame().menuBar()->actions().size(), 7);
        QCOMPARE(app.Frame().menuBar()->actions()[1]->text(), QStringLiteral("編集(&E)"));
    }

    void NewImageDialogMakesADocumentAndCloseAsks() {
        testing::TempFolder dir;
        Application app(dir.Path(), Screen());
        app.Start("");

        // An out-of-range width keeps the dialog open with the message; then a good size.
        OnNextModal([](QWidget* w) {
            auto* dialog = qobject_cast<NewImageDialog*>(w);
            QVERIFY(dialog);
            dialog->WidthEdit()->setText(QStringLiteral("2049"));
            dialog->HeightEdit()->setText(QStringLiteral("24"));
            OnNextModal([dialog](QWidget* box) {
                QCOMPARE(qobject_cast<QMessageBox*>(box)->text(),
                         QStringLiteral("数値が範囲外です。"));
                ClickButton(box, QMessageBox::Ok);
                QTimer::singleShot(0, dialog, [dialog] {
                    QVERIFY(dialog->isVisible());
                    dialog->WidthEdit()->setText(QStringLiteral("48"));
                    dialog->accept();
                });
            });
            dialog->accept();
        });
        app.Frame().FindAction(QStringLiteral("新規作成(&A)"))->trigger();

        const int32_t fid = app.State().Core.ActiveFID;
        QCOMPARE(fid, 1);
        const DocumentRecord* doc = app.State().Core.Doc(fid);
        QVERIFY(doc);
        QCOMPARE(doc->Width, 48);
        QCOMPARE(doc->Height, 24);
        DocumentWindow* view = app.Frame().FindDocumentWindow(fid);
        QVERIFY(view);
        QCOMPARE(view->windowTitle(), QStringLiteral("新規ファイル [48 x 24]"));

        // A changed document asks before closing; the answer No closes without saving.
        app.State().Core.Docs[fid].Modified = kYes;
        QString asked;
        OnNextModal([&asked](QWidget* box) {
            asked = qobject_cast<QMessageBox*>(box)->text();
            ClickButton(box, QMessageBox::No);
        });
        QVERIFY(!qobject_cast<QMdiSubWindow*>(view->parentWidget())->close());
        QCOMPARE(asked,
                 QStringLiteral("新規ファイル[48 x 24]は操作されています。\n保存しますか？"));
        QVERIFY(app.State().Core.Doc(fid) == nullptr);
        QVERIFY(app.Frame().FindDocumentWindow(fid) == nullptr);
        QCOMPARE(app.Frame().menuBar()->actions().size(), 4);
    }

    void LayerCommandsTakeUndoPointsAndUndoTakesThemBack() {
        testing::TempFolder dir;
        Application app(dir.Path(), Screen());
        app.Start("");
        app.State().Core.Settings.AskOnClose = 0;
        app.Frame().activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&app.Frame()));
        const int32_t fid = app.NewDocumentAndShow(8, 8);
        const DocumentRecord& doc = *app.State().Core.Doc(fid);
        QCOMPARE(doc.UndoPos, 1);
        QCOMPARE(doc.Modified, kNo);
        app.Frame().FindAction(QStringLiteral("レイヤーを増やす(&A)"))->trigger();
        app.Frame().FindAction(QStringLiteral("レイヤーを増やす(&A)"))->trigger();
        QCOMPARE(doc.LayerCount(), 3);
        QCOMPARE(doc.UndoPos, 3);
        // The hand-made shortcut of the caption moves the active top layer down.
        QTest::keyClick(&app.Frame(), Qt::Key_Down, Qt::ControlModifier);
        QCOMPARE(doc.ActiveLID, 2);
        QCOMPARE(doc.UndoPos, 4);
        QTest::keyClick(&app.Frame(), Qt::Key_Z, Qt::ControlModifier);
        QTest::keyClick(&app.Frame(), Qt::Key_Z, Qt::ControlModifier);
        QCOMPARE(doc.LayerCount(), 2);
        QCOMPARE(doc.UndoPos, 2);
        QTest::keyClick(&app.Frame(), Qt::Key_R, Qt::ControlModifier);
        QCOMPARE(doc.LayerCount(), 3);
    }

    void StrokeOnTheCanvasPaintsRecordsAndIsOneUndoStep() {
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

        app.Frame().FindAction(QStringLiteral("アクション記録開始\tShift+A"))->trigger();
        QVERIFY(app.Frame().FindAction(QStringLiteral("アクション記録終了  Shift+A")));

        QWidget* canvas = view->Canvas();
        auto at = [&](int x, int y) {
            return QPoint(MapXToView(doc, x) + 5, MapYToView(doc, y) + 5);
        };
        QTest::mousePress(canvas, Qt::LeftButton, {}, at(2, 3));
        QMouseEvent move(QEvent::MouseMove, at(6, 3), canvas->mapToGlobal(at(6, 3)), Qt::NoButton,
                         Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(canvas, &move);
        QTest::mouseRelease(canvas, Qt::LeftButton, {}, at(6, 3));

        const PixelBuffer& px = doc.Layers[1].Pixels;
        // Each segment stops short of its new point, so the stroke's last point has no stamp.
        for (int x = 2; x <= 5; ++x)
            QCOMPARE(px.Get(x, 3)->a, uint8_t{255});
        QCOMPARE(px.Get(6, 3)->a, uint8_t{0});
        QCOMPARE(px.Get(2, 4)->a, uint8_t{0});
        QCOMPARE(doc.UndoPos, 2);
        const auto& lines = app.State().Core.Recorder.ActionLines;
        QVERIFY(lines.size() >= 3);
        QCOMPARE(QString::fromStdString(lines[1]),
                 QStringLiteral("DrawPen,1,1,2,3,0,0,1,-32767,-32767,1,0,0,0,0,0,0"));
        QVERIFY(
            QString::fromStdString(lines.back()).startsWith(QStringLiteral("DrawPen,1,1,6,3,")));

        // One undo takes the whole stroke back.
        QVERIFY(Undo(app.State().Core, fid) == 0);
        for (int x = 2; x <= 6; ++x)
            QCOMPARE(doc.Layers[1].Pixels.Get(x, 3)->a, uint8_t{0});
    }

    // The shipped data folders as they lie beside the executable.
    static void CopyStarterData(const std::string& appFolder) {
        for (const char* folder : {"GraphicPens", "FillDatas", "Cursors"}) {
            const QDir from(QStringLiteral(BRV_SOURCE_DIR "/data/") + QString::fromUtf8(folder));
            QDir(QString::fromStdString(appFolder)).mkpath(QString::fromUtf8(folder));
            for (const QString& name : from.entryList(QDir::Files))
                QFile::copy(from.filePath(name), QString::fromStdString(appFolder) + "/" +
                                                     QString::fromUtf8(folder) + "/" + name);
        }
    }

    void StarterPatternsReachThePenWindowAndThePanShowsTheMoveCursor() {
        testing::TempFolder dir;
        CopyStarterData(dir.Path());
        Application app(dir.Path(), Screen());
        app.Start("");
        app.State().Core.Settings.AskOnClose = 0;
        // Every shipped stamp and tile is readable by our own loader.
        const auto count = [](const char* folder) {
            return static_cast<size_t>(QDir(QStringLiteral(BRV_SOURCE_DIR "/data/") + folder)
                                           .entryList(QDir::Files)
                                           .size());
        };
        QCOMPARE(app.State().Patterns.GraphicPenList.size(), count("GraphicPens") + 1);
        QCOMPARE(app.State().Patterns.FillPatternList.size(), count("FillDatas") + 1);
        QVERIFY(app.Frame().Pen());

        const int32_t fid = app.NewDocumentAndShow(64, 64);
        DocumentWindow* view = app.Frame().FindDocumentWindow(fid);
        QVERIFY(QTest::qWaitForWindowExposed(view));
        QWidget* canvas = view->Canvas();
        QCOMPARE(canvas->cursor().shape(), Qt::ArrowCursor);
        QTest::mousePress(canvas, Qt::RightButton, {}, QPoint(20, 20));
        QCOMPARE(canvas->cursor().shape(), Qt::BitmapCursor);
        QCOMPARE(canvas->cursor().hotSpot(), QPoint(15, 15));
        // Held past the context menu's 400 ms: a pan, and the pointer comes back.
        QTest::qWait(450);
        QTest::mouseRelease(canvas, Qt::RightButton, {}, QPoint(40, 40));
        QCOMPARE(canvas->cursor().shape(), Qt::ArrowCursor);
    }

    void SettingsDialogChecksRangesAndKeepsTheCopyUntilOk() {
        SettingsRecord s = DefaultSettings();
        SettingDialog dialog(s, nullptr);
        dialog.Text1()->setText(QStringLiteral("0"));
        emit dialog.Text1()->editingFinished();
        QCOMPARE(dialog.Text1()->text(), QStringLiteral("1"));
        QCOMPARE(dialog.Text1()->cursorPosition(), 1);
        dialog.Text1()->setText(QStringLiteral("1000"));
        emit dialog.Text1()->editingFinished();
        QCOMPARE(dialog.Text1()->text(), QStringLiteral("100"));
        dialog.Text2(0)->setText(QStringLiteral("40000"));
        emit dialog.Text2(0)->editingFinished();
        QCOMPARE(dialog.Text2(0)->text(), QStringLiteral("32767"));
        dialog.Check1(4)->setChecked(true);
        dialog.accept();
        QCOMPARE(dialog.Result().WindowScale, 100);
        QCOMPARE(dialog.Result().DefaultWidth, 32767);
        QCOMPARE(dialog.Result().NewOnStart, 1);
        QCOMPARE(s.NewOnStart, 0);

        QEvent enter(QEvent::Enter);
        QApplication::sendEvent(dialog.Check1(2), &enter);
        QVERIFY(dialog.HelpLabel()->text().endsWith(
            QStringLiteral("※）Ver1.12以降未チェックで統一されました。現在は使用できません。")));
    }

    void ShutdownWritesSettingsWithPlacement() {
        testing::TempFolder dir;
        {
            Application app(dir.Path(), Screen());
            app.Start("");
            app.Frame().setGeometry(50, 60, 40, 30);
            QVERIFY(app.Frame().close());
        }
        SettingsRecord saved;
        QCOMPARE(LoadSettings(dir.File("Settings.dat"), saved), 0);
        const RectI r = saved.Placements[kPlaceMain].normalPosition;
        QVERIFY(r.right - r.left >= 100);
        QVERIFY(r.bottom - r.top >= 100);
        QCOMPARE(saved.Placements[kPlaceMain].length, 44u);
    }

    void MissingCommandLineFileIsReported() {
        testing::TempFolder dir;
        Application app(dir.Path(), Screen());
        QString shown;
        OnNextModal([&shown](QWidget* box) {
            shown = qobject_cast<QMessageBox*>(box)->text();
            ClickButton(box, QMessageBox::Ok);
        });
        app.Start(dir.File("no such file.ico"));
        QCOMPARE(shown, QStringLiteral("ファイルが見つかりません。"));
        QVERIFY(app.Frame().isVisible());
    }
};

}  // namespace brv

QTEST_MAIN(brv::FrameTest)
#include "frame_test.moc"
