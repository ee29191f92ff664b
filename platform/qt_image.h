// Pictures of the logic as Qt images. A layer's bytes are blue, green, red, alpha: the same
// order as QImage's ARGB32 on a little-endian machine, so rows copy straight across.
#pragma once

#include <QImage>
#include <algorithm>

#include "core/pixel_buffer.h"

namespace brv {

// A deep copy; bottomUp for pictures whose first row is the bottom one.
inline QImage ToQImage(const PixelBuffer& p, bool bottomUp = false) {
    if (p.Empty()) return QImage();
    QImage img(p.Width(), p.Height(), QImage::Format_ARGB32);
    for (int32_t y = 0; y < p.Height(); ++y) {
        const uint8_t* src = p.Row(bottomUp ? p.Height() - 1 - y : y);
        std::copy(src, src + p.Stride(), img.scanLine(y));
    }
    return img;
}

// A Qt image as a layer picture: rows top-down, straight alpha. Empty for a null image or one
// too large to hold.
inline PixelBuffer FromQImage(const QImage& image) {
    if (image.isNull()) return PixelBuffer();
    const QImage argb = image.convertToFormat(QImage::Format_ARGB32);
    auto made = PixelBuffer::TryCreate(argb.width(), argb.height());
    if (argb.isNull() || !made) return PixelBuffer();
    PixelBuffer& p = *made;
    for (int32_t y = 0; y < p.Height(); ++y) {
        const uint8_t* src = argb.constScanLine(y);
        std::copy(src, src + p.Stride(), p.Row(y));
    }
    return std::move(p);
}

}  // namespace brv
