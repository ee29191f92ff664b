#include "formats/png_save_form.h"

#include "core/host.h"
#include "formats/png_colour.h"

namespace brv {

void PNGSaveFormModel::ChooseColors(int32_t bestColorBit) {
    switch (bestColorBit) {
        case 8:
            ColorEnabled = {true, true, true};
            ColorBit = 8;
            break;
        case 24:
            ColorEnabled = {false, true, true};
            ColorBit = 24;
            break;
        default:
            ColorEnabled = {false, false, true};
            ColorBit = 32;
            break;
    }
}

void PNGSaveFormModel::TakeSaveValue(int32_t saveValue) {
    const int32_t position = saveValue & kPNGSaveValueSpeedMask;
    SpeedIndex = (position >= 1 && position <= static_cast<int32_t>(kPNGSpeedChoices.size()))
                     ? position - 1
                     : kPNGDefaultSpeedIndex;
    InterlaceOn = (saveValue & kPNGSaveValueInterlace) != 0;
}

void PNGSaveFormModel::U_SHOW(const PixelBuffer& BMPDATA, int32_t saveValue) {
    ChooseColors(GetBestColorBit(BMPDATA));
    TakeSaveValue(saveValue);
}

int32_t PNGSaveFormModel::FilterNo() const {
    const bool known =
        SpeedIndex >= 0 && SpeedIndex < static_cast<int32_t>(kPNGSpeedChoices.size());
    return kPNGSpeedChoices[static_cast<size_t>(known ? SpeedIndex : kPNGDefaultSpeedIndex)]
        .FilterNo;
}

int32_t PNGSaveFormModel::U_OnlyValue() const {
    return (SpeedIndex + 1) | (InterlaceOn ? kPNGSaveValueInterlace : 0);
}

int32_t PNGSaveFormModel::Confirm(PNGC& png, Host& host, std::string_view Fnm,
                                  const PixelBuffer& BMPDATA, std::string_view TempPath,
                                  const PNGCallBack& progress) {
    int32_t colorBit = ColorBit;
    const int32_t r =
        png.SavePNG(Fnm, BMPDATA, colorBit, FilterNo(), progress, InterlaceOn, TempPath);
    if (r < 0) host.ShowMessage(png.GetPNGError(r));
    return r;
}

}  // namespace brv
