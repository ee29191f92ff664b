#include "platform/effect_dialog.h"

#include <QButtonGroup>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QMainWindow>
#include <QMenuBar>
#include <QPainter>
#include <QVBoxLayout>

#include "effects/ef_lvadjust.h"
#include "effects/effect_table.h"
#include "effects/run_effect.h"
#include "platform/qt_text.h"

namespace brv {

HistogramView::HistogramView(QWidget* parent) : QWidget(parent) {
    setFixedSize(263, 76);
}

void HistogramView::SetData(std::vector<double> entries, std::vector<int32_t> marks) {
    entries_ = std::move(entries);
    marks_ = std::move(marks);
    update();
}

void HistogramView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), Qt::white);
    painter.setPen(Qt::black);
    for (const HistogramLine& l : HistogramLines(entries_, width(), height()))
        painter.drawLine(l.x, l.yTop, l.x, l.yBottom);
    const int32_t count = static_cast<int32_t>(entries_.size());
    const int32_t base = height() - 6 + 1;  // the graph's bottom line
    for (int32_t level : marks_) {
        const std::optional<int32_t> x = HistogramMarkX(level, count, width());
        if (!x) continue;
        painter.drawLine(*x, base + 1, *x, height() - 1);
        painter.drawLine(*x - 2, height() - 1, *x + 2, height() - 1);
    }
    painter.setPen(Qt::gray);
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
}

EffectDialog::EffectDialog(Effect& effect, const DialogSpec& spec, CoreState& core, Host& host,
                           EffectState& fx, int32_t fid, int32_t lid,
                           std::function<void(int32_t)> redraw, QWidget* frame)
    : QDialog(frame),
      effect_(effect),
      spec_(spec),
      core_(core),
      host_(host),
      fx_(fx),
      fid_(fid),
      lid_(lid),
      redraw_(std::move(redraw)),
      frame_(frame) {
    setWindowTitle(ToQ(spec_.title));
    if (frame_) setWindowIcon(frame_->windowIcon());
    setWindowModality(Qt::ApplicationModal);
    Build();
}

EffectDialog::~EffectDialog() {
    effect_.Preview = nullptr;
    effect_.Hide = nullptr;
    effect_.DialogVisible = false;
}

void EffectDialog::Build() {
    auto* grid = new QGridLayout;
    grid->setColumnMinimumWidth(0, 110);
    grid->setColumnStretch(1, 1);
    int row = 0;
    QHBoxLayout* checkRow = nullptr;
    ControlKind lastKind = ControlKind::Group;
    bound_.reserve(spec_.controls.size());
    for (const ControlSpec& c : spec_.controls) {
        Bound b;
        b.spec = &c;
        const QString caption = ToQ(c.caption);
        switch (c.kind) {
            case ControlKind::Group: {
                auto* label = new QLabel(caption, this);
                QFont f = label->font();
                f.setBold(true);
                label->setFont(f);
                grid->addWidget(label, row, 0, 1, 2);
                break;
            }
            case ControlKind::Text:
                grid->addWidget(new QLabel(caption, this), row, 0, 1, 2);
                break;
            case ControlKind::Scroll:
                b.label = new QLabel(this);
                b.scroll = new QScrollBar(Qt::Horizontal, this);
                b.scroll->setRange(c.min, c.max);
                b.scroll->setPageStep(c.page);
                b.scroll->setSingleStep(1);
                b.scroll->setMinimumWidth(220);
                grid->addWidget(b.label, row, 0);
                grid->addWidget(b.scroll, row, 1);
                connect(b.scroll, &QScrollBar::valueChanged, this, [this] { OnControlChanged(); });
                break;
            case ControlKind::Check:
                b.check = new QCheckBox(caption, this);
                // Check boxes that follow one another share a row, before its stretch.
                if (lastKind != ControlKind::Check) {
                    checkRow = new QHBoxLayout;
                    checkRow->addStretch(1);
                    grid->addLayout(checkRow, row, 0, 1, 2);
                } else {
                    --row;
                }
                checkRow->insertWidget(checkRow->count() - 1, b.check);
                connect(b.check, &QCheckBox::toggled, this, [this] { OnControlChanged(); });
                break;
            case ControlKind::List:
                b.list = new QComboBox(this);
                for (const std::string& item : c.items)
                    b.list->addItem(ToQ(item));
                grid->addWidget(new QLabel(caption, this), row, 0);
                grid->addWidget(b.list, row, 1);
                connect(b.list, &QComboBox::currentIndexChanged, this,
                        [this] { OnControlChanged(); });
                break;
            case ControlKind::Options: {
                auto* group = new QButtonGroup(this);
                // Two choices fit on one line; longer lists stand one under the other.
                QBoxLayout* box = c.items.size() <= 2 ? static_cast<QBoxLayout*>(new QHBoxLayout)
                                                      : static_cast<QBoxLayout*>(new QVBoxLayout);
                for (const std::string& item : c.items) {
                    auto* radio = new QRadioButton(ToQ(item), this);
                    group->addButton(radio);
                    box->addWidget(radio);
                    b.options.push_back(radio);
                    connect(radio, &QRadioButton::toggled, this, [this](bool on) {
                        if (on) OnControlChanged();
                    });
                }
                if (!c.caption.empty()) grid->addWidget(new QLabel(caption, this), row, 0);
                grid->addLayout(box, row, c.caption.empty() ? 0 : 1, 1, c.caption.empty() ? 2 : 1);
                break;
            }
            case ControlKind::Histogram:
                b.histogram = new HistogramView(this);
                grid->addWidget(b.histogram, row, 0, 1, 2, Qt::AlignHCenter);
                break;
        }
        bound_.push_back(b);
        lastKind = c.kind;
        ++row;
    }

    ok_ = new QPushButton(QStringLiteral("OK"), this);
    cancel_ = new QPushButton(QStringLiteral("キャンセル"), this);
    ok_->setDefault(true);
    connect(ok_, &QPushButton::clicked, this, [this] { effect_.OkClicked(); });
    connect(cancel_, &QPushButton::clicked, this, [this] { effect_.CancelClicked(); });
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(ok_);
    buttons->addWidget(cancel_);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(grid);
    layout->addStretch(1);
    layout->addLayout(buttons);
}

