// MDIForm1: the frame. It holds the document windows in an MDI area, shows the frame menu
// while no document is active and the document menu while one is, and owns the status line.
#pragma once

#include <QLabel>
#include <QMainWindow>
#include <QMap>
#include <QMdiArea>
#include <QPointer>
#include <QProgressBar>
#include <QShortcut>
#include <QTimer>

#include "app/menu_table.h"
#include "core/settings.h"
#include "core/view_render.h"
#include "platform/guide_window.h"
#include "platform/layer_window.h"
#include "platform/pen_window.h"

namespace brv {

class Application;
class DocumentWindow;

class MainWindow : public QMainWindow {
    Q_OBJECT
public:
    explicit MainWindow(Application& app);
    ~MainWindow() override;

    QSize MdiClientSize() const;
    QMdiArea* Mdi() { return mdi_; }

    QSize CreateDocumentWindow(int32_t fid, QSize outer);
    void DestroyDocumentWindow(int32_t fid);
    DocumentWindow* FindDocumentWindow(int32_t fid) const;
    void ShowDocument(int32_t fid);
    void Activate(DocumentWindow* window);
    // Recomposites the active document's whole view and the tool windows that show it.
    void RefreshActiveDocument();
    // The guide and layer windows after a change of the document (0: none).
    void RefreshToolWindows(int32_t fid);
    ViewTimer& Timer() { return timer_; }
    GuideWindow* Guide() const { return guide_; }
    LayerWindow* Layers() const { return layers_; }
    PenWindow* Pen() const { return pen_; }
    // Shows or hides a tool window by its menu command.
    void ToggleToolWindow(Command which);
    void ShowAllToolWindows(bool show);
    void ShowDocumentQuietly(int32_t fid);
    // The canvas's right-button menu at a screen position.
    void ShowCanvasMenu(const QPoint& globalPos);
    void ArrangeDocuments(Command how);

    void SetStatusText(const QString& text);
    // The recording command's caption, and the status line's second field.
    void SetRecordingCaption(std::string_view caption);
    void SetRecordingStatus(std::string_view text);
    void ShowProgress(int32_t position, int32_t maximum);
    void HideProgress();
    bool ProgressCancelClicked() const { return cancelClicked_; }

    // Window placements to and from the settings record.
    void TakePlacements(SettingsRecord& settings) const;
    void RestorePlacements(const SettingsRecord& settings);
    // Places the tool windows along the frame's edges (none exist yet but the frame).
    void LayOutToolWindows();
    bool ToolLayoutPending() const { return pendingLayout_; }

    void UpdateMenuBar();
    // The menu that the actions of a table were built into, for tests.
    QAction* FindAction(const QString& caption) const;

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void BuildMenus(std::span<const TopMenu> tables, QList<QMenu*>& out);
    void FillRecentMenu(QMenu* menu);
    void UpdateEnablement(QMenu* menu);
    static void ResetEnablement(QMenu* menu);
    void AddCaptionShortcut(QAction* action, const MenuEntry& entry);
    void OnSubWindowActivated();
    // The paste entries' rule: the clipboard holds a picture.
    bool ClipboardHasPicture();
    void OnTick();

    Application& app_;
    QMdiArea* mdi_ = nullptr;
    QLabel* status_ = nullptr;
    QLabel* recording_ = nullptr;
    QProgressBar* progress_ = nullptr;
    bool cancelClicked_ = false;
    QList<QMenu*> frameMenus_;
    QList<QMenu*> documentMenus_;
    bool showingDocumentMenus_ = false;
    QMap<int32_t, QPointer<DocumentWindow>> documents_;
    QList<QShortcut*> shortcuts_;
    ViewTimer timer_;
    GuideWindow* guide_ = nullptr;
    LayerWindow* layers_ = nullptr;
    PenWindow* pen_ = nullptr;
    bool pendingLayout_ = false;  // a tool window had no stored place
    QTimer* tick_ = nullptr;      // the hand-made ones named in captions
};

}  // namespace brv
