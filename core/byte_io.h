// The only way a file field is read or written: bounds-checked little- and big-endian access.
//
//   ByteReader r(bytes);
//   int32_t width = r.I32LE();
//   uint16_t bits = r.U16LE();
//   if (r.Failed()) return kErrTruncated;
//
// A read past the end returns 0 and sets a sticky failure flag, so a decoder can read a whole
// header and test once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace brv {

class ByteReader {
public:
    explicit ByteReader(std::span<const uint8_t> data, size_t pos = 0) : data_(data), pos_(pos) {
        if (pos_ > data_.size()) Fail();
    }

    size_t Pos() const { return pos_; }
    size_t Size() const { return data_.size(); }
    size_t Remaining() const { return Failed() ? 0 : data_.size() - pos_; }
    bool Failed() const { return failed_; }
    bool Has(size_t n) const { return !failed_ && n <= data_.size() - pos_; }

    // Moves to an absolute offset; past the end fails.
    bool Seek(size_t pos) {
        if (pos > data_.size()) return Fail();
        pos_ = pos;
        return true;
    }
    bool Skip(size_t n) {
        if (!Has(n)) return Fail();
        pos_ += n;
        return true;
    }

    uint8_t U8() { return static_cast<uint8_t>(Take(1)); }
    int8_t I8() { return static_cast<int8_t>(U8()); }
    uint16_t U16LE() { return static_cast<uint16_t>(TakeLE(2)); }
    int16_t I16LE() { return static_cast<int16_t>(U16LE()); }
    uint32_t U32LE() { return static_cast<uint32_t>(TakeLE(4)); }
    int32_t I32LE() { return static_cast<int32_t>(U32LE()); }
    uint16_t U16BE() { return static_cast<uint16_t>(TakeBE(2)); }
    int16_t I16BE() { return static_cast<int16_t>(U16BE()); }
    uint32_t U32BE() { return static_cast<uint32_t>(TakeBE(4)); }
    int32_t I32BE() { return static_cast<int32_t>(U32BE()); }
    float F32LE() {
        uint32_t bits = U32LE();
        float f;
        std::memcpy(&f, &bits, sizeof f);
        return f;
    }
    double F64LE() {
        uint64_t bits = TakeLE(8);
        double d;
        std::memcpy(&d, &bits, sizeof d);
        return d;
    }

    // n bytes as a view into the source; empty and failed when they are not all there.
    std::span<const uint8_t> Bytes(size_t n) {
        if (!Has(n)) {
            Fail();
            return {};
        }
        auto out = data_.subspan(pos_, n);
        pos_ += n;
        return out;
    }
    // Copies n bytes into dst; on failure dst is zero-filled.
    bool ReadInto(void* dst, size_t n) {
        auto src = Bytes(n);
        if (src.size() != n) {
            if (n) std::memset(dst, 0, n);
            return false;
        }
        if (n) std::memcpy(dst, src.data(), n);
        return true;
    }
    std::string Text(size_t n) {
        auto b = Bytes(n);
        return std::string(b.begin(), b.end());
    }

private:
    bool Fail() {
        failed_ = true;
        return false;
    }
    uint64_t Take(size_t n) { return TakeLE(n); }
    uint64_t TakeLE(size_t n) {
        if (!Has(n)) {
            Fail();
            return 0;
        }
        uint64_t v = 0;
        for (size_t i = 0; i < n; ++i)
            v |= uint64_t{data_[pos_ + i]} << (8 * i);
        pos_ += n;
        return v;
    }
    uint64_t TakeBE(size_t n) {
        if (!Has(n)) {
            Fail();
            return 0;
        }
        uint64_t v = 0;
        for (size_t i = 0; i < n; ++i)
            v = (v << 8) | data_[pos_ + i];
        pos_ += n;
        return v;
    }

    std::span<const uint8_t> data_;
    size_t pos_ = 0;
    bool failed_ = false;
};

// Appends fields to a growing byte vector; Put* patch a field already written.
class ByteWriter {
public:
    ByteWriter() = default;
    explicit ByteWriter(size_t reserve) { bytes_.reserve(reserve); }

    size_t Size() const { return bytes_.size(); }
    const std::vector<uint8_t>& Data() const& { return bytes_; }
    std::vector<uint8_t> Take() && { return std::move(bytes_); }

    void U8(uint8_t v) { bytes_.push_back(v); }
    void U16LE(uint16_t v) { AppendLE(v, 2); }
    void I16LE(int16_t v) { AppendLE(static_cast<uint16_t>(v), 2); }
    void U32LE(uint32_t v) { AppendLE(v, 4); }
    void I32LE(int32_t v) { AppendLE(static_cast<uint32_t>(v), 4); }
    void U16BE(uint16_t v) { AppendBE(v, 2); }
    void U32BE(uint32_t v) { AppendBE(v, 4); }
    void I32BE(int32_t v) { AppendBE(static_cast<uint32_t>(v), 4); }
    void F32LE(float f) {
        uint32_t bits;
        std::memcpy(&bits, &f, sizeof bits);
        U32LE(bits);
    }
    void F64LE(double d) {
        uint64_t bits;
        std::memcpy(&bits, &d, sizeof bits);
        AppendLE(bits, 8);
    }
    void Bytes(std::span<const uint8_t> b) { bytes_.insert(bytes_.end(), b.begin(), b.end()); }
    void Text(std::string_view s) { bytes_.insert(bytes_.end(), s.begin(), s.end()); }
    void Zeros(size_t n) { bytes_.insert(bytes_.end(), n, 0); }

    // Overwrites a field at an offset that has been written already; false if it has not.
    bool PutU32LE(size_t at, uint32_t v) {
        if (at > bytes_.size() || bytes_.size() - at < 4) return false;
        for (int i = 0; i < 4; ++i)
            bytes_[at + i] = static_cast<uint8_t>(v >> (8 * i));
        return true;
    }
    bool PutU32BE(size_t at, uint32_t v) {
        if (at > bytes_.size() || bytes_.size() - at < 4) return false;
        for (int i = 0; i < 4; ++i)
            bytes_[at + i] = static_cast<uint8_t>(v >> (24 - 8 * i));
        return true;
    }

private:
    void AppendLE(uint64_t v, int n) {
        for (int i = 0; i < n; ++i)
            bytes_.push_back(static_cast<uint8_t>(v >> (8 * i)));
    }
    void AppendBE(uint64_t v, int n) {
        for (int i = n - 1; i >= 0; --i)
            bytes_.push_back(static_cast<uint8_t>(v >> (8 * i)));
    }

    std::vector<uint8_t> bytes_;
};

}  // namespace brv