void EffectDialog::SetDefaults() {
    for (Bound& b : bound_) {
        const int32_t v = b.spec->defaultValue.ToInt().value_or(0);
        if (b.scroll) b.scroll->setValue(v);
        if (b.check) b.check->setChecked(v != 0);
        if (b.list) b.list->setCurrentIndex(v);
        for (size_t i = 0; i < b.options.size(); ++i) {
            const bool chosen = b.spec->itemValues.empty()
                                    ? static_cast<int32_t>(i) == v
                                    : b.spec->itemValues[i] == b.spec->defaultValue;
            if (chosen) b.options[i]->setChecked(true);
        }
    }
    // The controls' signals fire only for values that moved; the effect hears the defaults
    // once more, still quietly.
    effect_.ChangeEvent(ReadControls());
    UpdateLabels();
}

EffectArgs EffectDialog::ReadControls() const {
    EffectArgs args(static_cast<size_t>(std::max(spec_.argCount, 0)), EffectValue(0));
    for (const Bound& b : bound_) {
        const int32_t arg = b.spec->arg;
        if (arg < 0 || arg >= spec_.argCount) continue;
        EffectValue& v = args[static_cast<size_t>(arg)];
        if (b.scroll) v = EffectValue(b.scroll->value());
        if (b.check) v = EffectValue(b.check->isChecked() ? 1 : 0);
        if (b.list) v = EffectValue(static_cast<int32_t>(b.list->currentIndex()));
        for (size_t i = 0; i < b.options.size(); ++i) {
            if (!b.options[i]->isChecked()) continue;
            v = b.spec->itemValues.empty() ? EffectValue(static_cast<int32_t>(i))
                                           : b.spec->itemValues[i];
        }
    }
    return args;
}

void EffectDialog::OnControlChanged() {
    UpdateLabels();
    effect_.ChangeEvent(ReadControls());
}

void EffectDialog::UpdateLabels() {
    for (Bound& b : bound_)
        if (b.scroll && b.label)
            b.label->setText(ToQ(b.spec->caption) + QStringLiteral(" ") +
                             QString::number(b.scroll->value()) + ToQ(b.spec->suffix));
}

void EffectDialog::DrawHistograms(HistogramBox which) {
    const DocumentRecord* doc = core_.Doc(fid_);
    if (!doc || lid_ < 1 || lid_ > doc->LayerCount()) return;
    const PixelBuffer& source = doc->Layers[static_cast<size_t>(lid_)].Backup;
    for (Bound& b : bound_)
        if (b.histogram && b.spec->histogram == which)
            b.histogram->SetData(effect_.Histogram(which, source), effect_.HistogramMarks(which));
}

