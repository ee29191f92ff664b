#include "platform/pen_window.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QCloseEvent>
#include <QGroupBox>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPainter>
#include <QPixmap>
#include <QPushButton>
#include <QRegularExpressionValidator>
#include <QScrollBar>
#include <QToolButton>
#include <vector>

#include "app/file_commands.h"
#include "core/documents.h"
#include "platform/qt_image.h"
#include "platform/qt_text.h"

namespace brv {

namespace {

// The window's fixed layout, in pixels.
constexpr int kWindowWidth = 232;
constexpr int kButtonWidth = 55;
constexpr int kButtonHeight = 22;
constexpr int kPanelTop = 222;
constexpr int kPanelWidth = 224;
constexpr int kBottomMargin = 8;
constexpr int kRowHeight = 24;
constexpr int kFirstRow = 20;
constexpr int kListWidth = 200;  // four cells of either list
constexpr int kChartWidth = 140;
constexpr int kChartHeight = 72;
constexpr int kSwatchSide = 24;
// Window units of the click rule: the chart's click is counted in twips.
constexpr double kTwipsPerPixel = 15.0;

}  // namespace

// Sets the busy flag for a scope and gives it its old value back.
class PenWindow::BusyScope {
public:
    explicit BusyScope(PenWindow& w) : w_(w), old_(w.busy_) { w.busy_ = true; }
    ~BusyScope() { w_.busy_ = old_; }
    BusyScope(const BusyScope&) = delete;
    BusyScope& operator=(const BusyScope&) = delete;

private:
    PenWindow& w_;
    bool old_;
};

// Picture2 and Picture3: a list of patterns in square cells, scrolled by its own bar.
class PatternListView : public QWidget {
public:
    PatternListView(int32_t cell, QScrollBar* bar, QWidget* parent)
        : QWidget(parent), cell_(cell), bar_(bar) {
        setAttribute(Qt::WA_OpaquePaintEvent);
    }

    void SetList(const PatternList* list, const PixelBuffer& background) {
        list_ = list;
        thumbs_.clear();
        if (!list_) return;
        thumbs_.reserve(list_->size());
        for (const PatternEntry& e : *list_) {
            PixelBuffer t = PatternThumbnail(e, background);
            thumbs_.push_back(t.Empty() ? QImage() : ToQImage(t, true));
        }
    }
    void SetSelected(int32_t selected) {
        selected_ = selected;
        update();
    }
    int32_t Selected() const { return selected_; }
    int32_t Cell() const { return cell_; }
    int32_t Count() const { return list_ ? static_cast<int32_t>(list_->size()) - 1 : 0; }
    std::function<void(double x, double y)> OnPress;

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter p(this);
        p.fillRect(rect(), isEnabled() ? palette().base() : palette().window());
        if (!list_) return;
        const int32_t columns = PatternColumns(width(), cell_);
        QFont small = font();
        small.setPixelSize(9);
        p.setFont(small);
        for (int32_t i = 1; i <= Count(); ++i) {
            const CellPlace at = PatternCellPlace(i, columns, cell_, bar_->value());
            if (!PatternCellVisible(at, cell_, height())) continue;
            if (i == selected_) {
                p.setPen(palette().color(QPalette::Highlight));
                p.drawRect(at.X, at.Y, cell_ - 1, cell_ - 1);
            }
            const QImage& thumb = thumbs_[static_cast<size_t>(i)];
            if (!thumb.isNull())
                p.drawImage(at.X + cell_ / 2 - kPatternThumbSide / 2, at.Y + 2, thumb);
            p.setPen(palette().color(QPalette::Text));
            p.drawText(QRect(at.X, at.Y + kPatternTextTop, cell_, cell_ - kPatternTextTop),
                       Qt::AlignHCenter | Qt::AlignTop,
                       ToQ(PatternSizeText((*list_)[static_cast<size_t>(i)])));
        }
    }
    void mousePressEvent(QMouseEvent* event) override {
        if (OnPress) OnPress(event->position().x(), event->position().y());
    }

private:
    int32_t cell_;
    QScrollBar* bar_;
    const PatternList* list_ = nullptr;
    std::vector<QImage> thumbs_;
    int32_t selected_ = 0;
};

