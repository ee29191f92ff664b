// Numbers, pictures and byte lists as text inside an action line.
//
//   std::string s = EncodeByteImage(doc.Selection);   // "<u><w>" then two hex digits a byte
//   ByteImage mask;
//   if (DecodeByteImage(s, mask) < 0) ...              // a line too short for its header
//
// A number below 256 is two hexadecimal digits. From 256 on it is two characters of a 64-letter
// alphabet whose letters are never hexadecimal digits: half-width katakana stand where 0-9, A-F
// and a-f would be, so the first character alone tells the two forms apart. Text is UTF-8 in
// memory; the action file keeps the katakana in the system code page (see action_file.h).
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/document.h"
#include "core/pixel_buffer.h"

namespace brv {

// The alphabet of EncodeNumber, in order, as UTF-8.
inline constexpr std::string_view kActionAlphabet =
    "ｱｲｳｴｵｶGHIJKLMNOPQRSTUVWXYZｷｸｹｺｻｼghijklmnopqrstuvwxyzｽｾｿﾀﾁﾂﾃﾄﾅﾆ+/";

// Result codes of the decoders; 0 is success.
inline constexpr int32_t kActionCodecOk = 0;
inline constexpr int32_t kActionCodecTooShort = -1;  // fewer characters than the header needs
inline constexpr int32_t kActionCodecBadShape = -2;  // not a whole number of 4-byte pixels

// The length in bytes of the UTF-8 character that starts at s[i] (i < s.size()); a byte that
// starts no well-formed sequence counts as a character of its own.
size_t Utf8CharLength(std::string_view s, size_t i);

// Two characters: hexadecimal below 256, else two letters of the alphabet with v limited to
// 4095, so anything above 4095 is "//". A negative value is written as 0.
std::string EncodeNumber(int32_t v);
// The inverse. Every "&H" is dropped first; a leading hexadecimal digit reads the whole text as
// hexadecimal (up to the first character that is not one), anything else reads two letters of
// the alphabet, a character outside it counting 0.
int32_t DecodeNumber(std::string_view s);
// Upper-case hexadecimal, at least four digits; a negative value as its 32 bits.
std::string EncodeHex4(int32_t v);

// A two-dimensional byte array, the first subscript running fastest.
struct ByteImage {
    int32_t Columns = 0;  // first subscript's bound + 1
    int32_t Rows = 0;     // second subscript's bound + 1
    std::vector<uint8_t> Bytes;
    friend bool operator==(const ByteImage&, const ByteImage&) = default;
};

// EncodeNumber(columns - 1), EncodeNumber(rows - 1), then every byte row by row. Empty text for
// an array with no element. A picture is 4 * width columns, a mask width columns.
std::string EncodeByteImage(std::span<const uint8_t> bytes, int32_t columns, int32_t rows);
std::string EncodeByteImage(const PixelBuffer& picture);
std::string EncodeByteImage(const SelectionMask& mask);
// Reads the header's bounds and then each element's two hexadecimal digits; characters beyond
// what the header asks for are ignored.
int32_t DecodeByteImage(std::string_view s, ByteImage& ret);
// A decoded picture of 4 * width columns as a PixelBuffer.
int32_t ByteImageToPixels(const ByteImage& image, PixelBuffer& ret);

// EncodeHex4 of the last index, then each byte as two hexadecimal digits. Empty for no byte.
std::string EncodeByteList(std::span<const uint8_t> bytes);
int32_t DecodeByteList(std::string_view s, std::vector<uint8_t>& ret);

}  // namespace brv