void EffectDialog::Run() {
    SetDefaults();
    DrawHistograms(HistogramBox::Source);

    adjustSize();
    const EffectPlaces places = ReadEffectPlaces(core_.Settings);
    QRect f = frame_ ? frame_->frameGeometry()
                     : QRect(0, 0, core_.Screen.ScreenWidth, core_.Screen.ScreenHeight);
    const PointI at =
        PlaceEffectDialog(places, core_.Screen, {f.left(), f.top(), f.right() + 1, f.bottom() + 1},
                          {width(), height()});
    move(at.x, at.y);

    // The effect keeps the answer (Result, IsCanceled); the dialog's own result is unused.
    effect_.Hide = [this] { done(QDialog::Rejected); };
    effect_.DialogVisible = true;
    show();
    if (spec_.preview) {
        preview_ = new EffectPreview(core_, host_, fx_, effect_, redraw_, this);
        preview_->AfterCompute = [this] { DrawHistograms(HistogramBox::Result); };
        effect_.Preview = [this] {
            if (preview_) preview_->UserChangeEffectValue();
        };
        preview_->UserShow(this, fid_, lid_);
    }
    effect_.EndInitializing(ReadControls());
    exec();

    if (preview_) preview_->ClosePreviewWindow();
    EffectPlaces saved = ReadEffectPlaces(core_.Settings);
    saved.DialogLeft = x();
    saved.DialogTop = y();
    WriteEffectPlaces(core_.Settings, saved);
}

void EffectDialog::reject() {
    // Closing the window (or Esc) is a cancel; the dialog is hidden, not destroyed.
    if (effect_.Hide)
        effect_.CancelClicked();
    else
        QDialog::reject();
}

QScrollBar* EffectDialog::ScrollFor(int32_t arg) const {
    for (const Bound& b : bound_)
        if (b.scroll && b.spec->arg == arg) return b.scroll;
    return nullptr;
}

QCheckBox* EffectDialog::CheckFor(int32_t arg) const {
    for (const Bound& b : bound_)
        if (b.check && b.spec->arg == arg) return b.check;
    return nullptr;
}

QComboBox* EffectDialog::ListFor(int32_t arg) const {
    for (const Bound& b : bound_)
        if (b.list && b.spec->arg == arg) return b.list;
    return nullptr;
}

Effect::DialogRunner MakeEffectDialogRunner(QWidget* frame, CoreState& core, Host& host,
                                            EffectState& fx, std::function<void(int32_t)> redraw) {
    return [frame, &core, &host, &fx, redraw](Effect& effect, const DialogSpec& spec, int32_t fid,
                                              int32_t lid) {
        EffectDialog dialog(effect, spec, core, host, fx, fid, lid, redraw, frame);
        dialog.Run();
    };
}

int32_t RunEffectMenuCommand(const EffectMenuContext& ctx, std::string_view caption) {
    const std::string_view name = EffectNameForMenuCaption(caption);
    const int32_t fid = ctx.core.ActiveFID;
    const DocumentRecord* doc = ctx.core.Doc(fid);
    // A run lets events through (the progress bar): the menu must not start a second one.
    if (name.empty() || !doc || ctx.fx.IsUIMode || ctx.fx.IsCalculating) return 0;
    EffectHooks hooks;
    hooks.ShowDialog = MakeEffectDialogRunner(ctx.frame, ctx.core, ctx.host, ctx.fx, ctx.redraw);
    hooks.RedrawDocument = ctx.redraw;
    // The dialog is application-modal and a child of the frame, so the frame itself must stay
    // enabled: its document area and menu bar are what go still.
    QWidget* frame = ctx.frame;
    hooks.EnableWindows = [frame](bool on) {
        auto* main = qobject_cast<QMainWindow*>(frame);
        if (!main) return;
        if (main->centralWidget()) main->centralWidget()->setEnabled(on);
        if (main->menuBar()) main->menuBar()->setEnabled(on);
    };
    return RunEffect(ctx.core, ctx.host, ctx.fx, hooks, fid, doc->ActiveLID, name, std::nullopt);
}

}  // namespace brv