// Picture1: the colour chart.
class ColorChartView : public QWidget {
public:
    explicit ColorChartView(QWidget* parent) : QWidget(parent) {
        setAttribute(Qt::WA_OpaquePaintEvent);
    }
    void Rebuild() {
        chart_ = MakeColorChart(width(), height());
        // The chart has a column and a row more than shows; the top row shown is its last.
        QImage all = ToQImage(chart_, true);
        image_ = all.copy(0, 0, width(), height());
        update();
    }
    const PixelBuffer& Chart() const { return chart_; }
    std::function<void(Qt::MouseButton, double x, double y)> OnPress;

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter p(this);
        p.drawImage(0, 0, image_);
        if (!isEnabled()) p.fillRect(rect(), QColor(255, 255, 255, 140));
    }
    void resizeEvent(QResizeEvent*) override { Rebuild(); }
    void mousePressEvent(QMouseEvent* event) override {
        if (OnPress) OnPress(event->button(), event->position().x(), event->position().y());
    }

private:
    PixelBuffer chart_;
    QImage image_;
};

// Label1: the swatch.
class SwatchView : public QLabel {
public:
    explicit SwatchView(QWidget* parent) : QLabel(parent) { setFrameShape(QFrame::Box); }
    std::function<void(Qt::MouseButton)> OnPress;

protected:
    void mousePressEvent(QMouseEvent* event) override {
        if (OnPress) OnPress(event->button());
    }
};

PenWindow::PenWindow(PenWindowContext context, QWidget* frame)
    : QWidget(frame, Qt::Tool), context_(std::move(context)) {
    BusyScope busy(*this);
    setWindowTitle(QStringLiteral("ペン"));
    setFixedWidth(kWindowWidth);
    QFont f = font();
    f.setPixelSize(12);
    setFont(f);

    // Holds the focus after a tool is chosen, so that arrow keys do not walk the buttons.
    picture4_ = new QWidget(this);
    picture4_->setGeometry(0, 0, 1, 1);
    picture4_->setFocusPolicy(Qt::StrongFocus);

    BuildToolButtons();
    BuildColourRow();
    BuildPanels();
    OptionClick(0);
}

PenWindow::~PenWindow() = default;

void PenWindow::BuildToolButtons() {
    options_ = new QButtonGroup(this);
    options_->setExclusive(true);
    for (int32_t i = 0; i < kToolCount; ++i) {
        auto* b = new QToolButton(this);
        b->setText(ToQ(kToolTable[static_cast<size_t>(i)].Caption));
        b->setCheckable(true);
        b->setGeometry(4 + (i % 4) * (kButtonWidth + 1), 4 + (i / 4) * (kButtonHeight + 1),
                       kButtonWidth, kButtonHeight);
        options_->addButton(b, i);
        option1_[static_cast<size_t>(i)] = b;
        connect(b, &QToolButton::clicked, this, [this, i] {
            if (!busy_) OptionClick(i);
        });
    }

    const int y = 4 + 4 * (kButtonHeight + 1) + 2;
    auto* check1 = new QCheckBox(ToQ(pen_text::kAntiAlias), this);
    check1->setGeometry(4, y, 160, 20);
    auto* check5 = new QCheckBox(ToQ(pen_text::kProtectAlpha), this);
    check5->setGeometry(4, y + 20, 160, 20);
    checks_[1] = check1;
    checks_[5] = check5;

    command1_ = new QPushButton(ToQ(pen_text::kTextButton), this);
    command1_->setGeometry(kWindowWidth - 56, y, 52, kButtonHeight);
    // The text tool arrives with the effects; until then the button does nothing.
    command1_->setEnabled(static_cast<bool>(context_.RunTextEffect));
    connect(command1_, &QPushButton::clicked, this, [this] {
        const DocumentRecord* doc = ActiveDoc();
        if (doc && context_.RunTextEffect)
            context_.RunTextEffect(context_.Core.ActiveFID, doc->ActiveLID);
    });
}

