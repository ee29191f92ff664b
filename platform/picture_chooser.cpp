#include "platform/picture_chooser.h"

#include <QDialogButtonBox>
#include <QFileInfo>
#include <QPainter>
#include <QVBoxLayout>

namespace brv {

QImage ThumbnailImage(const PixelBuffer& picture, int side) {
    QImage out(side, side, QImage::Format_RGB32);
    QPainter p(&out);
    // The same checkerboard as the canvas, at a smaller cell.
    for (int y = 0; y < side; y += 8)
        for (int x = 0; x < side; x += 8)
            p.fillRect(
                x, y, 8, 8,
                ((x / 8) % 2) != ((y / 8) % 2) ? QColor(255, 255, 255) : QColor(200, 200, 200));
    if (!picture.Empty()) {
        const QImage src(picture.Bytes().data(), picture.Width(), picture.Height(),
                         static_cast<qsizetype>(picture.Stride()), QImage::Format_ARGB32);
        const QImage scaled =
            src.scaled(side, side, Qt::KeepAspectRatio,
                       picture.Width() > side || picture.Height() > side ? Qt::SmoothTransformation
                                                                         : Qt::FastTransformation);
        p.drawImage((side - scaled.width()) / 2, (side - scaled.height()) / 2, scaled);
    }
    return out;
}

PictureChooser::PictureChooser(const QString& fileName, const std::vector<PixelBuffer>& pictures,
                               QWidget* parent)
    : QDialog(parent), list_(new QListWidget(this)) {
    setWindowTitle(QFileInfo(fileName).fileName());
    list_->setViewMode(QListView::IconMode);
    list_->setIconSize(QSize(64, 64));
    list_->setGridSize(QSize(96, 104));
    list_->setResizeMode(QListView::Adjust);
    list_->setMovement(QListView::Static);
    for (size_t i = 0; i < pictures.size(); ++i) {
        const PixelBuffer& pic = pictures[i];
        const QString label =
            pic.Empty()
                ? QStringLiteral("#%1").arg(i + 1)
                : QStringLiteral("#%1  %2x%3").arg(i + 1).arg(pic.Width()).arg(pic.Height());
        auto* item =
            new QListWidgetItem(QIcon(QPixmap::fromImage(ThumbnailImage(pic, 64))), label, list_);
        item->setData(Qt::UserRole, static_cast<int>(i + 1));
        if (pic.Empty()) item->setFlags(item->flags() & ~Qt::ItemIsEnabled);
    }
    if (list_->count() > 0) list_->setCurrentRow(0);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(list_);
    layout->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(list_, &QListWidget::itemDoubleClicked, this, &QDialog::accept);
    resize(480, 360);
}

int32_t PictureChooser::ChosenIndex() const {
    const QListWidgetItem* item = list_->currentItem();
    return item ? item->data(Qt::UserRole).toInt() : 0;
}

}  // namespace brv
