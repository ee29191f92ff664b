#include "actions/action_codec.h"

#include <array>
#include <cstdio>
#include <limits>

namespace brv {

namespace {

constexpr char kHexDigits[] = "0123456789ABCDEF";

char32_t CodePoint(std::string_view ch) {
    const auto b = [&](size_t k) {
        return static_cast<char32_t>(static_cast<unsigned char>(ch[k]));
    };
    switch (ch.size()) {
        case 1:
            return b(0);
        case 2:
            return ((b(0) & 0x1F) << 6) | (b(1) & 0x3F);
        case 3:
            return ((b(0) & 0x0F) << 12) | ((b(1) & 0x3F) << 6) | (b(2) & 0x3F);
        case 4:
            return ((b(0) & 0x07) << 18) | ((b(1) & 0x3F) << 12) | ((b(2) & 0x3F) << 6) |
                   (b(3) & 0x3F);
        default:
            return 0;
    }
}

// Walks a text a character at a time.
class CharCursor {
public:
    explicit CharCursor(std::string_view s) : s_(s) {}
    // The next character, or an empty view at the end.
    std::string_view Next() {
        if (pos_ >= s_.size()) return {};
        const size_t n = Utf8CharLength(s_, pos_);
        std::string_view ch = s_.substr(pos_, n);
        pos_ += n;
        return ch;
    }
    // The next two characters as one view, or an empty view when fewer remain.
    std::string_view NextPair() {
        const size_t start = pos_;
        if (Next().empty() || Next().empty()) return {};
        return s_.substr(start, pos_ - start);
    }

private:
    std::string_view s_;
    size_t pos_ = 0;
};

struct AlphabetTable {
    std::array<std::string_view, 64> letters{};
    std::array<char32_t, 64> codes{};
};

AlphabetTable MakeAlphabet() {
    AlphabetTable t;
    CharCursor c(kActionAlphabet);
    for (size_t i = 0; i < 64; ++i) {
        t.letters[i] = c.Next();
        t.codes[i] = CodePoint(t.letters[i]);
    }
    return t;
}

const AlphabetTable& Alphabet() {
    static const AlphabetTable table = MakeAlphabet();
    return table;
}

int32_t AlphabetIndex(std::string_view ch) {
    if (ch.empty()) return 0;
    const char32_t cp = CodePoint(ch);
    const AlphabetTable& t = Alphabet();
    for (int32_t i = 0; i < 64; ++i)
        if (t.codes[static_cast<size_t>(i)] == cp) return i;
    return 0;
}

int HexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return -1;
}

// Hexadecimal digits from the start up to the first character that is not one; a text with
// no digit reads 0. Saturates rather than wraps.
int32_t ReadHexLenient(std::string_view s) {
    int64_t v = 0;
    for (char c : s) {
        const int d = HexValue(c);
        if (d < 0) break;
        v = v * 16 + d;
        if (v > std::numeric_limits<int32_t>::max()) return std::numeric_limits<int32_t>::max();
    }
    return static_cast<int32_t>(v);
}

// count elements of two hexadecimal digits each from the cursor on. textSize bounds what can
// be there, so that a header announcing more than the text holds allocates nothing.
int32_t ReadElements(CharCursor& c, size_t textSize, size_t count, std::vector<uint8_t>& ret) {
    if (textSize < 2 * count) return kActionCodecTooShort;
    ret.assign(count, 0);
    for (size_t i = 0; i < count; ++i) {
        const std::string_view pair = c.NextPair();
        if (pair.empty()) return kActionCodecTooShort;
        ret[i] = static_cast<uint8_t>(ReadHexLenient(pair));
    }
    return kActionCodecOk;
}

void AppendHexPair(std::string& out, uint8_t b) {
    out += kHexDigits[b >> 4];
    out += kHexDigits[b & 15];
}

}  // namespace

size_t Utf8CharLength(std::string_view s, size_t i) {
    const auto lead = static_cast<unsigned char>(s[i]);
    const size_t n = lead < 0x80           ? 1
                     : (lead >> 5) == 0x6  ? 2
                     : (lead >> 4) == 0xE  ? 3
                     : (lead >> 3) == 0x1E ? 4
                                           : 1;
    if (n > s.size() - i) return 1;
    for (size_t k = 1; k < n; ++k)
        if ((static_cast<unsigned char>(s[i + k]) & 0xC0) != 0x80) return 1;
    return n;
}