void PenWindow::BuildColourRow() {
    const int y = 4 + 4 * (kButtonHeight + 1) + 46;
    picture1_ = new ColorChartView(this);
    picture1_->setGeometry(4, y, kChartWidth, kChartHeight);
    picture1_->OnPress = [this](Qt::MouseButton button, double x, double py) {
        Event_MouseDown(button, x, py);
    };

    label1_ = new SwatchView(this);
    label1_->setGeometry(kChartWidth + 10, y, kSwatchSide, kSwatchSide);
    label1_->OnPress = [this](Qt::MouseButton button) { SwatchMouseDown(button); };

    label18_ = new QLabel(this);
    QFont small = font();
    small.setPixelSize(11);
    label18_->setFont(small);
    label18_->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    label18_->setGeometry(kChartWidth + 10 + kSwatchSide + 4, y - 2, 54, kChartHeight + 2);
}

QGroupBox* PenWindow::MakePanel(int32_t index) {
    auto* panel = new QGroupBox(ToQ(kPanelCaptions[static_cast<size_t>(index)]), this);
    panel->move(4, kPanelTop);
    frame1_[static_cast<size_t>(index)] = panel;
    return panel;
}

int32_t PenWindow::PanelRowsTop(int32_t row) const {
    return kFirstRow + row * kRowHeight;
}

void PenWindow::AddBarRow(QGroupBox* panel, int32_t y, std::string_view caption, PenBar bar) {
    auto* text = new QLabel(ToQ(caption), panel);
    text->setGeometry(6, y, 62, 18);
    auto* sb = new QScrollBar(Qt::Horizontal, panel);
    sb->setGeometry(70, y, 82, 17);
    const BarSpec& s = SpecOf(bar);
    sb->setRange(s.Min, s.Max);
    sb->setSingleStep(s.Small);
    sb->setPageStep(s.Large);
    sb->setValue(s.Start);
    auto* value = new QLabel(ToQ(BarLabel(bar, s.Start)), panel);
    value->setGeometry(156, y, 64, 18);
    const auto n = static_cast<size_t>(bar);
    bars_[n] = sb;
    barLabels_[n] = value;
    // One handler for the change and the scroll of the bar alike.
    connect(sb, &QScrollBar::valueChanged, this, [this, bar](int v) { OnBarChanged(bar, v); });
}

