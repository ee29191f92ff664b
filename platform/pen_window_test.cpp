// The pen window as a user meets it: switching documents, moving bars, the pattern lists and
// the colour chart. Set BRV_SCREENSHOT_DIR to keep pictures of the window for three tools.
#include <QAction>
#include <QCheckBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QPushButton>
#include <QScrollBar>
#include <QtTest>
#include <cstdlib>
#include <filesystem>
#include <memory>

#include "core/documents.h"
#include "core/file_io.h"
#include "core/startup.h"
#include "platform/pen_window.h"
#include "tests/support/fake_host.h"

namespace brv {

namespace {

// Reads a picture with Qt and hands it over in transit order, as the program's loader does.
std::string QtLoader(const std::string& path, PixelBuffer& out) {
    QImage img(QString::fromStdString(path));
    if (img.isNull()) return "読めません";
    img = img.convertToFormat(QImage::Format_ARGB32);
    out = PixelBuffer(img.width(), img.height());
    for (int y = 0; y < img.height(); ++y) {
        const uint8_t* src = img.constScanLine(img.height() - 1 - y);
        uint8_t* dst = out.Row(y);
        for (int x = 0; x < img.width(); ++x) {
            dst[4 * x] = src[4 * x];
            dst[4 * x + 1] = src[4 * x + 1];
            dst[4 * x + 2] = src[4 * x + 2];
            dst[4 * x + 3] = static_cast<uint8_t>(255 - src[4 * x + 3]);
        }
    }
    return {};
}

void CopyFolder(const std::string& from, const std::string& to) {
    std::filesystem::copy(ToFsPath(from), ToFsPath(to),
                          std::filesystem::copy_options::recursive |
                              std::filesystem::copy_options::overwrite_existing);
}

}  // namespace

class PenWindowTest : public QObject {
    Q_OBJECT

    // Two documents with pen states that differ in every control.
    struct Fixture {
        testing::TempFolder dir;
        testing::FakeHost host;
        CoreState core;
        PatternLibraries patterns;
        bool loading = false;
        QMainWindow frame;
        std::unique_ptr<PenWindow> pen;
        int32_t a = 0, b = 0;

        Fixture() {
            core.Paths = ComputeAppPaths(dir.Path());
            EnsureDataFolders(core.Paths);
            core.BackgroundTile = MakeBackgroundTile(64, 64);
            InitDocTable(core);
            int32_t w = 32, h = 16;
            a = NewDocument(core, host, w, h);
            w = 200;
            h = 100;
            b = NewDocument(core, host, w, h);
            CopyFolder(std::string(BRV_SOURCE_DIR) + "/data/GraphicPens",
                       core.Paths.GraphicPensDir);
            CopyFolder(std::string(BRV_SOURCE_DIR) + "/data/FillDatas", core.Paths.FillDatasDir);
            LoadGraphicPens(core.Paths, patterns, PatternPictureLoader(), loading);
            LoadFillPatterns(core.Paths, patterns, PatternPictureLoader(), loading);

            LayerRecord& pa = Pen(a);
            pa.Tool = 5;
            pa.PenColor = 0x123456;
            pa.PenTransparency = 100;
            pa.PenFlag = kYes;
            pa.PenParams(1, 1) = 17;
            pa.PenParams(1, 4) = 1;
            pa.PenParams(2, 1) = 40;
            pa.PenParams(2, 2) = 8;
            pa.PenParams(3, 1) = 2;
            pa.PenParams(3, 4) = 30;
            pa.PenParams(3, 5) = 150;
            pa.PenParams(3, 6) = 1;
            pa.PenParams(5, 1) = 60;
            pa.PenParams(5, 2) = 100;
            pa.PenParams(5, 3) = 3;
            pa.PenParams(5, 4) = 1;
            pa.PenParams(11, 3) = -60;
            pa.PenParams(11, 4) = 9;
            pa.PenParams(12, 3) = -30;
            pa.PenParams(12, 4) = 12;
            pa.PenParams(13, 3) = 10;
            pa.PenParams(13, 4) = 14;
            pa.PenParams(15, 1) = -100;
            pa.PenParams(15, 2) = 20;
            core.Docs[static_cast<size_t>(a)].HotspotX = 3;
            core.Docs[static_cast<size_t>(a)].HotspotY = 4;

            LayerRecord& pb = Pen(b);
            pb.Tool = 11;
            pb.PenColor = 0xFF0000;
            pb.PenTransparency = 0;
            pb.PenFlag = kNo;
            pb.PenParams(1, 1) = 200;
            pb.PenParams(1, 4) = 0;
            pb.PenParams(3, 6) = 0;
            pb.PenParams(5, 2) = -40;
            pb.PenParams(5, 3) = 0;
            pb.PenParams(5, 4) = 0;
            pb.PenParams(15, 2) = 100;
            core.Docs[static_cast<size_t>(b)].HotspotX = 150;
            core.Docs[static_cast<size_t>(b)].HotspotY = 20;

            frame.resize(400, 300);
            pen = std::make_unique<PenWindow>(
                PenWindowContext{core, patterns, loading, PatternPictureLoader(), {}, {}, {}},
                &frame);
            pen->DrawPatternLists();
        }
        LayerRecord& Pen(int32_t fid) { return *PenLayer(core, fid); }
        // What the frame does when a document window gets the focus.
        void Activate(int32_t fid) {
            core.ActiveFID = fid;
            pen->ShowPenState(fid);
            pen->OptionClick(Pen(fid).Tool - 1);
        }
        int VisiblePanel() const {
            int shown = -1;
            for (int i = 0; i < kPanelCount; ++i) {
                if (!pen->Frame1(i)->isHidden()) {
                    if (shown >= 0) return -2;
                    shown = i;
                }
            }
            return shown;
        }
    };

