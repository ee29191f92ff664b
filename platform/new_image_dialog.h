// The new image dialog: a width and a height, each 1 .. the new-image limit.
#pragma once

#include <QDialog>
#include <QLineEdit>

#include "core/core_state.h"
#include "core/host.h"

namespace brv {

class NewImageDialog : public QDialog {
    Q_OBJECT
public:
    NewImageDialog(const CoreState& state, Host& host, QWidget* parent);

    int32_t ChosenWidth() const { return width_; }
    int32_t ChosenHeight() const { return height_; }
    QLineEdit* WidthEdit() { return widthEdit_; }
    QLineEdit* HeightEdit() { return heightEdit_; }

    void accept() override;

private:
    Host& host_;
    int32_t maxWidth_;
    int32_t maxHeight_;
    QLineEdit* widthEdit_;
    QLineEdit* heightEdit_;
    int32_t width_ = 0;
    int32_t height_ = 0;
};

}  // namespace brv