void PenWindow::BuildPanels() {
    auto finish = [](QGroupBox* panel, int bottom) { panel->resize(kPanelWidth, bottom + 6); };
    const auto boxAt = [](QCheckBox* box, int y) { box->setGeometry(8, y, 150, 20); };
    auto twoBars = [&](int32_t index, std::string_view c1, PenBar b1, std::string_view c2,
                       PenBar b2) {
        QGroupBox* p = MakePanel(index);
        AddBarRow(p, PanelRowsTop(0), c1, b1);
        AddBarRow(p, PanelRowsTop(1), c2, b2);
        finish(p, PanelRowsTop(2));
    };

    twoBars(0, pen_text::kThickness, PenBar::HScroll2, "透明度", PenBar::HScroll1);
    twoBars(1, pen_text::kStrength, PenBar::HScroll3, pen_text::kThickness, PenBar::HScroll4);

    QGroupBox* p = MakePanel(2);
    vscroll1_ = new QScrollBar(Qt::Vertical, p);
    vscroll1_->setGeometry(6 + kListWidth, kFirstRow, 14, 3 * kGraphicPenCell);
    picture2_ = new PatternListView(kGraphicPenCell, vscroll1_, p);
    picture2_->setGeometry(6, kFirstRow, kListWidth, 3 * kGraphicPenCell);
    picture2_->OnPress = [this](double x, double y) { GPenPictureClick(x, y); };
    connect(vscroll1_, &QScrollBar::valueChanged, picture2_, [this] { picture2_->update(); });
    {
        const int rowsTop = kFirstRow + 3 * kGraphicPenCell + 4;
        AddBarRow(p, rowsTop, pen_text::kSpacing, PenBar::HScroll5);
        AddBarRow(p, rowsTop + kRowHeight, "透明度", PenBar::HScroll6);
        checks_[3] = new QCheckBox(ToQ(pen_text::kRotate), p);
        boxAt(checks_[3], rowsTop + 2 * kRowHeight);
        finish(p, rowsTop + 2 * kRowHeight + 22);
    }

    p = MakePanel(3);
    AddBarRow(p, PanelRowsTop(0), pen_text::kTolerance, PenBar::HScroll7);
    AddBarRow(p, PanelRowsTop(1), pen_text::kBlend, PenBar::HScroll8);
    {
        const int y = PanelRowsTop(2);
        checks_[4] = new QCheckBox(QStringLiteral("パターン"), p);
        boxAt(checks_[4], y);
        command2_ = new QPushButton(ToQ(pen_text::kReload), p);
        command2_->setGeometry(kPanelWidth - 64, y - 1, 56, kButtonHeight);
        connect(command2_, &QPushButton::clicked, this, [this] { ReloadFillPatterns(); });
        const int listTop = y + kRowHeight;
        vscroll2_ = new QScrollBar(Qt::Vertical, p);
        vscroll2_->setGeometry(6 + kListWidth, listTop, 14, 3 * kFillPatternCell);
        picture3_ = new PatternListView(kFillPatternCell, vscroll2_, p);
        picture3_->setGeometry(6, listTop, kListWidth, 3 * kFillPatternCell);
        picture3_->OnPress = [this](double x, double py) { FillPictureClick(x, py); };
        connect(vscroll2_, &QScrollBar::valueChanged, picture3_, [this] { picture3_->update(); });
        const int listBottom = listTop + 3 * kFillPatternCell + 4;
        checks_[2] = new QCheckBox(ToQ(pen_text::kLayerBelow), p);
        boxAt(checks_[2], listBottom);
        finish(p, listBottom + 22);
    }

    twoBars(4, pen_text::kBrightness, PenBar::HScroll10, pen_text::kRange, PenBar::HScroll9);
    twoBars(5, pen_text::kStrength, PenBar::HScroll11, pen_text::kRange, PenBar::HScroll12);
    twoBars(6, pen_text::kStrength, PenBar::HScroll14, pen_text::kRange, PenBar::HScroll13);
    twoBars(7, pen_text::kStrength, PenBar::HScroll16, pen_text::kThickness, PenBar::HScroll15);

    p = MakePanel(8);
    for (int32_t i = 0; i < 2; ++i) {
        auto* caption = new QLabel(i == 0 ? QStringLiteral("X") : QStringLiteral("Y"), p);
        caption->setGeometry(8 + i * 90, kFirstRow + 1, 14, 18);
        auto* box = new QLineEdit(p);
        box->setGeometry(24 + i * 90, kFirstRow, 56, 20);
        box->setValidator(
            new QRegularExpressionValidator(QRegularExpression(QStringLiteral("[0-9]*")), box));
        box->installEventFilter(this);
        text1_[static_cast<size_t>(i)] = box;
    }
    finish(p, kFirstRow + 22);

    for (int32_t n = 1; n <= 5; ++n) {
        const PenCheck which = static_cast<PenCheck>(n - 1);
        connect(checks_[static_cast<size_t>(n)], &QCheckBox::toggled, this,
                [this, which](bool on) { OnCheckToggled(which, on); });
    }
    picture3_->setEnabled(false);
    vscroll2_->setEnabled(false);
    vscroll1_->setRange(0, 0);
    vscroll2_->setRange(0, 0);
}

