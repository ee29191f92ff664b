#include "platform/png_save_dialog.h"

#include <QButtonGroup>
#include <QDialogButtonBox>
#include <QGroupBox>
#include <QVBoxLayout>

#include "app/file_commands.h"
#include "platform/qt_text.h"

namespace brv {

PngSaveDialog::PngSaveDialog(const PNGSaveFormModel& form, QWidget* parent)
    : QDialog(parent), form_(form) {
    setWindowTitle(QStringLiteral("PNG"));
    auto* layout = new QVBoxLayout(this);

    auto* colours = new QGroupBox(this);
    auto* colourLayout = new QVBoxLayout(colours);
    auto* colourGroup = new QButtonGroup(this);
    for (size_t i = 0; i < kPNGColorChoices.size(); ++i) {
        auto* radio = new QRadioButton(ToQ(kPNGColorChoices[i].Caption), colours);
        radio->setEnabled(form.ColorEnabled[i]);
        radio->setChecked(kPNGColorChoices[i].ColorBit == form.ColorBit);
        colourGroup->addButton(radio);
        colourLayout->addWidget(radio);
        colorButtons_[i] = radio;
    }
    layout->addWidget(colours);

    auto* speeds = new QGroupBox(this);
    auto* speedLayout = new QVBoxLayout(speeds);
    auto* speedGroup = new QButtonGroup(this);
    for (size_t i = 0; i < kPNGSpeedChoices.size(); ++i) {
        auto* radio = new QRadioButton(ToQ(kPNGSpeedChoices[i].Caption), speeds);
        radio->setChecked(static_cast<int32_t>(i) == form.SpeedIndex);
        speedGroup->addButton(radio);
        speedLayout->addWidget(radio);
        speedButtons_[i] = radio;
    }
    layout->addWidget(speeds);

    interlace_ = new QCheckBox(ToQ(kPNGInterlaceCaption), this);
    interlace_->setChecked(form.InterlaceOn);
    layout->addWidget(interlace_);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    layout->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
}

PNGSaveFormModel PngSaveDialog::Form() const {
    PNGSaveFormModel form = form_;
    for (size_t i = 0; i < colorButtons_.size(); ++i)
        if (colorButtons_[i]->isChecked()) form.ColorBit = kPNGColorChoices[i].ColorBit;
    for (size_t i = 0; i < speedButtons_.size(); ++i)
        if (speedButtons_[i]->isChecked()) form.SpeedIndex = static_cast<int32_t>(i);
    form.InterlaceOn = interlace_->isChecked();
    return form;
}

std::optional<PngSaveOptions> PngSaveDialog::Ask(const PngSaveOptions& initial, QWidget* parent) {
    PNGSaveFormModel form;
    form.ColorEnabled = initial.ColorEnabled;
    TakePngSaveOptions(initial, form);
    PngSaveDialog dialog(form, parent);
    if (dialog.exec() != QDialog::Accepted) return std::nullopt;
    return ToPngSaveOptions(dialog.Form());
}

}  // namespace brv
