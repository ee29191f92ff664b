// Form3: the pen window. A floating tool window beside the frame with the sixteen tool
// buttons, the colour chart and swatch, and one panel of settings for the chosen tool.
//
//   PenWindow pen({state.Core, patterns, state.LoadingLibrary, loader}, &frame);
//   pen.DrawPatternLists();             // after the libraries are loaded
//   pen.ShowPenState(fid);              // a document got the focus ...
//   pen.OptionClick(toolOfThatDocument - 1);
//
// The window keeps no settings of its own: every control writes straight into the PenState
// of the active document, and ShowPenState brings every control back to a document's values.
// While code moves controls the window is busy and the change handlers write nothing.
#pragma once

#include <QWidget>
#include <array>
#include <functional>
#include <optional>

#include "app/file_commands.h"
#include "core/core_state.h"
#include "tools/pattern_library.h"
#include "tools/pen_settings.h"

class QAbstractButton;
class QButtonGroup;
class QCheckBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QScrollBar;

namespace brv {

class PatternListView;
class ColorChartView;
class SwatchView;

// What the window needs of the application.
struct PenWindowContext {
    CoreState& Core;  // the documents, ActiveFID, BackgroundTile and the data folders
    PatternLibraries& Patterns;
    bool& LoadingLibrary;
    PictureLoader Loader;  // reads the fill tiles again on "更新"
    // Redraws a document's view (the hot spot marker moved); may be empty.
    std::function<void(int32_t fid)> RedrawDocument;
    // The colour box for a right click on the swatch; nullopt when cancelled. Empty: no box.
    std::function<std::optional<int32_t>(int32_t color)> ChooseColor;
    // Runs the text effect on (FID, LID). Empty: the "文字" button stays disabled.
    std::function<void(int32_t fid, int32_t lid)> RunTextEffect;
};

class PenWindow : public QWidget {
    Q_OBJECT
public:
    PenWindow(PenWindowContext context, QWidget* frame);
    ~PenWindow() override;

    // Selects a tool for the active document: Tool = index + 1, the boxes and colour controls
    // enabled as the tool wants, its panel shown, and the window's height fitted to it.
    void OptionClick(int32_t index);
    // Every control to the PenState of a document; writes nothing.
    void ShowPenState(int32_t fid);
    // The swatch and its text for a document's colour and transparency.
    void ShowPenColor(int32_t fid);
    // Sets the alpha tool's strength and size bars without writing them anywhere.
    void SetPen15(int32_t value1, int32_t value2);
    // Builds the colour chart for the chart's present size and shows it.
    void DrawColorChart();
    // Thumbnails, scroll bars and a redraw of both lists; after the libraries were loaded.
    void DrawPatternLists();
    // "更新": the fill tiles read again from their folder and shown.
    void ReloadFillPatterns();

    bool PenWindowBusy() const { return busy_; }

    // The controls by their names, for the frame and the tests.
    QAbstractButton* Option1(int32_t index) const;
    QGroupBox* Frame1(int32_t index) const;
    QScrollBar* HScroll(int32_t n) const;   // 1 .. 16
    QLabel* HScrollLabel(int32_t n) const;  // the value label of bar n
    QCheckBox* Check(int32_t n) const;      // 1 .. 5
    QWidget* Picture1() const;              // the colour chart
    QLabel* Label1() const;                 // the swatch
    QLabel* Label18() const { return label18_; }
    QWidget* Picture2() const;  // graphic pens
    QWidget* Picture3() const;  // fill patterns
    QScrollBar* VScroll1() const { return vscroll1_; }
    QScrollBar* VScroll2() const { return vscroll2_; }
    QLineEdit* Text1(int32_t index) const;  // hot spot x (0) and y (1)
    QPushButton* Command1() const { return command1_; }
    QPushButton* Command2() const { return command2_; }
    QWidget* Picture4() const { return picture4_; }

protected:
    void closeEvent(QCloseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    class BusyScope;

    void BuildToolButtons();
    void BuildColourRow();
    QGroupBox* MakePanel(int32_t index);
    void AddBarRow(QGroupBox* panel, int32_t y, std::string_view caption, PenBar bar);
    void BuildPanels();
    int32_t PanelRowsTop(int32_t row) const;

    void OnBarChanged(PenBar bar, int32_t value);
    void OnCheckToggled(PenCheck box, bool checked);
    void GPenPictureClick(double x, double y);
    void FillPictureClick(double x, double y);
    void Event_MouseDown(Qt::MouseButton button, double x, double y);
    void SwatchMouseDown(Qt::MouseButton button);
    void HotspotEdited(int32_t index);
    void SetUpListBar(PatternListView* view, QScrollBar* bar, int32_t count);
    void ShowSelections(const LayerRecord* pen);

    LayerRecord* ActivePen();
    DocumentRecord* ActiveDoc();

    PenWindowContext context_;
    bool busy_ = false;
    PenWindowMemory memory_;

    QButtonGroup* options_ = nullptr;
    std::array<QAbstractButton*, kToolCount> option1_{};
    std::array<QGroupBox*, kPanelCount> frame1_{};
    std::array<QScrollBar*, kBarCount + 1> bars_{};
    std::array<QLabel*, kBarCount + 1> barLabels_{};
    std::array<QCheckBox*, 6> checks_{};
    ColorChartView* picture1_ = nullptr;
    SwatchView* label1_ = nullptr;
    QLabel* label18_ = nullptr;
    PatternListView* picture2_ = nullptr;
    PatternListView* picture3_ = nullptr;
    QScrollBar* vscroll1_ = nullptr;
    QScrollBar* vscroll2_ = nullptr;
    std::array<QLineEdit*, 2> text1_{};
    QPushButton* command1_ = nullptr;
    QPushButton* command2_ = nullptr;
    QWidget* picture4_ = nullptr;
};

}  // namespace brv
