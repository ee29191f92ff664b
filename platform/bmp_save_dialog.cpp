#include "platform/bmp_save_dialog.h"

#include <QDialogButtonBox>
#include <QVBoxLayout>
#include <string>

#include "platform/qt_text.h"

namespace brv {

BmpSaveDialog::BmpSaveDialog(int32_t depth, const BmpSaveChoice& choice, QWidget* parent)
    : QDialog(parent) {
    setWindowTitle(ToQ(kBmpSaveHeading));
    auto* layout = new QVBoxLayout(this);
    label_ = new QLabel(ToQ(std::string(kBmpSaveDepthLabel) + std::to_string(depth)), this);
    layout->addWidget(label_);
    check1_ = new QCheckBox(ToQ(kBmpSaveCheck1), this);
    check1_->setChecked(choice.Check1);
    layout->addWidget(check1_);
    check2_ = new QCheckBox(ToQ(kBmpSaveCheck2), this);
    check2_->setChecked(choice.Check2);
    layout->addWidget(check2_);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    layout->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
}

BmpSaveChoice BmpSaveDialog::Choice() const {
    return {check1_->isChecked(), check2_->isChecked()};
}

std::optional<BmpSaveOptions> BmpSaveDialog::Ask(const BmpSaveOptions& initial, QWidget* parent) {
    BmpSaveDialog dialog(initial.Depth, {initial.Check1, initial.Check2}, parent);
    if (dialog.exec() != QDialog::Accepted) return std::nullopt;
    const BmpSaveChoice choice = dialog.Choice();
    return BmpSaveOptions{initial.Depth, choice.Check1, choice.Check2};
}

}  // namespace brv
