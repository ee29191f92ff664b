// The settings dialog: edits a copy of the settings record; OK hands the copy back.
#pragma once

#include <QCheckBox>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <array>

#include "core/settings.h"

namespace brv {

class SettingDialog : public QDialog {
    Q_OBJECT
public:
    SettingDialog(const SettingsRecord& settings, QWidget* parent);

    // The edited copy, valid after OK.
    const SettingsRecord& Result() const { return copy_; }

    QCheckBox* Check1(int index) { return check1_[static_cast<size_t>(index)]; }
    QLineEdit* Text1() { return text1_; }
    QLineEdit* Text2(int index) { return text2_[static_cast<size_t>(index)]; }
    QLineEdit* Text3() { return text3_; }
    QLabel* HelpLabel() { return help_; }

    void accept() override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void Watch(QWidget* control, const QString& help);
    // Range check of one text box: under 1 gives 1, at or above the limit the limit.
    static void CheckRange(QLineEdit* edit, int32_t limit);
    static int32_t Value(QLineEdit* edit);

    SettingsRecord copy_;
    std::array<QCheckBox*, 7> check1_{};
    QLineEdit* text1_ = nullptr;
    std::array<QLineEdit*, 2> text2_{};
    QLineEdit* text3_ = nullptr;
    QLabel* help_ = nullptr;
};

// The help shown for each control, as lines.
QString SettingHelpText(int check1Index);
QString WindowScaleHelpText();

}  // namespace brv
