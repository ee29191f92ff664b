// The logic of BmpSaveDialog, the options asked before a picture is written as a bitmap. The
// Qt dialog shows kBmpSaveHeading, Label() and the two check boxes, and calls Save.
//
//   BmpSaveDialogModel model(flattened);               // U_SHOW: the depth the picture needs
//   BmpSaveChoice choice = BmpSaveDialogModel::ChoiceFromValue(SaveValue);  // when SaveValue >= 0
//   int32_t r = model.Save(fnm, flattened, choice);     // negative: ALLBMPC::GetBMPError(r)
//   int32_t recorded = BmpSaveDialogModel::U_OnlyValue(choice, false);   // what actions keep
//
// Pictures come in the layer's conventions (rows top-down, alpha an opacity), as flattening
// gives them; the writers get them in file order.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/pixel_buffer.h"

namespace brv {

inline constexpr std::string_view kBmpSaveHeading = "BMP保存オプション";
inline constexpr std::string_view kBmpSaveDepthLabel = "対象画像の色深度 ";
inline constexpr std::string_view kBmpSaveCheck1 = "AND-XOR画像を作成する";
inline constexpr std::string_view kBmpSaveCheck2 = "24ビットで保存する";

struct BmpSaveChoice {
    bool Check1 = false;  // also write the AND-XOR pair of files
    bool Check2 = false;  // write 24 bits whatever the picture needs
};

// The files a save writes: the picture itself (base name + "_XOR.bmp" with Check1) and, with
// Check1, the 1-bit mask (base name + "_AND.bmp"); And is empty otherwise.
struct BmpSavePaths {
    std::string Main;
    std::string And;
};

class BmpSaveDialogModel {
public:
    explicit BmpSaveDialogModel(const PixelBuffer& Data);

    // 32 for soft alpha or 256 colours and more, else the depth of the colours: 1, 4 or 8. A
    // picture of one colour takes 1 bit: a bitmap can't be written with none.
    int32_t Depth() const { return depth_; }
    // "対象画像の色深度 " followed by the depth.
    std::string Label() const;

    // A SaveValue below 0 shows the dialog; 0 or more is the choice itself.
    static bool ShowsDialog(int32_t SaveValue) { return SaveValue < 0; }
    // Bit 1 is Check1, bit 2 Check2.
    static BmpSaveChoice ChoiceFromValue(int32_t SaveValue);
    // Check1 + 2 * Check2, or -1 when the dialog was cancelled: what actions record.
    static int32_t U_OnlyValue(const BmpSaveChoice& choice, bool cancelled);
    static BmpSavePaths Paths(std::string_view Fnm, const BmpSaveChoice& choice);

    // Writes the file or files; 0 or a negative code of ALLBMPC.
    int32_t Save(std::string_view Fnm, PixelBuffer Data, const BmpSaveChoice& choice) const;

private:
    int32_t depth_ = 32;
};

}  // namespace brv
