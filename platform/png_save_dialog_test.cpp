// The PNG save options box: its captions, which colours the picture's best depth allows, and
// what it answers.
#include <QApplication>
#include <QDialogButtonBox>
#include <QPushButton>
#include <QTimer>
#include <QtTest>
#include <functional>

#include "platform/png_save_dialog.h"

namespace brv {

class PngSaveDialogTest : public QObject {
    Q_OBJECT

    // Acts on the box once its modal loop runs.
    static void WhenModal(std::function<void(PngSaveDialog*)> act) {
        QTimer::singleShot(0, [act] {
            auto* d = qobject_cast<PngSaveDialog*>(QApplication::activeModalWidget());
            QVERIFY(d);
            act(d);
        });
    }
    static void Press(PngSaveDialog* d, QDialogButtonBox::StandardButton which) {
        d->findChild<QDialogButtonBox*>()->button(which)->click();
    }

    static std::array<bool, 3> Enabled(const PngSaveDialog& d) {
        return {d.ColorButton(0)->isEnabled(), d.ColorButton(1)->isEnabled(),
                d.ColorButton(2)->isEnabled()};
    }
    static std::array<bool, 3> Checked(const PngSaveDialog& d) {
        return {d.ColorButton(0)->isChecked(), d.ColorButton(1)->isChecked(),
                d.ColorButton(2)->isChecked()};
    }

private slots:
    void CaptionsAreTheProgramsOwn() {
        PngSaveDialog d(PNGSaveFormModel{}, nullptr);
        QCOMPARE(d.ColorButton(0)->text(), QStringLiteral("256色+2段階アルファ"));
        QCOMPARE(d.ColorButton(1)->text(), QStringLiteral("1600万色+2段階アルファ"));
        QCOMPARE(d.ColorButton(2)->text(), QStringLiteral("1600万色+256段階アルファ"));
        QCOMPARE(d.SpeedButton(0)->text(), QStringLiteral("速度E　－　圧縮度B"));
        QCOMPARE(d.SpeedButton(1)->text(), QStringLiteral("速度D  －  圧縮度C"));
        QCOMPARE(d.SpeedButton(2)->text(), QStringLiteral("速度A- －  圧縮度D"));
        QCOMPARE(d.SpeedButton(3)->text(), QStringLiteral("速度A  －  圧縮度E"));
        QCOMPARE(d.InterlaceBox()->text(), QStringLiteral("インターレース"));
        // As designed before a picture is looked at: 32 bits and the third speed.
        QCOMPARE(Checked(d), (std::array<bool, 3>{false, false, true}));
        QVERIFY(d.SpeedButton(2)->isChecked());
        QVERIFY(!d.InterlaceBox()->isChecked());
    }

    void TheBestDepthDecidesWhichColoursAreOffered() {
        const std::array<std::array<bool, 3>, 3> enabled = {
            std::array<bool, 3>{true, true, true},
            std::array<bool, 3>{false, true, true},
            std::array<bool, 3>{false, false, true},
        };
        const std::array<int32_t, 3> best = {8, 24, 32};
        for (size_t i = 0; i < best.size(); ++i) {
            PNGSaveFormModel form;
            form.ChooseColors(best[i]);
            PngSaveDialog d(form, nullptr);
            QCOMPARE(Enabled(d), enabled[i]);
            std::array<bool, 3> checked{};
            checked[i] = true;
            QCOMPARE(Checked(d), checked);
        }
    }

    void TheFormReturnsTheChoices() {
        PNGSaveFormModel form;
        form.ChooseColors(8);
        form.TakeSaveValue(1 + 16);  // the first speed, interlaced
        PngSaveDialog d(form, nullptr);
        QVERIFY(d.SpeedButton(0)->isChecked());
        QVERIFY(d.InterlaceBox()->isChecked());
        d.ColorButton(1)->click();
        d.SpeedButton(3)->click();
        d.InterlaceBox()->click();
        const PNGSaveFormModel chosen = d.Form();
        QCOMPARE(chosen.ColorBit, 24);
        QCOMPARE(chosen.SpeedIndex, 3);
        QCOMPARE(chosen.FilterNo(), 0);
        QVERIFY(!chosen.InterlaceOn);
        QCOMPARE(chosen.U_OnlyValue(), 4);
        QCOMPARE(chosen.ColorEnabled, (std::array<bool, 3>{true, true, true}));
    }

    void AskAnswersOkWithTheChoicesAndCancelWithNothing() {
        PngSaveOptions initial;
        initial.ColorEnabled = {false, true, true};
        initial.ColorBit = 24;
        initial.SpeedIndex = 1;
        WhenModal([](PngSaveDialog* d) {
            QVERIFY(!d->ColorButton(0)->isEnabled());
            QVERIFY(d->ColorButton(1)->isChecked());
            QVERIFY(d->SpeedButton(1)->isChecked());
            d->ColorButton(2)->click();
            d->InterlaceBox()->click();
            Press(d, QDialogButtonBox::Ok);
        });
        const auto answer = PngSaveDialog::Ask(initial, nullptr);
        QVERIFY(answer);
        PngSaveOptions want = initial;
        want.ColorBit = 32;
        want.InterlaceOn = true;
        QVERIFY(*answer == want);

        WhenModal([](PngSaveDialog* d) { Press(d, QDialogButtonBox::Cancel); });
        QVERIFY(!PngSaveDialog::Ask(initial, nullptr));
    }
};

}  // namespace brv

QTEST_MAIN(brv::PngSaveDialogTest)
#include "png_save_dialog_test.moc"