DocumentRecord* PenWindow::ActiveDoc() {
    return context_.Core.Doc(context_.Core.ActiveFID);
}

LayerRecord* PenWindow::ActivePen() {
    return PenLayer(context_.Core, context_.Core.ActiveFID);
}

void PenWindow::OptionClick(int32_t index) {
    if (LayerRecord* pen = ActivePen()) pen->Tool = index + 1;
    const ToolControls c = ControlsForOption(index);
    if (index >= 0 && index < kToolCount) option1_[static_cast<size_t>(index)]->setChecked(true);
    checks_[1]->setEnabled(c.AntiAlias);
    checks_[5]->setEnabled(c.ProtectAlpha);
    picture1_->setEnabled(c.Colour);
    label1_->setEnabled(c.Colour);
    label18_->setEnabled(c.Colour);

    for (int32_t i = 0; i < kPanelCount; ++i) {
        if (i != c.Panel) frame1_[static_cast<size_t>(i)]->hide();
    }
    QGroupBox* shown = frame1_[static_cast<size_t>(c.Panel)];
    shown->show();
    // The shown panel alone decides the window's height.
    setFixedHeight(shown->y() + shown->height() + kBottomMargin);

    const QWidget* focused = focusWidget();
    const bool optionFocused =
        std::find(option1_.begin(), option1_.end(), focused) != option1_.end();
    if (optionFocused && isVisible()) picture4_->setFocus();
}

void PenWindow::ShowPenState(int32_t fid) {
    const DocumentRecord* doc = context_.Core.Doc(fid);
    const LayerRecord* pen = PenLayer(context_.Core, fid);
    if (!doc || !pen) return;
    BusyScope busy(*this);
    const PenControlState s = PenControlsFor(*doc, *pen);
    for (int32_t n = 1; n <= kBarCount; ++n) {
        bars_[static_cast<size_t>(n)]->setValue(s.BarValues[static_cast<size_t>(n)]);
        barLabels_[static_cast<size_t>(n)]->setText(ToQ(s.BarLabels[static_cast<size_t>(n)]));
    }
    bars_[2]->setPageStep(s.SizeLargeStep);
    bars_[4]->setPageStep(s.SizeLargeStep);

    checks_[1]->setChecked(s.Check1);
    checks_[2]->setChecked(s.Check2);
    checks_[3]->setChecked(s.Check3);
    checks_[4]->setChecked(s.Check4);
    checks_[5]->setChecked(s.Check5);
    checks_[4]->setEnabled(s.Check4Enabled);
    memory_.HScroll8Tag = s.HScroll8Tag;
    picture3_->setEnabled(s.Check4);
    vscroll2_->setEnabled(s.Check4 && vscroll2_->maximum() > 0);

    ShowSelections(pen);
    ShowPenColor(fid);
    text1_[0]->setText(ToQ(s.HotspotX));
    text1_[1]->setText(ToQ(s.HotspotY));
}

void PenWindow::ShowSelections(const LayerRecord* pen) {
    picture2_->SetSelected(pen ? pen->PenParams(3, 1) : 0);
    picture3_->SetSelected(pen ? pen->PenParams(5, 3) : 0);
}

void PenWindow::ShowPenColor(int32_t fid) {
    const LayerRecord* pen = PenLayer(context_.Core, fid);
    if (!pen) return;
    const PixelBuffer swatch =
        MakeSwatch(label1_->width() - 2, label1_->height() - 2, pen->PenColor, pen->PenTransparency,
                   context_.Core.BackgroundTile);
    label1_->setPixmap(QPixmap::fromImage(ToQImage(swatch, false)));
    label18_->setText(ToQ(PenColorText(pen->PenColor, pen->PenTransparency)));
}

