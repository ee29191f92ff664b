// The decoders of the action language take any text: a picture or byte list either decodes and
// then survives an encoding and a second decoding unchanged, or gives a code; a file's bytes
// always become valid UTF-8 lines.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "actions/action_codec.h"
#include "actions/action_file.h"
#include "fuzz/fuzz_target.h"

namespace {

bool ValidUtf8(std::string_view text) {
    for (size_t i = 0; i < text.size();) {
        const size_t n = brv::Utf8CharLength(text, i);
        if (n == 1 && static_cast<unsigned char>(text[i]) >= 0x80) return false;
        i += n;
    }
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);

    const int32_t number = brv::DecodeNumber(text);
    if (number < 0) std::abort();

    brv::ByteImage image;
    const int32_t rc = brv::DecodeByteImage(text, image);
    if (rc == brv::kActionCodecOk) {
        brv::ByteImage again;
        const std::string encoded = brv::EncodeByteImage(image.Bytes, image.Columns, image.Rows);
        if (brv::DecodeByteImage(encoded, again) != brv::kActionCodecOk || !(again == image))
            std::abort();
    } else if (rc != brv::kActionCodecTooShort) {
        std::abort();
    }

    std::vector<uint8_t> list;
    if (brv::DecodeByteList(text, list) == brv::kActionCodecOk) {
        std::vector<uint8_t> again;
        if (brv::DecodeByteList(brv::EncodeByteList(list), again) != brv::kActionCodecOk ||
            again != list)
            std::abort();
    }

    const std::string utf8 = brv::CodePageToUtf8(text);
    if (!ValidUtf8(utf8)) std::abort();
    for (const std::string& line : brv::SplitActionLines(utf8))
        if (line.find_first_of("\r\n") != std::string::npos) std::abort();
    brv::Utf8ToCodePage(utf8);
    return 0;
}
