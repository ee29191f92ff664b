#include "platform/new_image_dialog.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QIntValidator>

#include "core/messages.h"

namespace brv {

NewImageDialog::NewImageDialog(const CoreState& state, Host& host, QWidget* parent)
    : QDialog(parent),
      host_(host),
      maxWidth_(state.MaxNewWidth),
      maxHeight_(state.MaxNewHeight),
      widthEdit_(new QLineEdit(QString::number(state.Settings.DefaultWidth), this)),
      heightEdit_(new QLineEdit(QString::number(state.Settings.DefaultHeight), this)) {
    setWindowTitle(QStringLiteral("新規作成"));
    auto* form = new QFormLayout(this);
    form->addRow(QStringLiteral("幅"), widthEdit_);
    form->addRow(QStringLiteral("高さ"), heightEdit_);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    form->addRow(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &NewImageDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &NewImageDialog::reject);
    widthEdit_->selectAll();
}

void NewImageDialog::accept() {
    bool okW = false, okH = false;
    const int w = widthEdit_->text().trimmed().toInt(&okW);
    const int h = heightEdit_->text().trimmed().toInt(&okH);
    if (!okW || !okH || w < 1 || w > maxWidth_ || h < 1 || h > maxHeight_) {
        // The dialog stays open for a corrected number.
        host_.ShowMessage(msg::kNumberOutOfRange, MessageIcon::Exclamation);
        return;
    }
    width_ = w;
    height_ = h;
    QDialog::accept();
}

}  // namespace brv
