// ef_preview: the preview window shared by the effect dialogs. It shows the effect's result
// on the layer's backup in its box, or, with "元画像に反映", on the layer itself, and keeps
// its place and check boxes in the settings between dialogs.
#pragma once

#include <QCheckBox>
#include <QImage>
#include <QPushButton>
#include <QWidget>
#include <functional>

#include "core/core_state.h"
#include "core/host.h"
#include "effects/effect.h"

namespace brv {

// The picture box: the composited result, unscaled from the top-left corner.
class PreviewBox : public QWidget {
    Q_OBJECT
public:
    explicit PreviewBox(QWidget* parent = nullptr);
    void SetPicture(QImage picture);
    const QImage& Picture() const { return picture_; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QImage picture_;
};

class EffectPreview : public QWidget {
    Q_OBJECT
public:
    // parentDialog: the effect's dialog, so that the preview stays usable while it is modal.
    // redraw recomposites and repaints a document after the layer was written.
    EffectPreview(CoreState& core, Host& host, EffectState& fx, Effect& effect,
                  std::function<void(int32_t fid)> redraw, QWidget* parentDialog);
    ~EffectPreview() override;

    // Places the window beside the dialog (or where it was last), sets the check boxes from the
    // settings and shows it.
    void UserShow(QWidget* parentForm, int32_t sFID, int32_t sLID);
    // A value of the dialog changed: recomputes when "リアルタイムプレビュー" is checked.
    void UserChangeEffectValue();
    // Recomputes the preview: the "反映" button and either check box.
    void UserCallParent();
    // Takes the layer back if the preview wrote it and saves the window's place; the window is
    // then closed. Called once when the dialog ends.
    void ClosePreviewWindow();

    // Called after each computation, for dialogs that show something of the result.
    std::function<void()> AfterCompute;

    QCheckBox* ReflectBox() const { return reflect_; }
    QCheckBox* RealtimeBox() const { return realtime_; }
    QPushButton* ApplyButton() const { return apply_; }
    PreviewBox* Box() const { return box_; }

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void ShowBoxFor(bool reflect);

    CoreState& core_;
    Host& host_;
    EffectState& fx_;
    Effect& effect_;
    std::function<void(int32_t)> redraw_;
    int32_t fid_ = 0;
    int32_t lid_ = 0;
    bool settingUp_ = true;
    bool layerWritten_ = false;
    bool closed_ = false;
    PreviewBox* box_ = nullptr;
    QCheckBox* reflect_ = nullptr;
    QCheckBox* realtime_ = nullptr;
    QPushButton* apply_ = nullptr;
};

}  // namespace brv
