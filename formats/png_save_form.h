// What the PNG save dialog offers and does, without the window: the colour choices the
// picture allows, the four speed choices and the option code that actions record.
//
//   PNGSaveFormModel form;
//   form.U_SHOW(bottomUpPixels, settingsSaveValue);   // fills the choices
//   ... the dialog shows form.ColorEnabled / form.ColorBit / form.SpeedIndex / form.InterlaceOn
//   int32_t r = form.Confirm(png, host, "a.png", bottomUpPixels, host.TempFolder(), progress);
//   int32_t code = form.U_OnlyValue();                 // what an action records
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "core/pixel_buffer.h"
#include "formats/png_codec.h"

namespace brv {

class Host;

struct PNGColorChoice {
    int32_t ColorBit;
    std::string_view Caption;
};
inline constexpr std::array<PNGColorChoice, 3> kPNGColorChoices = {{
    {8, "256色+2段階アルファ"},
    {24, "1600万色+2段階アルファ"},
    {32, "1600万色+256段階アルファ"},
}};
inline constexpr int32_t kPNGDefaultColorBit = 32;  // selected in the dialog as designed

struct PNGSpeedChoice {
    std::string_view Caption;
    int32_t FilterNo;
};
// In the dialog's order; the position plus 1 is what SaveValue keeps.
inline constexpr std::array<PNGSpeedChoice, 4> kPNGSpeedChoices = {{
    {"速度E\u3000－\u3000圧縮度B", 6},
    {"速度D  －  圧縮度C", 5},
    {"速度A- －  圧縮度D", 4},
    {"速度A  －  圧縮度E", 0},
}};
inline constexpr int32_t kPNGDefaultSpeedIndex = 2;
inline constexpr std::string_view kPNGInterlaceCaption = "インターレース";

// SaveValue: low 4 bits the speed position plus 1 (0: none chosen yet), 16 interlace.
inline constexpr int32_t kPNGSaveValueSpeedMask = 15;
inline constexpr int32_t kPNGSaveValueInterlace = 16;

struct PNGSaveFormModel {
    std::array<bool, 3> ColorEnabled{true, true, true};  // by kPNGColorChoices
    int32_t ColorBit = kPNGDefaultColorBit;
    int32_t SpeedIndex = kPNGDefaultSpeedIndex;  // into kPNGSpeedChoices
    bool InterlaceOn = false;

    // Enables and selects the colour choices by GetBestColorBit of the picture: 8 allows all
    // and selects 8; 24 disables 8 and selects 24; 32 allows and selects only 32.
    void ChooseColors(int32_t bestColorBit);
    // Takes a stored option code (SaveValue, or an action's Mode of 1 or more).
    void TakeSaveValue(int32_t saveValue);
    // The dialog's start: colour choices for the picture, speed and interlace from SaveValue.
    void U_SHOW(const PixelBuffer& BMPDATA, int32_t saveValue);

    int32_t FilterNo() const;
    // The option code of the present choices, written back to the settings and recorded by
    // actions; nothing is saved.
    int32_t U_OnlyValue() const;

    // The dialog's OK: writes the file through SavePNG with the temporary folder and the
    // progress procedure, and shows GetPNGError's text when it fails. Returns SavePNG's code.
    int32_t Confirm(PNGC& png, Host& host, std::string_view Fnm, const PixelBuffer& BMPDATA,
                    std::string_view TempPath, const PNGCallBack& progress);
};

}  // namespace brv
