// The bitmap save options box: its heading, label and check boxes, and what it answers.
#include <QApplication>
#include <QDialogButtonBox>
#include <QPushButton>
#include <QTimer>
#include <QtTest>
#include <functional>

#include "platform/bmp_save_dialog.h"

namespace brv {

class BmpSaveDialogTest : public QObject {
    Q_OBJECT

    static void WhenModal(std::function<void(BmpSaveDialog*)> act) {
        QTimer::singleShot(0, [act] {
            auto* d = qobject_cast<BmpSaveDialog*>(QApplication::activeModalWidget());
            QVERIFY(d);
            act(d);
        });
    }
    static void Press(BmpSaveDialog* d, QDialogButtonBox::StandardButton which) {
        d->findChild<QDialogButtonBox*>()->button(which)->click();
    }

private slots:
    void HeadingLabelAndBoxes() {
        BmpSaveDialog d(4, {false, true}, nullptr);
        QCOMPARE(d.windowTitle(), QStringLiteral("BMP保存オプション"));
        QCOMPARE(d.DepthLabel()->text(), QStringLiteral("対象画像の色深度 4"));
        QCOMPARE(d.Check1()->text(), QStringLiteral("AND-XOR画像を作成する"));
        QCOMPARE(d.Check2()->text(), QStringLiteral("24ビットで保存する"));
        QVERIFY(!d.Check1()->isChecked());
        QVERIFY(d.Check2()->isChecked());
        d.Check1()->click();
        d.Check2()->click();
        const BmpSaveChoice c = d.Choice();
        QVERIFY(c.Check1);
        QVERIFY(!c.Check2);
        QCOMPARE(BmpSaveDialogModel::U_OnlyValue(c, false), 1);
    }

    void AskAnswersOkWithTheBoxesAndCancelWithNothing() {
        WhenModal([](BmpSaveDialog* d) {
            QCOMPARE(d->DepthLabel()->text(), QStringLiteral("対象画像の色深度 32"));
            d->Check1()->click();
            d->Check2()->click();
            Press(d, QDialogButtonBox::Ok);
        });
        const auto answer = BmpSaveDialog::Ask(BmpSaveOptions{32, false, false}, nullptr);
        QVERIFY(answer);
        QVERIFY((*answer == BmpSaveOptions{32, true, true}));

        WhenModal([](BmpSaveDialog* d) {
            d->Check2()->click();
            Press(d, QDialogButtonBox::Cancel);
        });
        QVERIFY(!BmpSaveDialog::Ask(BmpSaveOptions{8, false, false}, nullptr));
    }
};

}  // namespace brv

QTEST_MAIN(brv::BmpSaveDialogTest)
#include "bmp_save_dialog_test.moc"
