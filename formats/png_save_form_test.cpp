#include "formats/png_save_form.h"

#include <gtest/gtest.h>

#include "core/file_io.h"
#include "tests/support/fake_host.h"

namespace brv {
namespace {

using testing::FakeHost;
using testing::TempFolder;

TEST(PNGSaveForm, ColourChoicesFollowTheBestDepth) {
    PNGSaveFormModel form;
    EXPECT_EQ(form.ColorBit, 32);
    form.ChooseColors(8);
    EXPECT_EQ(form.ColorEnabled, (std::array<bool, 3>{true, true, true}));
    EXPECT_EQ(form.ColorBit, 8);
    form.ChooseColors(24);
    EXPECT_EQ(form.ColorEnabled, (std::array<bool, 3>{false, true, true}));
    EXPECT_EQ(form.ColorBit, 24);
    form.ChooseColors(32);
    EXPECT_EQ(form.ColorEnabled, (std::array<bool, 3>{false, false, true}));
    EXPECT_EQ(form.ColorBit, 32);

    PixelBuffer half(2, 2);
    half.Fill({1, 2, 3, 77});
    form.U_SHOW(half, 0);
    EXPECT_EQ(form.ColorBit, 32);
    form.U_SHOW(PixelBuffer(2, 2), 0);
    EXPECT_EQ(form.ColorBit, 8);
}

TEST(PNGSaveForm, SaveValueCarriesSpeedAndInterlace) {
    PNGSaveFormModel form;
    form.TakeSaveValue(0);  // nothing stored yet: the design's default
    EXPECT_EQ(form.SpeedIndex, 2);
    EXPECT_EQ(form.FilterNo(), 4);
    EXPECT_FALSE(form.InterlaceOn);
    EXPECT_EQ(form.U_OnlyValue(), 3);

    const int32_t filters[] = {6, 5, 4, 0};
    for (int32_t pos = 0; pos < 4; ++pos)
        for (bool interlace : {false, true}) {
            const int32_t value = (pos + 1) | (interlace ? 16 : 0);
            form.TakeSaveValue(value);
            EXPECT_EQ(form.SpeedIndex, pos);
            EXPECT_EQ(form.FilterNo(), filters[pos]);
            EXPECT_EQ(form.InterlaceOn, interlace);
            EXPECT_EQ(form.U_OnlyValue(), value);
        }
}

TEST(PNGSaveForm, CaptionsAsShown) {
    EXPECT_EQ(kPNGColorChoices[0].Caption, "256色+2段階アルファ");
    EXPECT_EQ(kPNGColorChoices[1].Caption, "1600万色+2段階アルファ");
    EXPECT_EQ(kPNGColorChoices[2].Caption, "1600万色+256段階アルファ");
    EXPECT_EQ(kPNGSpeedChoices[0].Caption, "速度E\xE3\x80\x80－\xE3\x80\x80圧縮度B");
    EXPECT_EQ(kPNGSpeedChoices[1].Caption, "速度D  －  圧縮度C");
    EXPECT_EQ(kPNGSpeedChoices[2].Caption, "速度A- －  圧縮度D");
    EXPECT_EQ(kPNGSpeedChoices[3].Caption, "速度A  －  圧縮度E");
    EXPECT_EQ(kPNGInterlaceCaption, "インターレース");
}

TEST(PNGSaveForm, ConfirmSavesOrShowsTheError) {
    FakeHost host;
    PNGC png(&host);
    TempFolder dir;
    PNGSaveFormModel form;
    PixelBuffer p(4, 3);
    p.Fill({9, 8, 7, 255});
    form.U_SHOW(p, 1 | 16);  // slowest, interlaced
    EXPECT_EQ(form.Confirm(png, host, dir.File("x.png"), p, "", nullptr), kPNGBadTempFolder);
    ASSERT_EQ(host.messages.size(), 1u);
    EXPECT_EQ(host.messages[0], "一時フォルダの指定が不正です。");

    EXPECT_EQ(form.Confirm(png, host, dir.File("x.png"), p, dir.Path(), nullptr), kPNGOk);
    EXPECT_EQ(host.messages.size(), 1u);
    EXPECT_EQ(ListFiles(dir.Path()), std::vector<std::string>{dir.File("x.png")});
}

}  // namespace
}  // namespace brv
