#include "core/pixel_buffer.h"

#include <algorithm>
#include <new>

namespace brv {

PixelBuffer::PixelBuffer(int32_t width, int32_t height)
    : width_(std::max(width, 0)), height_(std::max(height, 0)) {
    bytes_.assign(Stride() * static_cast<size_t>(height_), 0);
    if (bytes_.empty()) width_ = height_ = 0;
}

std::optional<PixelBuffer> PixelBuffer::TryCreate(int32_t width, int32_t height) {
    if (width < 0 || height < 0 || width > kMaxSide || height > kMaxSide) return std::nullopt;
    try {
        return PixelBuffer(width, height);
    } catch (const std::bad_alloc&) {
        return std::nullopt;
    }
}

std::optional<PixelBuffer> PixelBuffer::FromBytes(int32_t width, int32_t height,
                                                  std::vector<uint8_t> bytes) {
    if (width < 0 || height < 0 || width > kMaxSide || height > kMaxSide) return std::nullopt;
    if (bytes.size() != size_t{4} * static_cast<size_t>(width) * static_cast<size_t>(height))
        return std::nullopt;
    PixelBuffer p;
    if (!bytes.empty()) {
        p.width_ = width;
        p.height_ = height;
        p.bytes_ = std::move(bytes);
    }
    return p;
}

std::optional<Bgra> PixelBuffer::Get(int32_t x, int32_t y) const {
    if (!Contains(x, y)) return std::nullopt;
    const uint8_t* p = PixelPtr(x, y);
    return Bgra{p[0], p[1], p[2], p[3]};
}

bool PixelBuffer::Set(int32_t x, int32_t y, Bgra c) {
    if (!Contains(x, y)) return false;
    uint8_t* p = PixelPtr(x, y);
    p[0] = c.b;
    p[1] = c.g;
    p[2] = c.r;
    p[3] = c.a;
    return true;
}

void PixelBuffer::Fill(Bgra c) {
    for (size_t i = 0; i + 3 < bytes_.size(); i += 4) {
        bytes_[i] = c.b;
        bytes_[i + 1] = c.g;
        bytes_[i + 2] = c.r;
        bytes_[i + 3] = c.a;
    }
}

void PixelBuffer::Clear() {
    width_ = height_ = 0;
    bytes_.clear();
    bytes_.shrink_to_fit();
}

void FlipAndInvert(PixelBuffer& picture, bool bFlip, bool bInvert) {
    const int32_t h = picture.Height();
    const size_t stride = picture.Stride();
    if (bFlip && h > 1) {
        for (int32_t r = 0; r <= (h - 1) / 2; ++r) {
            int32_t other = h - 1 - r;
            if (other == r) continue;
            std::swap_ranges(picture.Row(r), picture.Row(r) + stride, picture.Row(other));
        }
    }
    if (bInvert) {
        auto bytes = picture.Bytes();
        for (size_t i = 3; i < bytes.size(); i += 4)
            bytes[i] = static_cast<uint8_t>(~bytes[i]);
    }
}

}  // namespace brv