    static void VerifyFollows(Fixture& f, int32_t fid) {
        const DocumentRecord& doc = *f.core.Doc(fid);
        const LayerRecord& p = f.Pen(fid);
        const PenControlState s = PenControlsFor(doc, p);
        for (int n = 1; n <= kBarCount; ++n) {
            QCOMPARE(f.pen->HScroll(n)->value(), s.BarValues[static_cast<size_t>(n)]);
            QCOMPARE(f.pen->HScrollLabel(n)->text(),
                     QString::fromStdString(s.BarLabels[static_cast<size_t>(n)]));
        }
        QCOMPARE(f.pen->HScroll(2)->pageStep(), SizeBarLargeStep(LargestSide(doc)));
        QCOMPARE(f.pen->HScroll(4)->pageStep(), SizeBarLargeStep(LargestSide(doc)));
        QCOMPARE(f.pen->Check(1)->isChecked(), p.PenParams(1, 4) != 0);
        QCOMPARE(f.pen->Check(2)->isChecked(), p.PenParams(5, 4) != 0);
        QCOMPARE(f.pen->Check(3)->isChecked(), p.PenParams(3, 6) != 0);
        QCOMPARE(f.pen->Check(4)->isChecked(), p.PenParams(5, 3) != 0 && p.PenParams(5, 2) >= 0);
        QCOMPARE(f.pen->Check(4)->isEnabled(), p.PenParams(5, 2) >= 0);
        QCOMPARE(f.pen->Check(5)->isChecked(), p.PenFlag != 0);
        QCOMPARE(f.pen->Picture3()->isEnabled(), f.pen->Check(4)->isChecked());
        QCOMPARE(f.pen->Label18()->text(),
                 QString::fromStdString(PenColorText(p.PenColor, p.PenTransparency)));
        QCOMPARE(f.pen->Text1(0)->text(), QString::number(doc.HotspotX));
        QCOMPARE(f.pen->Text1(1)->text(), QString::number(doc.HotspotY));
        QVERIFY(f.pen->Option1(p.Tool - 1)->isChecked());
        const ToolControls c = ControlsForOption(p.Tool - 1);
        QCOMPARE(f.VisiblePanel(), c.Panel);
        QCOMPARE(f.pen->Check(1)->isEnabled(), c.AntiAlias);
        QCOMPARE(f.pen->Check(5)->isEnabled(), c.ProtectAlpha);
        QCOMPARE(f.pen->Picture1()->isEnabled(), c.Colour);
        QCOMPARE(f.pen->Label1()->isEnabled(), c.Colour);
    }

private slots:
    void StarterSetReadsAlikeThroughQtAndTheProgramsLoader() {
        const PictureLoader ours = PatternPictureLoader();
        int files = 0;
        for (const char* folder : {"/data/GraphicPens", "/data/FillDatas"}) {
            for (const std::string& path : ListFiles(std::string(BRV_SOURCE_DIR) + folder)) {
                PixelBuffer a, b;
                QCOMPARE(QString::fromStdString(ours(path, a)), QString());
                QCOMPARE(QString::fromStdString(QtLoader(path, b)), QString());
                QVERIFY2(a == b, path.c_str());
                ++files;
            }
        }
        QCOMPARE(files, 15);
    }

