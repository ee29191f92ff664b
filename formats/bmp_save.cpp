#include "formats/bmp_save.h"

#include <algorithm>

#include "colour/dither.h"
#include "core/file_io.h"
#include "formats/bmp_codec.h"

namespace brv {

BmpSaveDialogModel::BmpSaveDialogModel(const PixelBuffer& Data) {
    const int32_t bits = UseColorBit(Data);
    depth_ = bits == 32 ? 32 : std::max(bits, 1);
}

std::string BmpSaveDialogModel::Label() const {
    return std::string(kBmpSaveDepthLabel) + std::to_string(depth_);
}

BmpSaveChoice BmpSaveDialogModel::ChoiceFromValue(int32_t SaveValue) {
    return {(SaveValue & 1) != 0, (SaveValue & 2) != 0};
}

int32_t BmpSaveDialogModel::U_OnlyValue(const BmpSaveChoice& choice, bool cancelled) {
    if (cancelled) return -1;
    return (choice.Check1 ? 1 : 0) + 2 * (choice.Check2 ? 1 : 0);
}

BmpSavePaths BmpSaveDialogModel::Paths(std::string_view Fnm, const BmpSaveChoice& choice) {
    if (!choice.Check1) return {std::string(Fnm), {}};
    const std::string base = FromFsPath(ToFsPath(Fnm).replace_extension());
    return {base + "_XOR.bmp", base + "_AND.bmp"};
}

int32_t BmpSaveDialogModel::Save(std::string_view Fnm, PixelBuffer Data,
                                 const BmpSaveChoice& choice) const {
    const int32_t depth = choice.Check2 ? 24 : depth_;
    const BmpSavePaths paths = Paths(Fnm, choice);
    FlipAndInvert(Data, true, false);  // to file order
    auto forEachPixel = [&Data](auto change) {
        for (size_t i = 0; i < Data.ByteSize(); i += 4)
            change(Data.Bytes().data() + i);
    };
    if (choice.Check1)
        forEachPixel([](uint8_t* px) {
            if (px[3] == 0) px[0] = px[1] = px[2] = 0;
        });
    const int32_t r = depth < 9 ? ALLBMPC::SaveBMP1to8(paths.Main, Data, depth, false)
                                : ALLBMPC::SaveBMP16to32(paths.Main, Data, depth, nullptr, false);
    if (r < 0 || !choice.Check1) return r;
    // The mask: white where the picture is mostly transparent, black where it shows.
    forEachPixel([](uint8_t* px) {
        const uint8_t v = px[3] < 128 ? 255 : 0;
        px[0] = px[1] = px[2] = v;
    });
    return ALLBMPC::SaveBMP1to8(paths.And, Data, 1, false);
}

}  // namespace brv
