// The effect dialogs as a user meets them: the dialog with its preview, a changed value, the
// run and its undo step.
#include <QApplication>
#include <QDir>
#include <QMenuBar>
#include <QPainter>
#include <QTimer>
#include <QtTest>
#include <functional>

#include "colour/dither.h"
#include "core/undo_store.h"
#include "effects/effect_table.h"
#include "effects/run_effect.h"
#include "platform/application.h"
#include "platform/effect_dialog.h"
#include "platform/main_window.h"
#include "tests/support/fake_host.h"

namespace brv {

class EffectsTest : public QObject {
    Q_OBJECT

    // Acts on the effect dialog as soon as it is up.
    static void WhenDialogOpens(std::function<void(EffectDialog*)> act) {
        auto* timer = new QTimer;
        timer->setInterval(20);
        QObject::connect(timer, &QTimer::timeout, [timer, act] {
            auto* dialog = qobject_cast<EffectDialog*>(QApplication::activeModalWidget());
            if (!dialog || !dialog->isVisible()) return;
            timer->stop();
            timer->deleteLater();
            act(dialog);
            // A failed check returns early: the dialog must still close.
            if (dialog->isVisible()) dialog->CancelButton()->click();
        });
        timer->start();
    }

    static ScreenMetrics Screen() {
        ScreenMetrics s;
        s.ScreenWidth = 1280;
        s.ScreenHeight = 1024;
        return s;
    }

    // A document with an opaque picture: red across, green down, a transparent corner.
    static int32_t MakePicture(Application& app) {
        const int32_t fid = app.NewDocumentAndShow(64, 48);
        PixelBuffer& p = app.State().Core.Doc(fid)->Layers[1].Pixels;
        for (int32_t y = 0; y < p.Height(); ++y)
            for (int32_t x = 0; x < p.Width(); ++x)
                p.Set(
                    x, y,
                    {static_cast<uint8_t>(160 - 2 * y), static_cast<uint8_t>(4 * y + 20),
                     static_cast<uint8_t>(3 * x + 40), static_cast<uint8_t>(x + y < 12 ? 0 : 255)});
        // As a stroke would, the painting ends with its undo point.
        SaveUndo(app.State().Core, app.Host(), fid);
        return fid;
    }

    // Both windows side by side in one PNG, when BRV_EFFECT_SHOTS names a folder.
    static void Grab(EffectDialog* dialog, const QString& name) {
        const QString dir = qEnvironmentVariable("BRV_EFFECT_SHOTS");
        if (dir.isEmpty()) return;
        const QPixmap d = dialog->grab();
        const QPixmap p = dialog->PreviewWindow() ? dialog->PreviewWindow()->grab() : QPixmap();
        QImage shot(p.width() + d.width() + 8, std::max(p.height(), d.height()),
                    QImage::Format_RGB32);
        shot.fill(Qt::darkGray);
        QPainter painter(&shot);
        painter.drawPixmap(0, 0, p);
        painter.drawPixmap(p.width() + 8, 0, d);
        painter.end();
        QVERIFY(shot.save(QDir(dir).filePath(name)));
    }

    struct Fixture {
        testing::TempFolder dir;
        Application app{dir.Path(), Screen()};
        EffectState fx;
        std::vector<int32_t> redraws;
        EffectMenuContext Context() {
            return {&app.Frame(), app.State().Core, app.Host(), fx, [this](int32_t fid) {
                        redraws.push_back(fid);
                        app.Frame().RefreshActiveDocument();
                    }};
        }
        Fixture() {
            app.Start("");
            app.State().Core.Settings.AskOnClose = 0;
        }
    };

private slots:
    void ValueChangeShowsInThePreviewAndOkMakesOneUndoStep() {
        Fixture f;
        const int32_t fid = MakePicture(f.app);
        DocumentRecord& doc = *f.app.State().Core.Doc(fid);
        const PixelBuffer original = doc.Layers[1].Pixels;
        const int32_t undoBefore = doc.UndoPos;
        bool acted = false;
        WhenDialogOpens([&](EffectDialog* dialog) {
            acted = true;
            QCOMPARE(dialog->windowTitle(), QStringLiteral("RGB調整"));
            QVERIFY(!f.app.Frame().menuBar()->isEnabled());
            EffectPreview* preview = dialog->PreviewWindow();
            QVERIFY(preview && preview->isVisible());
            // The first run of the program keeps both boxes off: the button computes.
            QVERIFY(!preview->RealtimeBox()->isChecked());
            preview->ApplyButton()->click();
            const QImage before = preview->Box()->Picture();
            QVERIFY(!before.isNull());
            QCOMPARE(before.pixel(40, 30) & 0xFFFFFF, 0xA08C64u);  // (160, 140, 100): unchanged
            preview->RealtimeBox()->click();
            dialog->ScrollFor(0)->setValue(100);  // red + 100
            const QImage after = preview->Box()->Picture();
            QVERIFY(after != before);
            QCOMPARE(after.pixel(40, 30) & 0xFFFFFF, 0xFF8C64u);
            // Nothing reached the layer yet.
            QCOMPARE(doc.Layers[1].Pixels, original);
            dialog->OkButton()->click();
        });
        QCOMPARE(RunEffectMenuCommand(f.Context(), "RGBA調整"), 0);
        QVERIFY(acted);
        QVERIFY(f.app.Frame().menuBar()->isEnabled());
        QCOMPARE(doc.UndoPos, undoBefore + 1);
        QCOMPARE(doc.Layers[1].Pixels.Get(40, 30), (Bgra{100, 140, 255, 255}));
        QCOMPARE(doc.Layers[1].Pixels.Get(0, 0), (Bgra{160, 20, 140, 0}));
        QVERIFY(!f.redraws.empty());
        // The saved word remembers the real-time box for the next dialog.
        QCOMPARE(ReadEffectPlaces(f.app.State().Core.Settings).PreviewChecks, kPreviewRealtimeBit);

        QCOMPARE(Undo(f.app.State().Core, fid), 0);
        QCOMPARE(doc.Layers[1].Pixels, original);
    }

