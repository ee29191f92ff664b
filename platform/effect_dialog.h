// The effect dialogs, built from each effect's description of its controls, and the menu's
// road into RunEffect.
//
//   EffectMenuContext ctx{frame, core, host, fx, [&](int32_t fid) { frame->Refresh(fid); }};
//   RunEffectMenuCommand(ctx, "HSV調整");   // dialog, preview, run, undo point
#pragma once

#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <functional>
#include <map>
#include <string_view>
#include <vector>

#include "core/core_state.h"
#include "core/host.h"
#include "effects/effect.h"
#include "platform/effect_preview.h"

namespace brv {

// A histogram box of the level dialog: one vertical line per entry and marks under the graph.
class HistogramView : public QWidget {
    Q_OBJECT
public:
    explicit HistogramView(QWidget* parent = nullptr);
    void SetData(std::vector<double> entries, std::vector<int32_t> marks);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    std::vector<double> entries_;
    std::vector<int32_t> marks_;
};

class EffectDialog : public QDialog {
    Q_OBJECT
public:
    EffectDialog(Effect& effect, const DialogSpec& spec, CoreState& core, Host& host,
                 EffectState& fx, int32_t fid, int32_t lid, std::function<void(int32_t fid)> redraw,
                 QWidget* frame);
    ~EffectDialog() override;

    // The ShowUI scaffold: defaults into the controls, the dialog placed and shown with its
    // preview, then the first ChangeEvent; returns when the dialog is closed.
    void Run();

    // The controls' values in argument order.
    EffectArgs ReadControls() const;

    // For tests: the control of an argument, or nullptr.
    QScrollBar* ScrollFor(int32_t arg) const;
    QCheckBox* CheckFor(int32_t arg) const;
    QComboBox* ListFor(int32_t arg) const;
    QPushButton* OkButton() const { return ok_; }
    QPushButton* CancelButton() const { return cancel_; }
    EffectPreview* PreviewWindow() const { return preview_; }

public slots:
    void reject() override;

private:
    struct Bound {
        const ControlSpec* spec = nullptr;
        QScrollBar* scroll = nullptr;
        QLabel* label = nullptr;
        QCheckBox* check = nullptr;
        QComboBox* list = nullptr;
        std::vector<QRadioButton*> options;
        HistogramView* histogram = nullptr;
    };
    void Build();
    void SetDefaults();
    void OnControlChanged();
    void UpdateLabels();
    void DrawHistograms(HistogramBox which);

    Effect& effect_;
    DialogSpec spec_;
    CoreState& core_;
    Host& host_;
    EffectState& fx_;
    int32_t fid_;
    int32_t lid_;
    std::function<void(int32_t)> redraw_;
    QWidget* frame_;
    std::vector<Bound> bound_;
    QPushButton* ok_ = nullptr;
    QPushButton* cancel_ = nullptr;
    EffectPreview* preview_ = nullptr;
};

// The window system's ShowUI for RunEffect: a modal dialog over `frame`.
Effect::DialogRunner MakeEffectDialogRunner(QWidget* frame, CoreState& core, Host& host,
                                            EffectState& fx,
                                            std::function<void(int32_t fid)> redraw);

struct EffectMenuContext {
    QWidget* frame = nullptr;
    CoreState& core;
    Host& host;
    EffectState& fx;
    // Recomposites and repaints a document and the tool windows that show it.
    std::function<void(int32_t fid)> redraw;
};

// An entry of the effects menu on the active layer of the active document. Returns
// RunEffect's code, or 0 when the entry has no effect or no document is active.
int32_t RunEffectMenuCommand(const EffectMenuContext& ctx, std::string_view caption);

}  // namespace brv
