#include "platform/main_window.h"

#include <QClipboard>
#include <QCloseEvent>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QGuiApplication>
#include <QMdiSubWindow>
#include <QMenuBar>
#include <QMimeData>
#include <QMouseEvent>
#include <QScreen>
#include <QShortcut>
#include <QStatusBar>
#include <QStyle>
#include <QUrl>
#include <QWindow>

#include "core/settings.h"
#include "platform/application.h"
#include "platform/document_window.h"
#include "platform/qt_text.h"
#include "tools/pen_settings.h"

namespace brv {

namespace {

// Each action remembers the table entry it came from.
struct ActionData {
    Command command;
    double argument;
    QString caption;  // the effect entries are told apart by it
};

bool Available(const ActionData& d) {
    return Application::IsAvailable(d.command, d.caption.toStdString());
}

}  // namespace

}  // namespace brv

Q_DECLARE_METATYPE(brv::ActionData)

namespace brv {

MainWindow::MainWindow(Application& app) : app_(app) {
    setWindowTitle(QStringLiteral("Brivandelle %1").arg(QStringLiteral(BRV_VERSION)));
    mdi_ = new QMdiArea(this);
    mdi_->setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    mdi_->setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    mdi_->setBackground(palette().brush(QPalette::Dark));
    setCentralWidget(mdi_);
    connect(mdi_, &QMdiArea::subWindowActivated, this, &MainWindow::OnSubWindowActivated);

    status_ = new QLabel(this);
    progress_ = new QProgressBar(this);
    progress_->setMaximumWidth(220);
    progress_->setTextVisible(false);
    progress_->hide();
    progress_->installEventFilter(this);
    recording_ = new QLabel(this);
    statusBar()->addWidget(status_, 1);
    statusBar()->addWidget(recording_);
    statusBar()->addPermanentWidget(progress_);

    setAcceptDrops(true);
    tick_ = new QTimer(this);
    tick_->setInterval(150);
    connect(tick_, &QTimer::timeout, this, &MainWindow::OnTick);
    tick_->start();

    BuildMenus(FrameMenus(), frameMenus_);
    BuildMenus(DocumentMenus(), documentMenus_);
    showingDocumentMenus_ = true;  // forces the first update to install the frame menu

    auto redrawDocument = [this](int32_t fid) {
        if (DocumentWindow* view = FindDocumentWindow(fid)) view->RedrawAll();
        RefreshToolWindows(fid);
    };
    guide_ = new GuideWindow(app_, this, redrawDocument);
    layers_ = new LayerWindow(app_, this, redrawDocument);
    AppState& state = app_.State();
    pen_ = new PenWindow(PenWindowContext{state.Core,
                                          state.Patterns,
                                          state.LoadingLibrary,
                                          PatternPictureLoader(),
                                          redrawDocument,
                                          {},
                                          {}},
                         this);
    UpdateMenuBar();
    resize(900, 700);
}

MainWindow::~MainWindow() = default;

void MainWindow::BuildMenus(std::span<const TopMenu> tables, QList<QMenu*>& out) {
    for (const TopMenu& top : tables) {
        auto* root = new QMenu(ToQ(top.caption), this);
        out.push_back(root);
        QList<QMenu*> stack{root};
        for (const MenuEntry& e : top.entries) {
            QMenu* menu = stack.back();
            switch (e.kind) {
                case EntryKind::Separator:
                    menu->addSeparator();
                    break;
                case EntryKind::SubmenuBegin: {
                    QMenu* sub = menu->addMenu(ToQ(e.caption));
                    connect(sub, &QMenu::aboutToShow, this, [this, sub] { UpdateEnablement(sub); });
                    stack.push_back(sub);
                    break;
                }
                case EntryKind::SubmenuEnd:
                    if (stack.size() > 1) stack.pop_back();
                    break;
                case EntryKind::RecentList:
                    // Rebuilt each time the submenu opens.
                    menu->setProperty("brvRecent", true);
                    break;
                case EntryKind::Command: {
                    QAction* a = menu->addAction(ToQ(e.caption));
                    if (!e.shortcut.empty()) {
                        a->setShortcut(QKeySequence(ToQ(e.shortcut)));
                        a->setShortcutContext(Qt::ApplicationShortcut);
                    }
                    a->setData(
                        QVariant::fromValue(ActionData{e.command, e.argument, ToQ(e.caption)}));
                    a->setEnabled(Application::IsAvailable(e.command, e.caption));
                    AddCaptionShortcut(a, e);
                    const std::string caption(e.caption);
                    const Command command = e.command;
                    const double argument = e.argument;
                    connect(a, &QAction::triggered, this, [this, command, argument, caption] {
                        app_.RunCommand(command, argument, caption);
                    });
                    break;
                }
            }
        }
        connect(root, &QMenu::aboutToShow, this, [this, root] { UpdateEnablement(root); });
        // Closed menus leave every available command on, so that a shortcut pressed later
        // reaches its command, which checks the document's state itself.
        connect(root, &QMenu::aboutToHide, this, [root] { ResetEnablement(root); });
    }
}

void MainWindow::ResetEnablement(QMenu* menu) {
    for (QAction* a : menu->actions()) {
        if (a->menu()) ResetEnablement(a->menu());
        if (a->data().canConvert<ActionData>())
            a->setEnabled(Available(a->data().value<ActionData>()));
    }
}

void MainWindow::AddCaptionShortcut(QAction* action, const MenuEntry& entry) {
    if (!entry.shortcut.empty()) return;
    const QString caption = ToQ(entry.caption);
    const qsizetype tab = caption.indexOf('\t');
    if (tab < 0) return;
    QString keys = caption.mid(tab + 1).trimmed();
    keys.replace(QStringLiteral("↑"), QStringLiteral("Up"));
    keys.replace(QStringLiteral("↓"), QStringLiteral("Down"));
    const QKeySequence sequence(keys);
    if (sequence.isEmpty()) return;
    auto* shortcut = new QShortcut(sequence, this);
    shortcut->setContext(Qt::ApplicationShortcut);
    connect(shortcut, &QShortcut::activated, action, [action] {
        if (action->isEnabled()) action->trigger();
    });
    shortcuts_.push_back(shortcut);
}

void MainWindow::FillRecentMenu(QMenu* menu) {
    // Keep the fixed entries (the clear command and its separator) below the list.
    QList<QAction*> fixed;
    for (QAction* a : menu->actions())
        if (!a->property("brvRecentItem").toBool()) fixed.push_back(a);
    for (QAction* a : menu->actions())
        if (a->property("brvRecentItem").toBool()) {
            menu->removeAction(a);
            a->deleteLater();
        }
    QAction* before = fixed.isEmpty() ? nullptr : fixed.front();
    const auto files = RecentFiles(app_.State().Core.Paths.UseFileList);
    for (const std::string& f : files) {
        auto* a = new QAction(ToQ(f), menu);
        a->setProperty("brvRecentItem", true);
        a->setEnabled(Application::IsAvailable(Command::Open));
        connect(a, &QAction::triggered, this, [this, f] { app_.OpenFileCommand(f); });
        menu->insertAction(before, a);
    }
}

void MainWindow::UpdateEnablement(QMenu* menu) {
    if (menu->property("brvRecent").toBool()) FillRecentMenu(menu);
    const CoreState& core = app_.State().Core;
    const MenuState m = ComputeMenuState(core, core.ActiveFID, ClipboardHasPicture());
    for (QAction* a : menu->actions()) {
        if (!a->data().canConvert<ActionData>()) continue;
        const ActionData d = a->data().value<ActionData>();
        bool enabled = Available(d);
        switch (d.command) {
            case Command::Undo:
                enabled = enabled && m.undo;
                break;
            case Command::Redo:
                enabled = enabled && m.redo;
                break;
            case Command::Paste:
            case Command::PasteNewLayer:
            case Command::PasteInSelection:
                enabled = enabled && m.paste;
                break;
            case Command::Copy:
            case Command::Cut:
            case Command::Delete:
            case Command::Crop:
            case Command::PasteAtSelection:
            case Command::Deselect:
                enabled = enabled && m.selection;
                break;
            case Command::LayerDown:
            case Command::LayerCombine:
            case Command::LayerDelete:
            case Command::LayerCombineAll:
                enabled = enabled && m.severalLayers;
                break;
            case Command::LayerReflectMove:
                enabled = enabled && m.reflectMove;
                break;
            case Command::GridToggle:
                a->setCheckable(true);
                a->setChecked(m.gridVisible);
                break;
            case Command::GridSnap:
                a->setCheckable(true);
                a->setChecked(m.gridSnap);
                break;
            case Command::Hotspot:
                a->setCheckable(true);
                a->setChecked(m.hotspot);
                break;
            case Command::ToggleGuideWindow:
                a->setCheckable(true);
                a->setChecked(guide_ && guide_->isVisible());
                break;
            case Command::ToggleLayerWindow:
                a->setCheckable(true);
                a->setChecked(layers_ && layers_->isVisible());
                break;
            case Command::TogglePenWindow:
                a->setCheckable(true);
                a->setChecked(pen_ && pen_->isVisible());
                break;
            default:
                break;
        }
        a->setEnabled(enabled);
    }
}

void MainWindow::UpdateMenuBar() {
    const bool wantDocument = app_.State().Core.Doc(app_.State().Core.ActiveFID) != nullptr &&
                              mdi_->activeSubWindow() != nullptr;
    if (wantDocument == showingDocumentMenus_) return;
    showingDocumentMenus_ = wantDocument;
    menuBar()->clear();
    for (QMenu* m : wantDocument ? documentMenus_ : frameMenus_)
        menuBar()->addMenu(m);
    // Shortcuts of the hidden table must not fire.
    for (QMenu* m : frameMenus_)
        m->setEnabled(!wantDocument);
    for (QMenu* m : documentMenus_)
        m->setEnabled(wantDocument);
}

QAction* MainWindow::FindAction(const QString& caption) const {
    const auto& menus = showingDocumentMenus_ ? documentMenus_ : frameMenus_;
    QList<QMenu*> pending(menus.begin(), menus.end());
    while (!pending.isEmpty()) {
        QMenu* m = pending.takeFirst();
        for (QAction* a : m->actions()) {
            if (a->text() == caption) return a;
            if (a->menu()) pending.push_back(a->menu());
        }
    }
    return nullptr;
}

QSize MainWindow::MdiClientSize() const {
    return mdi_->viewport()->size();
}

QSize MainWindow::CreateDocumentWindow(int32_t fid, QSize outer) {
    auto* view = new DocumentWindow(app_, fid);
    QMdiSubWindow* sub = mdi_->addSubWindow(view);
    sub->setAttribute(Qt::WA_DeleteOnClose, false);
    sub->resize(outer);
    documents_[fid] = view;
    // The child is laid out only when the window shows; its client area is the outer size
    // less the caption and the frame.
    const int border = sub->style()->pixelMetric(QStyle::PM_MdiSubWindowFrameWidth, nullptr, sub);
    const int caption = sub->style()->pixelMetric(QStyle::PM_TitleBarHeight, nullptr, sub);
    return QSize(std::max(1, outer.width() - 2 * border),
                 std::max(1, outer.height() - caption - border));
}

void MainWindow::DestroyDocumentWindow(int32_t fid) {
    QPointer<DocumentWindow> view = documents_.take(fid);
    if (!view) return;
    view->Detach();
    if (QWidget* sub = view->parentWidget()) {
        mdi_->removeSubWindow(sub);
        sub->hide();
        sub->deleteLater();
    }
    UpdateMenuBar();
    const CoreState& core = app_.State().Core;
    RefreshToolWindows(core.ActiveFID);
    if (const LayerRecord* pen = PenLayer(core, core.ActiveFID)) {
        pen_->ShowPenState(core.ActiveFID);
        pen_->OptionClick(pen->Tool - 1);
    }
}

DocumentWindow* MainWindow::FindDocumentWindow(int32_t fid) const {
    return documents_.value(fid, nullptr);
}

void MainWindow::ShowDocument(int32_t fid) {
    DocumentWindow* view = FindDocumentWindow(fid);
    if (!view) return;
    QWidget* sub = view->parentWidget();
    sub->show();
    Activate(view);
}

bool MainWindow::ClipboardHasPicture() {
    // Only whether there is one: decoding a large foreign picture at every menu would drag.
    const QClipboard* clipboard = QGuiApplication::clipboard();
    const QMimeData* mime = clipboard ? clipboard->mimeData() : nullptr;
    return mime && mime->hasImage();
}

void MainWindow::ShowCanvasMenu(const QPoint& globalPos) {
    QMenu menu(this);
    const MenuState m =
        ComputeMenuState(app_.State().Core, app_.State().Core.ActiveFID, ClipboardHasPicture());
    for (const MenuEntry& e : CanvasContextMenu()) {
        QAction* a = menu.addAction(ToQ(e.caption));
        bool enabled = Application::IsAvailable(e.command);
        if (e.command == Command::Paste || e.command == Command::PasteNewLayer ||
            e.command == Command::PasteInSelection)
            enabled = enabled && m.paste;
        else
            enabled = enabled && m.selection;
        a->setEnabled(enabled);
        const Command command = e.command;
        const std::string caption(e.caption);
        connect(a, &QAction::triggered, this,
                [this, command, caption] { app_.RunCommand(command, 0.0, caption); });
    }
    menu.exec(globalPos);
}

void MainWindow::ShowDocumentQuietly(int32_t fid) {
    if (DocumentWindow* view = FindDocumentWindow(fid)) view->parentWidget()->setVisible(true);
}

void MainWindow::Activate(DocumentWindow* window) {
    if (auto* sub = qobject_cast<QMdiSubWindow*>(window->parentWidget())) {
        mdi_->setActiveSubWindow(sub);
        sub->setFocus();
    }
}

void MainWindow::OnSubWindowActivated() {
    if (QMdiSubWindow* sub = mdi_->activeSubWindow()) {
        if (auto* view = qobject_cast<DocumentWindow*>(sub->widget())) {
            if (view->Fid() > 0) app_.State().Core.ActiveFID = view->Fid();
        }
    }
    UpdateMenuBar();
    const CoreState& core = app_.State().Core;
    RefreshToolWindows(core.ActiveFID);
    if (const LayerRecord* pen = PenLayer(core, core.ActiveFID)) {
        pen_->ShowPenState(core.ActiveFID);
        pen_->OptionClick(pen->Tool - 1);
    }
}

void MainWindow::RefreshActiveDocument() {
    const int32_t fid = app_.State().Core.ActiveFID;
    if (DocumentWindow* view = FindDocumentWindow(fid)) view->RedrawAll();
    RefreshToolWindows(fid);
}

void MainWindow::RefreshToolWindows(int32_t fid) {
    if (guide_) guide_->Refresh(fid);
    if (layers_) layers_->Refresh(fid);
}

void MainWindow::ToggleToolWindow(Command which) {
    QWidget* w = which == Command::ToggleGuideWindow   ? static_cast<QWidget*>(guide_)
                 : which == Command::ToggleLayerWindow ? static_cast<QWidget*>(layers_)
                 : which == Command::TogglePenWindow   ? static_cast<QWidget*>(pen_)
                                                       : nullptr;
    if (!w) return;
    w->setVisible(!w->isVisible());
    RefreshToolWindows(app_.State().Core.ActiveFID);
}

void MainWindow::ShowAllToolWindows(bool show) {
    for (QWidget* w : {static_cast<QWidget*>(guide_), static_cast<QWidget*>(layers_),
                       static_cast<QWidget*>(pen_)})
        if (w) w->setVisible(show);
    RefreshToolWindows(app_.State().Core.ActiveFID);
}

void MainWindow::OnTick() {
    const CoreState& core = app_.State().Core;
    const DocumentRecord* doc = core.Doc(core.ActiveFID);
    TimerFrame frame = TimerTick(timer_, doc);
    DocumentWindow* view = FindDocumentWindow(core.ActiveFID);
    if (!view) return;
    // Only a selection or a shown hot spot moves; a still window is left alone.
    if (!frame.Ants.empty() || frame.Hotspot || !view->Overlay().Ants.empty() ||
        view->Overlay().Hotspot)
        view->SetTimerFrame(frame);
}

void MainWindow::dragEnterEvent(QDragEnterEvent* event) {
    if (event->mimeData()->hasUrls()) event->acceptProposedAction();
}

void MainWindow::dropEvent(QDropEvent* event) {
    std::vector<std::string> files;
    for (const QUrl& url : event->mimeData()->urls())
        if (url.isLocalFile()) files.push_back(FromQ(url.toLocalFile()));
    if (files.empty()) return;
    event->acceptProposedAction();
    app_.OpenDroppedFiles(files);
}

void MainWindow::ArrangeDocuments(Command how) {
    const QList<QMdiSubWindow*> windows = mdi_->subWindowList();
    switch (how) {
        case Command::Cascade:
            mdi_->cascadeSubWindows();
            break;
        case Command::TileStacked:
        case Command::TileSideBySide: {
            QList<QMdiSubWindow*> shown;
            for (QMdiSubWindow* w : windows)
                if (!w->isMinimized() && w->isVisible()) shown.push_back(w);
            if (shown.isEmpty()) break;
            const QSize area = mdi_->viewport()->size();
            const auto n = static_cast<int>(shown.size());
            for (int i = 0; i < n; ++i) {
                shown[i]->showNormal();
                if (how == Command::TileStacked) {
                    const int h = area.height() / n;
                    shown[i]->setGeometry(0, i * h, area.width(), h);
                } else {
                    const int w = area.width() / n;
                    shown[i]->setGeometry(i * w, 0, w, area.height());
                }
            }
            break;
        }
        case Command::MinimizeAll:
            for (QMdiSubWindow* w : windows)
                w->showMinimized();
            break;
        case Command::RestoreAll:
            for (QMdiSubWindow* w : windows)
                w->showNormal();
            break;
        default:
            break;
    }
}

void MainWindow::SetStatusText(const QString& text) {
    status_->setText(text);
}

void MainWindow::SetRecordingCaption(std::string_view caption) {
    for (QMenu* m : documentMenus_)
        for (QAction* a : m->actions())
            if (a->data().canConvert<ActionData>() &&
                a->data().value<ActionData>().command == Command::ActionRecord)
                a->setText(ToQ(caption));
}

void MainWindow::SetRecordingStatus(std::string_view text) {
    recording_->setText(ToQ(text));
}

void MainWindow::ShowProgress(int32_t position, int32_t maximum) {
    progress_->setMaximum(std::max(maximum, 1));
    progress_->setValue(std::clamp(position, 0, std::max(maximum, 1)));
    progress_->show();
}

void MainWindow::HideProgress() {
    progress_->hide();
    cancelClicked_ = false;
}

bool MainWindow::eventFilter(QObject* watched, QEvent* event) {
    if (watched == progress_ && event->type() == QEvent::MouseButtonPress) cancelClicked_ = true;
    return QMainWindow::eventFilter(watched, event);
}

namespace {

// A window's placement as the settings keep it: the restored rectangle and how it shows.
void TakePlacement(const QWidget* w, WindowPlacement& p) {
    const QRect r = w->normalGeometry().isValid() ? w->normalGeometry() : w->geometry();
    p.length = kWindowPlacementSize;
    p.flags = 0;
    p.showCmd = !w->isVisible()    ? 0
                : w->isMaximized() ? kShowMaximized
                : w->isMinimized() ? kShowMinimized
                                   : kShowNormal;
    p.normalPosition = RectI{r.left(), r.top(), r.left() + r.width(), r.top() + r.height()};
}

// false when the slot was never written.
bool ApplyPlacement(QWidget* w, const WindowPlacement& p) {
    if (p.length != kWindowPlacementSize) return false;
    const RectI& r = p.normalPosition;
    if (r.right > r.left && r.bottom > r.top)
        w->setGeometry(r.left, r.top, r.right - r.left, r.bottom - r.top);
    if (p.showCmd == kShowMaximized) w->setWindowState(w->windowState() | Qt::WindowMaximized);
    return true;
}

}  // namespace

void MainWindow::TakePlacements(SettingsRecord& settings) const {
    TakePlacement(this, settings.Placements[kPlaceMain]);
    // The main window always counts as shown.
    WindowPlacement& main = settings.Placements[kPlaceMain];
    if (main.showCmd == 0) main.showCmd = kShowNormal;
    if (guide_) TakePlacement(guide_, settings.Placements[kPlaceGuide]);
    if (layers_) TakePlacement(layers_, settings.Placements[kPlaceLayer]);
    if (pen_) TakePlacement(pen_, settings.Placements[kPlacePen]);
}

void MainWindow::RestorePlacements(const SettingsRecord& settings) {
    const WindowPlacement& p = settings.Placements[kPlaceMain];
    const RectI& r = p.normalPosition;
    if (r.right > r.left && r.bottom > r.top)
        setGeometry(r.left, r.top, r.right - r.left, r.bottom - r.top);
    if (p.showCmd == kShowMaximized) setWindowState(windowState() | Qt::WindowMaximized);
    for (auto [w, slot] : {std::pair<QWidget*, int>{guide_, kPlaceGuide},
                           {layers_, kPlaceLayer},
                           {pen_, kPlacePen}}) {
        if (!w) continue;
        const WindowPlacement& tp = settings.Placements[static_cast<size_t>(slot)];
        if (ApplyPlacement(w, tp))
            w->setVisible(tp.showCmd != 0);
        else
            pendingLayout_ = true;
    }
}

void MainWindow::LayOutToolWindows() {
    // Along the frame's right edge, outside it when the screen has room, else just inside.
    const QRect f = frameGeometry();
    const QRect screen = this->screen() ? this->screen()->availableGeometry() : QRect();
    int x = f.right() + 8;
    if (!screen.isNull() && x + guide_->width() > screen.right())
        x = f.right() - guide_->width() - 8;
    guide_->move(x, f.top() + 60);
    guide_->show();
    layers_->move(x, guide_->frameGeometry().bottom() + 8);
    layers_->show();
    // The pen window along the left edge, where the hand that draws does not cover it.
    int px = f.left() - pen_->width() - 8;
    if (!screen.isNull() && px < screen.left()) px = f.left() + 8;
    pen_->move(px, f.top() + 60);
    pen_->show();
    pendingLayout_ = false;
}

void MainWindow::closeEvent(QCloseEvent* event) {
    if (app_.Shutdown())
        event->accept();
    else
        event->ignore();
}

}  // namespace brv
