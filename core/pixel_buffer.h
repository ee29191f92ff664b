// PixelBuffer: a 32-bit picture as a plain value.
//
//   PixelBuffer p(16, 16);            // all zero: black, fully transparent
//   p.Set(3, 4, {255, 0, 0, 255});    // checked: ignored outside the picture
//   uint8_t* px = p.PixelPtr(3, 4);   // unchecked, for hot loops: px[0] blue .. px[3] alpha
//
// Bytes are blue, green, red, alpha; the stride is exactly 4 * width. In a layer the rows run
// top-down and alpha is straight (255 opaque). Pictures coming from codecs and the clipboard
// use the same shape with the opposite conventions (rows bottom-up, fourth byte a
// transparency) until FlipAndInvert has run.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace brv {

struct Bgra {
    uint8_t b = 0, g = 0, r = 0, a = 0;
    friend bool operator==(const Bgra&, const Bgra&) = default;
};

// A colour word 0x00BBGGRR (red in the low byte) and its bytes.
inline Bgra ColorWordToBgra(int32_t color, uint8_t alpha = 255) {
    auto c = static_cast<uint32_t>(color);
    return {static_cast<uint8_t>((c >> 16) & 255), static_cast<uint8_t>((c >> 8) & 255),
            static_cast<uint8_t>(c & 255), alpha};
}
inline int32_t BgraToColorWord(Bgra p) {
    return static_cast<int32_t>(uint32_t{p.r} | (uint32_t{p.g} << 8) | (uint32_t{p.b} << 16));
}

class PixelBuffer {
public:
    // The largest side the program ever makes; beyond it a size is refused, not allocated.
    static constexpr int32_t kMaxSide = 32767;

    PixelBuffer() = default;
    // A zeroed picture. Throws std::bad_alloc like any container; use TryCreate where a file
    // or a user chooses the size.
    PixelBuffer(int32_t width, int32_t height);

    // nullopt when a side is negative or above kMaxSide, or memory runs out.
    static std::optional<PixelBuffer> TryCreate(int32_t width, int32_t height);
    // Wraps bytes of exactly 4 * width * height; nullopt otherwise.
    static std::optional<PixelBuffer> FromBytes(int32_t width, int32_t height,
                                                std::vector<uint8_t> bytes);

    int32_t Width() const { return width_; }
    int32_t Height() const { return height_; }
    bool Empty() const { return bytes_.empty(); }
    size_t Stride() const { return size_t{4} * static_cast<size_t>(width_); }
    size_t ByteSize() const { return bytes_.size(); }

    std::span<uint8_t> Bytes() { return bytes_; }
    std::span<const uint8_t> Bytes() const { return bytes_; }
    std::vector<uint8_t>& Vector() { return bytes_; }
    const std::vector<uint8_t>& Vector() const { return bytes_; }

    // Unchecked access for hot loops; the caller has tested Contains or clipped.
    uint8_t* Row(int32_t y) { return bytes_.data() + static_cast<size_t>(y) * Stride(); }
    const uint8_t* Row(int32_t y) const {
        return bytes_.data() + static_cast<size_t>(y) * Stride();
    }
    uint8_t* PixelPtr(int32_t x, int32_t y) { return Row(y) + size_t{4} * static_cast<size_t>(x); }
    const uint8_t* PixelPtr(int32_t x, int32_t y) const {
        return Row(y) + size_t{4} * static_cast<size_t>(x);
    }

    // Checked access.
    bool Contains(int32_t x, int32_t y) const {
        return x >= 0 && y >= 0 && x < width_ && y < height_;
    }
    std::optional<Bgra> Get(int32_t x, int32_t y) const;
    bool Set(int32_t x, int32_t y, Bgra p);
    void Fill(Bgra p);

    // Drops the pixels: an empty buffer of 0 by 0.
    void Clear();

    friend bool operator==(const PixelBuffer&, const PixelBuffer&) = default;

private:
    int32_t width_ = 0;
    int32_t height_ = 0;
    std::vector<uint8_t> bytes_;
};

// Brings a picture between the in-transit conventions and the layer conventions: with flip the
// rows are reversed, with invert every fourth byte is complemented.
void FlipAndInvert(PixelBuffer& picture, bool bFlip, bool bInvert);

}  // namespace brv
