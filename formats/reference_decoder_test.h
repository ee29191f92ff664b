// Pictures decoded by ImageMagick, the independent decoder that the corpus tests compare with.
// Tests that use it skip when `convert` is not installed.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace brv::testing {

// Rows top-down, each pixel red, green, blue, alpha.
struct RgbaPicture {
    int32_t Width = 0;
    int32_t Height = 0;
    std::vector<uint8_t> Rgba;
    const uint8_t* At(int32_t x, int32_t y) const {
        return Rgba.data() +
               4 * (static_cast<size_t>(y) * static_cast<size_t>(Width) + static_cast<size_t>(x));
    }
};

bool HaveImageMagick();

// The first image of a file as `convert` decodes it; `options` come between the input and the
// output (for example "-coalesce"). nullopt when convert fails or says nothing.
std::optional<RgbaPicture> MagickDecode(const std::string& path, const std::string& options = "");

// A file's bytes written to a temporary file and decoded there.
std::optional<RgbaPicture> MagickDecodeBytes(const std::vector<uint8_t>& bytes,
                                             const std::string& suffix);

}  // namespace brv::testing