void PenWindow::SetPen15(int32_t value1, int32_t value2) {
    BusyScope busy(*this);
    bars_[16]->setValue(value1);
    bars_[15]->setValue(value2);
    barLabels_[16]->setText(ToQ(BarLabel(PenBar::HScroll16, bars_[16]->value())));
    barLabels_[15]->setText(ToQ(BarLabel(PenBar::HScroll15, bars_[15]->value())));
}

void PenWindow::DrawColorChart() {
    picture1_->Rebuild();
}

void PenWindow::SetUpListBar(PatternListView* view, QScrollBar* bar, int32_t count) {
    const int32_t cell = view->Cell();
    const int32_t maximum =
        PatternBarMaximum(count, PatternColumns(view->width(), cell), cell, view->height());
    BusyScope busy(*this);
    if (maximum > 0) {
        bar->setRange(0, maximum);
        bar->setSingleStep(cell / 4);
        bar->setPageStep(cell);
        bar->setEnabled(view->isEnabled());
    } else {
        bar->setValue(0);
        bar->setRange(0, 0);
        bar->setEnabled(false);
    }
}

void PenWindow::DrawPatternLists() {
    const PixelBuffer& tile = context_.Core.BackgroundTile;
    picture2_->SetList(&context_.Patterns.GraphicPenList, tile);
    picture3_->SetList(&context_.Patterns.FillPatternList, tile);
    SetUpListBar(picture2_, vscroll1_, picture2_->Count());
    SetUpListBar(picture3_, vscroll2_, picture3_->Count());
    picture2_->update();
    picture3_->update();
}

void PenWindow::ReloadFillPatterns() {
    LoadFillPatterns(context_.Core.Paths, context_.Patterns, context_.Loader,
                     context_.LoadingLibrary);
    picture3_->SetList(&context_.Patterns.FillPatternList, context_.Core.BackgroundTile);
    SetUpListBar(picture3_, vscroll2_, picture3_->Count());
    picture3_->update();
}

void PenWindow::OnBarChanged(PenBar bar, int32_t value) {
    if (busy_) return;
    DocumentRecord* doc = ActiveDoc();
    LayerRecord* pen = ActivePen();
    if (!doc || !pen) return;
    const BarEffect e = ApplyBar(bar, value, *pen, LargestSide(*doc), memory_);
    const auto n = static_cast<size_t>(bar);
    barLabels_[n]->setText(ToQ(e.Label));
    if (e.MoveBarTo) {
        BusyScope busy(*this);
        bars_[n]->setValue(*e.MoveBarTo);
    }
    if (e.RepaintSwatch) ShowPenColor(context_.Core.ActiveFID);
    if (bar == PenBar::HScroll8) {
        const Check4Change c =
            HScroll8SignRule(pen->PenParams(5, 2), checks_[4]->isChecked(), memory_.HScroll8Tag);
        // Clearing the box runs its own handler, which drops the pattern number.
        if (c.Checked) checks_[4]->setChecked(*c.Checked);
        if (c.Enabled) checks_[4]->setEnabled(*c.Enabled);
    }
}

void PenWindow::OnCheckToggled(PenCheck box, bool checked) {
    if (busy_) return;
    if (LayerRecord* pen = ActivePen()) ApplyCheck(box, checked, *pen);
    if (box == PenCheck::Check4) {
        picture3_->setEnabled(checked);
        vscroll2_->setEnabled(checked && vscroll2_->maximum() > 0);
        if (checked) ShowSelections(ActivePen());
    } else if (box == PenCheck::Check1) {
        // The frame takes the focus back, so that its keys work at once.
        if (QWidget* frame = parentWidget()) frame->activateWindow();
    }
}

void PenWindow::GPenPictureClick(double x, double y) {
    LayerRecord* pen = ActivePen();
    if (!pen) return;
    const int32_t i = PatternClickIndex(GetP2XIndex(x), GetP2YIndex(y, vscroll1_->value()),
                                        context_.Patterns.GraphicPenList);
    if (i == 0) return;
    pen->PenParams(3, 1) = i;
    picture2_->SetSelected(i);
}