std::string EncodeNumber(int32_t v) {
    if (v < 0) v = 0;
    std::string out;
    if (v < 256) {
        AppendHexPair(out, static_cast<uint8_t>(v));
        return out;
    }
    if (v > 4095) v = 4095;
    const AlphabetTable& t = Alphabet();
    out += t.letters[static_cast<size_t>(v / 64)];
    out += t.letters[static_cast<size_t>(v % 64)];
    return out;
}

int32_t DecodeNumber(std::string_view s) {
    std::string text;
    text.reserve(s.size());
    for (size_t i = 0; i < s.size(); ++i) {
        if (s[i] == '&' && i + 1 < s.size() && s[i + 1] == 'H') {
            ++i;
            continue;
        }
        text += s[i];
    }
    if (!text.empty() && HexValue(text[0]) >= 0) return ReadHexLenient(text);
    CharCursor c(text);
    const int32_t high = AlphabetIndex(c.Next());
    const int32_t low = AlphabetIndex(c.Next());
    return 64 * high + low;
}

std::string EncodeHex4(int32_t v) {
    char buf[16];
    std::snprintf(buf, sizeof buf, "%04X", static_cast<unsigned>(static_cast<uint32_t>(v)));
    return buf;
}

std::string EncodeByteImage(std::span<const uint8_t> bytes, int32_t columns, int32_t rows) {
    if (columns <= 0 || rows <= 0) return {};
    const size_t count = static_cast<size_t>(columns) * static_cast<size_t>(rows);
    if (bytes.size() < count) return {};
    std::string out = EncodeNumber(columns - 1) + EncodeNumber(rows - 1);
    out.reserve(out.size() + 2 * count);
    for (size_t i = 0; i < count; ++i)
        AppendHexPair(out, bytes[i]);
    return out;
}

std::string EncodeByteImage(const PixelBuffer& picture) {
    // A picture wider than 1023 pixels saturates the header and cannot be read back. Intended.
    return EncodeByteImage(picture.Bytes(), 4 * picture.Width(), picture.Height());
}

std::string EncodeByteImage(const SelectionMask& mask) {
    return EncodeByteImage(mask.bytes, mask.width, mask.height);
}

int32_t DecodeByteImage(std::string_view s, ByteImage& ret) {
    CharCursor c(s);
    const std::string_view uText = c.NextPair();
    const std::string_view wText = c.NextPair();
    if (uText.empty() || wText.empty()) return kActionCodecTooShort;
    // Each bound is at most 4095, so the array is at most 4096 * 4096 bytes.
    const int32_t columns = DecodeNumber(uText) + 1;
    const int32_t rows = DecodeNumber(wText) + 1;
    std::vector<uint8_t> bytes;
    const int32_t rc =
        ReadElements(c, s.size(), static_cast<size_t>(columns) * static_cast<size_t>(rows), bytes);
    if (rc < 0) return rc;
    ret = {columns, rows, std::move(bytes)};
    return kActionCodecOk;
}

int32_t ByteImageToPixels(const ByteImage& image, PixelBuffer& ret) {
    if (image.Columns % 4 != 0) return kActionCodecBadShape;
    auto p = PixelBuffer::FromBytes(image.Columns / 4, image.Rows, image.Bytes);
    if (!p) return kActionCodecBadShape;
    ret = std::move(*p);
    return kActionCodecOk;
}

std::string EncodeByteList(std::span<const uint8_t> bytes) {
    if (bytes.empty()) return {};
    std::string out = EncodeHex4(static_cast<int32_t>(bytes.size() - 1));
    out.reserve(out.size() + 2 * bytes.size());
    for (uint8_t b : bytes)
        AppendHexPair(out, b);
    return out;
}

int32_t DecodeByteList(std::string_view s, std::vector<uint8_t>& ret) {
    CharCursor c(s);
    const std::string_view first = c.NextPair();
    const std::string_view second = c.NextPair();
    if (first.empty() || second.empty()) return kActionCodecTooShort;
    // Four digits give a last index of at most 65535.
    const std::string head = std::string(first) + std::string(second);
    std::vector<uint8_t> bytes;
    const int32_t rc =
        ReadElements(c, s.size(), static_cast<size_t>(ReadHexLenient(head)) + 1, bytes);
    if (rc < 0) return rc;
    ret = std::move(bytes);
    return kActionCodecOk;
}

}  // namespace brv