    void CancelAfterReflectingLeavesTheLayerAsItWas() {
        Fixture f;
        const int32_t fid = MakePicture(f.app);
        DocumentRecord& doc = *f.app.State().Core.Doc(fid);
        const PixelBuffer original = doc.Layers[1].Pixels;
        const int32_t undoBefore = doc.UndoPos;
        WhenDialogOpens([&](EffectDialog* dialog) {
            EffectPreview* preview = dialog->PreviewWindow();
            // The click computes at once: HSV with zero deltas already shifts some colours.
            preview->ReflectBox()->click();
            QVERIFY(!preview->Box()->isVisible());
            const PixelBuffer zeroDeltas = doc.Layers[1].Pixels;
            QVERIFY(zeroDeltas != original);
            dialog->ScrollFor(0)->setValue(90);  // hue + 90, not real-time: nothing yet
            QCOMPARE(doc.Layers[1].Pixels, zeroDeltas);
            preview->ApplyButton()->click();
            QVERIFY(doc.Layers[1].Pixels != zeroDeltas);
            Grab(dialog, QStringLiteral("effect-hsv.png"));
            dialog->CancelButton()->click();
        });
        QCOMPARE(RunEffectMenuCommand(f.Context(), "HSV調整"), 0);
        QCOMPARE(doc.Layers[1].Pixels, original);
        QCOMPARE(doc.UndoPos, undoBefore);
    }

    void LevelDialogShowsBothHistogramsAndRuns() {
        Fixture f;
        const int32_t fid = MakePicture(f.app);
        DocumentRecord& doc = *f.app.State().Core.Doc(fid);
        WhenDialogOpens([&](EffectDialog* dialog) {
            QCOMPARE(dialog->windowTitle(), QStringLiteral("レベル調整"));
            dialog->PreviewWindow()->RealtimeBox()->click();
            dialog->ScrollFor(0)->setValue(60);
            dialog->ScrollFor(1)->setValue(200);
            Grab(dialog, QStringLiteral("effect-levels.png"));
            dialog->OkButton()->click();
        });
        QCOMPARE(RunEffectMenuCommand(f.Context(), "レベル補正"), 0);
        // Red 40 + 3 * 40 = 160 of the picture: (160 - 60) * 255 / 140 = 182.1.
        QCOMPARE(doc.Layers[1].Pixels.Get(40, 0)->r, 182);
    }

    void ColourReplacementAndDitherDialogs() {
        Fixture f;
        const int32_t fid = MakePicture(f.app);
        DocumentRecord& doc = *f.app.State().Core.Doc(fid);
        WhenDialogOpens([&](EffectDialog* dialog) {
            QCOMPARE(dialog->ReadControls().size(), 20u);
            // Everything within reach, blended half way towards red.
            for (int32_t arg = 12; arg < 16; ++arg)
                dialog->ScrollFor(arg)->setValue(255);
            dialog->ScrollFor(4)->setValue(255);
            dialog->ScrollFor(11)->setValue(128);
            dialog->findChildren<QRadioButton*>().at(1)->click();  // "合成"
            dialog->PreviewWindow()->ApplyButton()->click();
            Grab(dialog, QStringLiteral("effect-changecolor.png"));
            dialog->CancelButton()->click();
        });
        QCOMPARE(RunEffectMenuCommand(f.Context(), "色の置き換え"), 0);
        WhenDialogOpens([&](EffectDialog* dialog) {
            QVERIFY(!dialog->PreviewWindow());
            QCOMPARE(dialog->ReadControls(), (EffectArgs{1, 128, 8, 0, 0, 0}));
            Grab(dialog, QStringLiteral("effect-dither.png"));
            dialog->OkButton()->click();
        });
        QCOMPARE(RunEffectMenuCommand(f.Context(), "減色"), 0);
        QVERIFY(UseColorBit(doc.Layers[1].Pixels) <= 8);
        QCOMPARE(RunEffectMenuCommand(f.Context(), "左右反転"), 0);
    }
};

}  // namespace brv

QTEST_MAIN(brv::EffectsTest)
#include "effects_test.moc"