    void EveryControlFollowsTheActiveDocument() {
        Fixture f;
        const LayerRecord beforeA = f.Pen(f.a);
        const LayerRecord beforeB = f.Pen(f.b);
        f.Activate(f.a);
        VerifyFollows(f, f.a);
        QCOMPARE(f.pen->HScroll(2)->value(), 16384);
        QCOMPARE(f.pen->HScrollLabel(10)->text(), QStringLiteral("－23%"));
        QCOMPARE(f.VisiblePanel(), 3);
        f.Activate(f.b);
        VerifyFollows(f, f.b);
        QVERIFY(!f.pen->Check(4)->isEnabled());
        QCOMPARE(f.VisiblePanel(), 4);
        QCOMPARE(f.pen->Text1(0)->text(), QStringLiteral("150"));
        f.Activate(f.a);
        VerifyFollows(f, f.a);
        // Showing a document's state wrote nothing into either document.
        QCOMPARE(f.Pen(f.a).PenParams, beforeA.PenParams);
        QCOMPARE(f.Pen(f.b).PenParams, beforeB.PenParams);
        QCOMPARE(f.Pen(f.a).PenColor, beforeA.PenColor);
        QCOMPARE(f.Pen(f.b).PenFlag, beforeB.PenFlag);
        QVERIFY(!f.pen->PenWindowBusy());
    }

    void ControlsWriteIntoTheActiveDocumentOnly() {
        Fixture f;
        f.Activate(f.a);
        f.pen->HScroll(7)->setValue(77);
        f.pen->Check(5)->setChecked(false);
        f.pen->HScroll(1)->setValue(255);
        QCOMPARE(f.Pen(f.a).PenParams(5, 1), 77);
        QCOMPARE(f.Pen(f.a).PenFlag, kNo);
        QCOMPARE(f.Pen(f.a).PenTransparency, 255);
        QCOMPARE(f.pen->Label18()->text(), QStringLiteral("R:86\nG:52\nB:18\nA:255"));
        QCOMPARE(f.Pen(f.b).PenParams(5, 1), 20);
        QCOMPARE(f.Pen(f.b).PenTransparency, 0);

        // A tool button writes Tool and fits the window to its panel.
        f.pen->Option1(2)->click();
        QCOMPARE(f.Pen(f.a).Tool, 3);
        QCOMPARE(f.VisiblePanel(), 2);
        const int tall = f.pen->height();
        QCOMPARE(tall, f.pen->Frame1(2)->geometry().bottom() + 1 + 8);
        f.pen->Option1(7)->click();  // the colour picker: panel 0, no anti-aliasing
        QCOMPARE(f.VisiblePanel(), 0);
        QVERIFY(!f.pen->Check(1)->isEnabled());
        QVERIFY(f.pen->Picture1()->isEnabled());
        QVERIFY(f.pen->height() < tall);
        QCOMPARE(f.pen->height(), f.pen->Frame1(0)->geometry().bottom() + 1 + 8);
        QCOMPARE(f.Pen(f.b).Tool, 11);
    }