void PenWindow::FillPictureClick(double x, double y) {
    LayerRecord* pen = ActivePen();
    if (!pen) return;
    const int32_t i = PatternClickIndex(GetP3XIndex(x), GetP3YIndex(y, vscroll2_->value()),
                                        context_.Patterns.FillPatternList);
    if (i == 0) return;
    pen->PenParams(5, 3) = i;
    picture3_->SetSelected(i);
}

void PenWindow::Event_MouseDown(Qt::MouseButton button, double x, double y) {
    if (button != Qt::LeftButton) return;
    LayerRecord* pen = ActivePen();
    if (!pen) return;
    const int32_t px = TwipsToPixel(x * kTwipsPerPixel, kTwipsPerPixel);
    const int32_t py = TwipsToPixel(y * kTwipsPerPixel, kTwipsPerPixel);
    const std::optional<int32_t> color = ColorChartPick(picture1_->Chart(), px, py);
    if (!color) return;
    pen->PenColor = *color;
    ShowPenColor(context_.Core.ActiveFID);
}

void PenWindow::SwatchMouseDown(Qt::MouseButton button) {
    if (button != Qt::RightButton || !context_.ChooseColor) return;
    LayerRecord* pen = ActivePen();
    if (!pen) return;
    const std::optional<int32_t> chosen = context_.ChooseColor(pen->PenColor);
    // The box may have closed the document; look the pen up again.
    pen = ActivePen();
    if (!chosen || !pen) return;
    pen->PenColor = *chosen;
    ShowPenColor(context_.Core.ActiveFID);
}

void PenWindow::HotspotEdited(int32_t index) {
    DocumentRecord* doc = ActiveDoc();
    if (!doc) return;
    QLineEdit* box = text1_[static_cast<size_t>(index)];
    const std::string text = FromQ(box->text());
    int32_t& target = index == 0 ? doc->HotspotX : doc->HotspotY;
    target = HotspotFromText(text, index == 0 ? doc->Width : doc->Height);
    box->setText(QString::number(target));
    if (doc->ShowHotspot != kNo && context_.RedrawDocument)
        context_.RedrawDocument(context_.Core.ActiveFID);
}

bool PenWindow::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::FocusOut) {
        for (int32_t i = 0; i < 2; ++i)
            if (watched == text1_[static_cast<size_t>(i)]) HotspotEdited(i);
    }
    return QWidget::eventFilter(watched, event);
}

void PenWindow::closeEvent(QCloseEvent* event) {
    // The window lives as long as the frame; closing it only hides it.
    event->ignore();
    hide();
}

QAbstractButton* PenWindow::Option1(int32_t index) const {
    return index >= 0 && index < kToolCount ? option1_[static_cast<size_t>(index)] : nullptr;
}
QGroupBox* PenWindow::Frame1(int32_t index) const {
    return index >= 0 && index < kPanelCount ? frame1_[static_cast<size_t>(index)] : nullptr;
}
QScrollBar* PenWindow::HScroll(int32_t n) const {
    return n >= 1 && n <= kBarCount ? bars_[static_cast<size_t>(n)] : nullptr;
}
QLabel* PenWindow::HScrollLabel(int32_t n) const {
    return n >= 1 && n <= kBarCount ? barLabels_[static_cast<size_t>(n)] : nullptr;
}
QCheckBox* PenWindow::Check(int32_t n) const {
    return n >= 1 && n <= 5 ? checks_[static_cast<size_t>(n)] : nullptr;
}
QWidget* PenWindow::Picture1() const {
    return picture1_;
}
QLabel* PenWindow::Label1() const {
    return label1_;
}
QWidget* PenWindow::Picture2() const {
    return picture2_;
}
QWidget* PenWindow::Picture3() const {
    return picture3_;
}
QLineEdit* PenWindow::Text1(int32_t index) const {
    return index == 0 || index == 1 ? text1_[static_cast<size_t>(index)] : nullptr;
}

}  // namespace brv
