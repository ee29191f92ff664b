#include "platform/effect_preview.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QResizeEvent>
#include <QVBoxLayout>

#include "effects/run_effect.h"

namespace brv {

namespace {

QImage ToImage(const PixelBuffer& p) {
    if (p.Empty()) return QImage();
    QImage view(p.Bytes().data(), p.Width(), p.Height(), static_cast<qsizetype>(p.Stride()),
                QImage::Format_RGB32);
    return view.copy();
}

}  // namespace

PreviewBox::PreviewBox(QWidget* parent) : QWidget(parent) {
    setMinimumSize(4, 8);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

void PreviewBox::SetPicture(QImage picture) {
    picture_ = std::move(picture);
    update();
}

void PreviewBox::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), palette().window());
    if (!picture_.isNull()) painter.drawImage(0, 0, picture_);
}

EffectPreview::EffectPreview(CoreState& core, Host& host, EffectState& fx, Effect& effect,
                             std::function<void(int32_t)> redraw, QWidget* parentDialog)
    : QWidget(parentDialog, Qt::Tool),
      core_(core),
      host_(host),
      fx_(fx),
      effect_(effect),
      redraw_(std::move(redraw)) {
    setWindowTitle(QStringLiteral("プレビュー"));
    box_ = new PreviewBox(this);
    reflect_ = new QCheckBox(QStringLiteral("元画像に反映"), this);
    realtime_ = new QCheckBox(QStringLiteral("リアルタイムプレビュー"), this);
    apply_ = new QPushButton(QStringLiteral("反映"), this);

    // The frame at the bottom: the two check boxes one above the other, the button beside.
    auto* checks = new QVBoxLayout;
    checks->addWidget(reflect_);
    checks->addWidget(realtime_);
    auto* bottom = new QHBoxLayout;
    bottom->addLayout(checks);
    bottom->addStretch(1);
    bottom->addWidget(apply_, 0, Qt::AlignBottom);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(4, 4, 4, 4);
    layout->addWidget(box_, 1);
    layout->addLayout(bottom);

    connect(apply_, &QPushButton::clicked, this, [this] { UserCallParent(); });
    connect(realtime_, &QCheckBox::clicked, this, [this] { UserCallParent(); });
    connect(reflect_, &QCheckBox::toggled, this, [this](bool on) { ShowBoxFor(on); });
    connect(reflect_, &QCheckBox::clicked, this, [this] { UserCallParent(); });
}

EffectPreview::~EffectPreview() {
    ClosePreviewWindow();
}

void EffectPreview::UserShow(QWidget* parentForm, int32_t sFID, int32_t sLID) {
    settingUp_ = true;
    fid_ = sFID;
    lid_ = sLID;
    const EffectPlaces places = ReadEffectPlaces(core_.Settings);
    const QRect d = parentForm->frameGeometry();
    const RectI r = PlacePreview(places, core_.Screen,
                                 {d.left(), d.top(), d.left() + d.width(), d.top() + d.height()});
    setGeometry(r.left, r.top, r.right - r.left, r.bottom - r.top);
    reflect_->setChecked((places.PreviewChecks & kPreviewReflectBit) != 0);
    realtime_->setChecked((places.PreviewChecks & kPreviewRealtimeBit) != 0);
    ShowBoxFor(reflect_->isChecked());
    show();
    raise();
    settingUp_ = false;
}

void EffectPreview::UserChangeEffectValue() {
    if (realtime_->isChecked()) UserCallParent();
}

void EffectPreview::UserCallParent() {
    if (settingUp_ || closed_) return;
    PixelBuffer picture;
    const bool reflect = reflect_->isChecked();
    const PreviewOutcome outcome = RunPreview(
        core_, host_, fx_, effect_, fid_, lid_, reflect,
        {std::max(box_->width(), 1), std::max(box_->height(), 1)}, picture, layerWritten_);
    if (outcome == PreviewOutcome::Boxed) box_->SetPicture(ToImage(picture));
    if (outcome == PreviewOutcome::Reflected && redraw_) redraw_(fid_);
    if (outcome != PreviewOutcome::EndedChain && AfterCompute) AfterCompute();
}

void EffectPreview::ClosePreviewWindow() {
    if (closed_) return;
    closed_ = true;
    ClosePreview(core_, fid_, lid_, layerWritten_);
    EffectPlaces places = ReadEffectPlaces(core_.Settings);
    const QRect g = geometry();
    places.PreviewLeft = g.left();
    places.PreviewTop = g.top();
    places.PreviewWidth = g.width();
    places.PreviewHeight = g.height();
    places.PreviewChecks = (reflect_->isChecked() ? kPreviewReflectBit : 0) |
                           (realtime_->isChecked() ? kPreviewRealtimeBit : 0);
    WriteEffectPlaces(core_.Settings, places);
    hide();
}

void EffectPreview::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    if (event->size() != event->oldSize()) UserCallParent();
}

void EffectPreview::ShowBoxFor(bool reflect) {
    // With the layer itself showing the result the box has nothing to show.
    box_->setVisible(!reflect);
}

}  // namespace brv