    void SizeBarArrowStepsOnePixel() {
        Fixture f;
        f.Activate(f.a);  // 32 by 16
        QScrollBar* bar = f.pen->HScroll(2);
        bar->setValue(32767);
        QCOMPARE(f.Pen(f.a).PenParams(1, 1), 33);
        QCOMPARE(f.pen->HScrollLabel(2)->text(), QStringLiteral("33px"));
        bar->triggerAction(QAbstractSlider::SliderSingleStepSub);
        QCOMPARE(f.Pen(f.a).PenParams(1, 1), 32);
        QCOMPARE(bar->value(), 31743);
        bar->triggerAction(QAbstractSlider::SliderSingleStepSub);
        QCOMPARE(f.Pen(f.a).PenParams(1, 1), 31);
    }

    void NegativeBlendTakesThePatternBoxAway() {
        Fixture f;
        f.Activate(f.a);
        QVERIFY(f.pen->Check(4)->isChecked());
        f.pen->HScroll(8)->setValue(-10);
        QVERIFY(!f.pen->Check(4)->isChecked());
        QVERIFY(!f.pen->Check(4)->isEnabled());
        QVERIFY(!f.pen->Picture3()->isEnabled());
        QCOMPARE(f.Pen(f.a).PenParams(5, 3), 0);
        QCOMPARE(f.pen->HScrollLabel(8)->text(), QStringLiteral("-3%"));
        f.pen->HScroll(8)->setValue(0);
        QVERIFY(f.pen->Check(4)->isChecked());
        QVERIFY(f.pen->Check(4)->isEnabled());
        QVERIFY(f.pen->Picture3()->isEnabled());
        QCOMPARE(f.Pen(f.a).PenParams(5, 3), 0);

        // A document shown with a negative blend gets its box back when the blend returns.
        f.Activate(f.b);
        f.pen->Option1(4)->click();
        QVERIFY(!f.pen->Check(4)->isEnabled());
        f.pen->HScroll(8)->setValue(5);
        QVERIFY(f.pen->Check(4)->isEnabled());
        QVERIFY(!f.pen->Check(4)->isChecked());
    }

    void PatternListsClickAndReload() {
        Fixture f;
        QCOMPARE(f.patterns.GraphicPenList.size(), 9u);  // slot 0 and the eight stamps
        QCOMPARE(f.patterns.FillPatternList.size(), 8u);
        f.Activate(f.a);
        f.pen->Option1(2)->click();
        f.pen->show();
        // Second row, second column of the stamps: entry 6.
        QTest::mouseClick(f.pen->Picture2(), Qt::LeftButton, {}, QPoint(60, 55));
        QCOMPARE(f.Pen(f.a).PenParams(3, 1), 6);
        // Past the last stamp: ignored.
        QTest::mouseClick(f.pen->Picture2(), Qt::LeftButton, {}, QPoint(160, 110));
        QCOMPARE(f.Pen(f.a).PenParams(3, 1), 6);

        f.pen->Option1(4)->click();
        QTest::mouseClick(f.pen->Picture3(), Qt::LeftButton, {}, QPoint(10, 10));
        QCOMPARE(f.Pen(f.a).PenParams(5, 3), 1);
        QVERIFY(!f.pen->VScroll2()->isEnabled());  // seven tiles fit in three rows

        // "更新" reads tiles dropped in while the program runs.
        for (int i = 0; i < 6; ++i) {
            std::filesystem::copy_file(
                ToFsPath(f.core.Paths.FillDatasDir + "grid.png"),
                ToFsPath(f.core.Paths.FillDatasDir + "grid" + std::to_string(i) + ".png"));
        }
        // A file that is no picture is left out without a word.
        QVERIFY(WriteTextFile(f.core.Paths.FillDatasDir + "broken.png", "\x89PNG broken"));
        f.pen->Command2()->click();
        QCOMPARE(f.patterns.FillPatternList.size(), 14u);
        QVERIFY(f.host.messages.empty());
        QVERIFY(f.pen->VScroll2()->isEnabled());
        QCOMPARE(f.pen->VScroll2()->maximum(), 4 * kFillPatternCell - 3 * kFillPatternCell);
        QVERIFY(!f.loading);
        QCOMPARE(f.pen->Command2()->text(), QStringLiteral("更新"));
        QVERIFY(!f.pen->Command1()->isEnabled());
        QCOMPARE(f.pen->Command1()->text(), QStringLiteral("文字"));
    }

