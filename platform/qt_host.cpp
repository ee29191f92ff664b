#include "platform/qt_host.h"

#include <QApplication>
#include <QButtonGroup>
#include <QClipboard>
#include <QDialogButtonBox>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QGuiApplication>
#include <QInputDialog>
#include <QMdiSubWindow>
#include <QMessageBox>
#include <QMimeData>
#include <QRadioButton>
#include <QStyle>
#include <QThread>
#include <QVBoxLayout>

#include "platform/bmp_save_dialog.h"
#include "platform/document_window.h"
#include "platform/main_window.h"
#include "platform/picture_chooser.h"
#include "platform/png_save_dialog.h"
#include "platform/qt_image.h"
#include "platform/qt_text.h"

namespace brv {

namespace {

QMessageBox::Icon ToQtIcon(MessageIcon icon) {
    switch (icon) {
        case MessageIcon::None:
            return QMessageBox::NoIcon;
        case MessageIcon::Information:
            return QMessageBox::Information;
        case MessageIcon::Exclamation:
            return QMessageBox::Warning;
        case MessageIcon::Critical:
            return QMessageBox::Critical;
        case MessageIcon::Question:
            return QMessageBox::Question;
    }
    return QMessageBox::NoIcon;
}

QString Title(std::string_view title) {
    return title.empty() ? QStringLiteral("Brivandelle") : ToQ(title);
}

}  // namespace

QtHost::QtHost() {
    clock_.start();
}

void QtHost::ShowMessage(std::string_view text, MessageIcon icon, std::string_view title) {
    QMessageBox box(ToQtIcon(icon), Title(title), ToQ(text), QMessageBox::Ok,
                    frame_ ? static_cast<QWidget*>(frame_) : nullptr);
    box.exec();
}

Answer QtHost::Ask(std::string_view text, Buttons buttons, MessageIcon icon,
                   std::string_view title) {
    QMessageBox::StandardButtons qb = QMessageBox::Ok;
    switch (buttons) {
        case Buttons::Ok:
            qb = QMessageBox::Ok;
            break;
        case Buttons::OkCancel:
            qb = QMessageBox::Ok | QMessageBox::Cancel;
            break;
        case Buttons::YesNo:
            qb = QMessageBox::Yes | QMessageBox::No;
            break;
        case Buttons::YesNoCancel:
            qb = QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel;
            break;
    }
    QMessageBox box(ToQtIcon(icon), Title(title), ToQ(text), qb,
                    frame_ ? static_cast<QWidget*>(frame_) : nullptr);
    switch (box.exec()) {
        case QMessageBox::Yes:
            return Answer::Yes;
        case QMessageBox::No:
            return Answer::No;
        case QMessageBox::Ok:
            return Answer::Ok;
        default:
            return Answer::Cancel;
    }
}

std::optional<std::string> QtHost::AskText(std::string_view prompt, std::string_view initial,
                                           std::string_view title) {
    bool ok = false;
    QString s = QInputDialog::getText(frame_, Title(title), ToQ(prompt), QLineEdit::Normal,
                                      ToQ(initial), &ok);
    if (!ok) return std::nullopt;
    return FromQ(s);
}

QString ToQtFilter(std::string_view filter) {
    const QStringList parts = ToQ(filter).split('|');
    QStringList out;
    for (qsizetype i = 0; i + 1 < parts.size(); i += 2) {
        QString patterns = parts[i + 1];
        patterns.replace(';', ' ');
        out << QStringLiteral("%1 (%2)").arg(parts[i], patterns);
    }
    return out.join(QStringLiteral(";;"));
}

std::optional<std::string> QtHost::ChooseOpenFile(const FileDialogRequest& request) {
    QString f = QFileDialog::getOpenFileName(frame_, ToQ(request.title), ToQ(request.initialPath),
                                             ToQtFilter(request.filter));
    if (f.isEmpty()) return std::nullopt;
    return FromQ(f);
}

std::optional<std::string> QtHost::ChooseSaveFile(const FileDialogRequest& request) {
    QString f = QFileDialog::getSaveFileName(frame_, ToQ(request.title), ToQ(request.initialPath),
                                             ToQtFilter(request.filter));
    if (f.isEmpty()) return std::nullopt;
    return FromQ(f);
}

void QtHost::SetStatusText(std::string_view text) {
    if (frame_) frame_->SetStatusText(ToQ(text));
}

void QtHost::DrawStatusProgress(int32_t position, int32_t maximum) {
    if (frame_) frame_->ShowProgress(position, maximum);
}

void QtHost::HideStatusProgress() {
    if (frame_) frame_->HideProgress();
}

bool QtHost::CancelClicked() {
    return frame_ && frame_->ProgressCancelClicked();
}

double QtHost::Milliseconds() {
    return static_cast<double>(clock_.nsecsElapsed()) / 1.0e6;
}

void QtHost::DoEvents() {
    QApplication::processEvents(QEventLoop::AllEvents, 10);
    QThread::msleep(1);
}

Size QtHost::FrameClientSize() {
    if (!frame_) return {640, 480};
    QSize s = frame_->MdiClientSize();
    return {s.width(), s.height()};
}

int32_t QtHost::CaptionHeight() {
    const QStyle* style = frame_ ? frame_->style() : QApplication::style();
    return style->pixelMetric(QStyle::PM_TitleBarHeight);
}

Size QtHost::CreateDocumentWindow(int32_t fid, Size outer) {
    if (!frame_) return outer;
    QSize client = frame_->CreateDocumentWindow(fid, QSize(outer.width, outer.height));
    return {client.width(), client.height()};
}

void QtHost::DestroyDocumentWindow(int32_t fid) {
    if (frame_) frame_->DestroyDocumentWindow(fid);
}

void QtHost::SetDocumentCaption(int32_t fid, std::string_view caption) {
    if (!frame_) return;
    if (DocumentWindow* w = frame_->FindDocumentWindow(fid)) w->SetCaption(ToQ(caption));
}

void QtHost::FocusDocumentWindow(int32_t fid) {
    if (!frame_) return;
    if (DocumentWindow* w = frame_->FindDocumentWindow(fid)) frame_->Activate(w);
}

// The clipboard holds an ordinary image with straight alpha, so that other programs see the
// picture as it was drawn; the in-transit fourth byte is its complement.
bool QtHost::ClipboardPut(const PixelBuffer& picture) {
    QClipboard* clipboard = QGuiApplication::clipboard();
    if (!clipboard || picture.Empty()) return false;
    PixelBuffer upright = picture;
    FlipAndInvert(upright, true, true);
    clipboard->setImage(ToQImage(upright));
    return true;
}

std::optional<Size> QtHost::ClipboardPictureSize() {
    QClipboard* clipboard = QGuiApplication::clipboard();
    const QMimeData* data = clipboard ? clipboard->mimeData() : nullptr;
    if (!data || !data->hasImage()) return std::nullopt;
    const QImage image = clipboard->image();
    if (image.isNull()) return std::nullopt;
    return Size{image.width(), image.height()};
}

std::optional<PixelBuffer> QtHost::ClipboardGet() {
    QClipboard* clipboard = QGuiApplication::clipboard();
    const QMimeData* data = clipboard ? clipboard->mimeData() : nullptr;
    if (!data || !data->hasImage()) return std::nullopt;
    const QImage image = clipboard->image();
    PixelBuffer picture = FromQImage(image);
    if (picture.Empty()) return std::nullopt;
    FlipAndInvert(picture, true, true);
    return picture;
}

uint64_t QtHost::FreePhysicalMemory() {
    QFile f(QStringLiteral("/proc/meminfo"));
    if (f.open(QIODevice::ReadOnly)) {
        for (const QByteArray& line : f.readAll().split('\n')) {
            if (line.startsWith("MemAvailable:")) {
                QList<QByteArray> parts = line.simplified().split(' ');
                if (parts.size() >= 2) return parts[1].toULongLong() * 1024;
            }
        }
    }
    return uint64_t{1} << 30;
}

std::string QtHost::TempFolder() {
    QString t = qEnvironmentVariable("TEMP");
    if (t.isEmpty()) t = QDir::tempPath();
    if (!t.endsWith('/')) t += '/';
    return FromQ(t);
}

void QtHost::ShowProgressBox(std::string_view caption, int32_t position, int32_t maximum) {
    if (!progressBox_) {
        progressBox_ = std::make_unique<QProgressDialog>(frame_);
        progressBox_->setWindowModality(Qt::WindowModal);
        progressBox_->setCancelButton(nullptr);
        progressBox_->setMinimumDuration(0);
    }
    progressBox_->setWindowTitle(ToQ(caption));
    progressBox_->setLabelText(ToQ(caption));
    progressBox_->setMaximum(std::max(maximum, 1));
    progressBox_->setValue(std::clamp(position, 0, std::max(maximum, 1)));
    progressBox_->show();
    QApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
}

void QtHost::CloseProgressBox() {
    progressBox_.reset();
}

int32_t QtHost::ChoosePicture(std::string_view fnm, const std::vector<PixelBuffer>& pictures) {
    PictureChooser chooser(ToQ(fnm), pictures, frame_);
    if (chooser.exec() != QDialog::Accepted) return 0;
    return chooser.ChosenIndex();
}

std::optional<int32_t> QtHost::AskChoice(std::string_view title,
                                         const std::vector<std::string>& choices, int32_t initial) {
    QDialog dialog(frame_);
    dialog.setWindowTitle(Title(title));
    auto* layout = new QVBoxLayout(&dialog);
    auto* group = new QButtonGroup(&dialog);
    for (size_t i = 0; i < choices.size(); ++i) {
        auto* radio = new QRadioButton(ToQ(choices[i]), &dialog);
        radio->setChecked(static_cast<int32_t>(i) == initial);
        group->addButton(radio, static_cast<int>(i));
        layout->addWidget(radio);
    }
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, &dialog);
    layout->addWidget(buttons);
    QObject::connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
    QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    if (dialog.exec() != QDialog::Accepted || group->checkedId() < 0) return std::nullopt;
    return group->checkedId();
}

void QtHost::ShowDocumentWindow(int32_t fid, bool bQuiet) {
    if (!frame_) return;
    if (bQuiet)
        frame_->ShowDocumentQuietly(fid);
    else
        frame_->ShowDocument(fid);
    if (DocumentWindow* w = frame_->FindDocumentWindow(fid)) w->RedrawAll();
}

std::optional<PngSaveOptions> QtHost::AskPngSaveOptions(const PngSaveOptions& initial) {
    return PngSaveDialog::Ask(initial, frame_);
}

std::optional<BmpSaveOptions> QtHost::AskBmpSaveOptions(const BmpSaveOptions& initial) {
    return BmpSaveDialog::Ask(initial, frame_);
}

}  // namespace brv
