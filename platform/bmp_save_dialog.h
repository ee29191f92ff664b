// The bitmap save options box of BmpSaveDialogModel: the depth the picture needs and the two
// check boxes. The logic asks for it through Host::AskBmpSaveOptions and writes the files
// itself once the box has answered.
#pragma once

#include <QCheckBox>
#include <QDialog>
#include <QLabel>
#include <optional>

#include "core/host.h"
#include "formats/bmp_save.h"

namespace brv {

class BmpSaveDialog : public QDialog {
    Q_OBJECT
public:
    // depth is what the label shows; choice gives the boxes' start.
    BmpSaveDialog(int32_t depth, const BmpSaveChoice& choice, QWidget* parent);

    BmpSaveChoice Choice() const;

    QLabel* DepthLabel() const { return label_; }
    QCheckBox* Check1() const { return check1_; }
    QCheckBox* Check2() const { return check2_; }

    // Shows the box modally from the Host's question; the choices, or nullopt when cancelled.
    static std::optional<BmpSaveOptions> Ask(const BmpSaveOptions& initial, QWidget* parent);

private:
    QLabel* label_ = nullptr;
    QCheckBox* check1_ = nullptr;
    QCheckBox* check2_ = nullptr;
};

}  // namespace brv
