// The thumbnail chooser of a file that holds several images.
#pragma once

#include <QDialog>
#include <QListWidget>
#include <vector>

#include "core/pixel_buffer.h"

namespace brv {

class PictureChooser : public QDialog {
    Q_OBJECT
public:
    // pictures[i] is image i + 1, rows top-down with straight alpha; empty when unreadable.
    PictureChooser(const QString& fileName, const std::vector<PixelBuffer>& pictures,
                   QWidget* parent);
    // The image picked, from 1; 0 when none is.
    int32_t ChosenIndex() const;
    QListWidget* List() { return list_; }

private:
    QListWidget* list_;
};

// A picture on the transparency checkerboard, scaled to fit a square of side pixels.
QImage ThumbnailImage(const PixelBuffer& picture, int side);

}  // namespace brv