    void ChartClickSetsTheColour() {
        Fixture f;
        f.Activate(f.a);
        f.pen->show();
        QWidget* chart = f.pen->Picture1();
        QTest::mouseClick(chart, Qt::LeftButton, {}, QPoint(20, 30));
        const PixelBuffer expected = MakeColorChart(chart->width(), chart->height());
        QCOMPARE(f.Pen(f.a).PenColor, *ColorChartPick(expected, 20, 30));
        QCOMPARE(f.pen->Label18()->text(),
                 QString::fromStdString(PenColorText(f.Pen(f.a).PenColor, 100)));
        const int32_t before = f.Pen(f.a).PenColor;
        QTest::mouseClick(chart, Qt::RightButton, {}, QPoint(100, 5));
        QCOMPARE(f.Pen(f.a).PenColor, before);
    }

    void HotspotBoxesAreLimitedToTheImage() {
        Fixture f;
        f.Activate(f.a);
        f.pen->Option1(15)->click();
        f.pen->show();
        f.pen->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(f.pen.get()));
        QLineEdit* x = f.pen->Text1(0);
        x->setFocus();
        x->selectAll();
        QTest::keyClicks(x, QStringLiteral("9a9"));  // letters are refused
        QCOMPARE(x->text(), QStringLiteral("99"));
        f.pen->Text1(1)->setFocus();
        QCOMPARE(f.core.Docs[static_cast<size_t>(f.a)].HotspotX, 31);
        QCOMPARE(x->text(), QStringLiteral("31"));
    }

    void KeysReachTheFramesShortcuts() {
        Fixture f;
        int fired = 0;
        auto* action = new QAction(&f.frame);
        action->setShortcut(QKeySequence(QStringLiteral("Ctrl+Z")));
        action->setShortcutContext(Qt::ApplicationShortcut);
        f.frame.addAction(action);
        connect(action, &QAction::triggered, [&fired] { ++fired; });
        f.frame.show();
        f.Activate(f.a);
        f.pen->show();
        f.pen->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(f.pen.get()));
        f.pen->Option1(0)->setFocus();
        f.pen->OptionClick(0);
        QCOMPARE(f.pen->focusWidget(), f.pen->Picture4());
        QTest::keyClick(f.pen->Picture4(), Qt::Key_Z, Qt::ControlModifier);
        QCOMPARE(fired, 1);
    }

    void ClosingHidesAndSetPen15WritesNothing() {
        Fixture f;
        f.Activate(f.a);
        f.pen->show();
        QVERIFY(!f.pen->close());
        QVERIFY(f.pen->isHidden());
        f.pen->SetPen15(-50, 64);
        QCOMPARE(f.pen->HScroll(16)->value(), -50);
        QCOMPARE(f.pen->HScroll(15)->value(), 64);
        QCOMPARE(f.Pen(f.a).PenParams(15, 1), -100);
        QCOMPARE(f.Pen(f.a).PenParams(15, 2), 20);
    }

    void Screenshots() {
        const char* dir = std::getenv("BRV_SCREENSHOT_DIR");
        if (!dir || !*dir) QSKIP("BRV_SCREENSHOT_DIR not set");
        Fixture f;
        f.Activate(f.a);
        f.pen->show();
        QVERIFY(QTest::qWaitForWindowExposed(f.pen.get()));
        for (int tool : {1, 3, 5}) {
            f.pen->OptionClick(tool - 1);
            QCoreApplication::processEvents();
            const QString path = QStringLiteral("%1/pen_window_tool%2.png").arg(dir).arg(tool);
            QVERIFY(f.pen->grab().save(path));
        }
    }
};

}  // namespace brv

QTEST_MAIN(brv::PenWindowTest)
#include "pen_window_test.moc"
