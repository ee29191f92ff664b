// The PNG save options box over PNGSaveFormModel: the colour choices the picture allows, the
// four speeds and interlacing. The logic asks for it through Host::AskPngSaveOptions and does
// the writing itself once the box has answered.
#pragma once

#include <QCheckBox>
#include <QDialog>
#include <QRadioButton>
#include <array>
#include <optional>

#include "core/host.h"
#include "formats/png_save_form.h"

namespace brv {

class PngSaveDialog : public QDialog {
    Q_OBJECT
public:
    // Starts from the form: colours it doesn't enable are greyed, its choices are checked.
    PngSaveDialog(const PNGSaveFormModel& form, QWidget* parent);

    // The form with the choices as they stand in the box.
    PNGSaveFormModel Form() const;

    QRadioButton* ColorButton(size_t i) const { return colorButtons_[i]; }
    QRadioButton* SpeedButton(size_t i) const { return speedButtons_[i]; }
    QCheckBox* InterlaceBox() const { return interlace_; }

    // Shows the box modally from the Host's question; the choices, or nullopt when cancelled.
    static std::optional<PngSaveOptions> Ask(const PngSaveOptions& initial, QWidget* parent);

private:
    PNGSaveFormModel form_;
    std::array<QRadioButton*, kPNGColorChoices.size()> colorButtons_{};
    std::array<QRadioButton*, kPNGSpeedChoices.size()> speedButtons_{};
    QCheckBox* interlace_ = nullptr;
};

}  // namespace brv
