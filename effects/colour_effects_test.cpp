// The colour effects, each against values worked out by hand from its arithmetic.
#include <gtest/gtest.h>

#include "colour/dither.h"
#include "colour/hsv.h"
#include "effects/ef_dither.h"
#include "effects/ef_lvadjust.h"
#include "effects/effect.h"
#include "tests/support/fake_host.h"

namespace brv {
namespace {

using testing::FakeHost;

// A one-row picture of the given pixels.
PixelBuffer Pixels(std::initializer_list<Bgra> list) {
    PixelBuffer p(static_cast<int32_t>(list.size()), 1);
    int32_t x = 0;
    for (const Bgra& c : list)
        p.Set(x++, 0, c);
    return p;
}

Bgra Rgba(int r, int g, int b, int a) {
    return {static_cast<uint8_t>(b), static_cast<uint8_t>(g), static_cast<uint8_t>(r),
            static_cast<uint8_t>(a)};
}

// A user who clicks the status bar whenever events run.
class ClickingHost : public FakeHost {
public:
    bool clickOnEvents = false;
    void DoEvents() override {
        FakeHost::DoEvents();
        if (clickOnEvents) cancelClicked = true;
    }
};

class ColourEffects : public ::testing::Test {
protected:
    std::optional<PixelBuffer> Run(std::string_view name, EffectArgs args, const PixelBuffer& src) {
        std::unique_ptr<Effect> e = fx.Registry.Create(name);
        if (!e) ADD_FAILURE() << name;
        e->SetArgs(args);
        EffectEnv env{host, fx, core};
        return e->Calc(src, env);
    }
    Bgra RunOne(std::string_view name, EffectArgs args, Bgra pixel) {
        auto out = Run(name, std::move(args), Pixels({pixel}));
        if (!out) {
            ADD_FAILURE() << "fault";
            return {};
        }
        return *out->Get(0, 0);
    }
    // The dialog's defaults, as a dialog would hand them over.
    EffectArgs Defaults(std::string_view name) {
        return fx.Registry.Create(name)->Dialog(core, 0, 0).Defaults();
    }

    ClickingHost host;
    EffectState fx;
    CoreState core;
};

TEST_F(ColourEffects, HsvWithZeroDeltasShiftsColoursButKeepsGrey) {
    const EffectArgs zero = Defaults("ef_hsv");
    ASSERT_EQ(zero.size(), 6u);
    auto out = Run("ef_hsv", zero, Pixels({Rgba(255, 1, 0, 9), Rgba(100, 100, 100, 200)}));
    ASSERT_TRUE(out);
    EXPECT_EQ(out->Get(0, 0), Rgba(255, 0, 0, 9));
    EXPECT_EQ(out->Get(1, 0), Rgba(100, 100, 100, 200));
}

TEST_F(ColourEffects, HsvHueTurns) {
    // +360 stays 360 and lands in sector 6; -360 folds to 0, which is red; 361 is 1.
    EXPECT_EQ(RunOne("ef_hsv", {360, 0, 0, 0, 0, 0}, Rgba(255, 0, 0, 255)), Rgba(255, 0, 255, 255));
    EXPECT_EQ(RunOne("ef_hsv", {-360, 0, 0, 0, 0, 0}, Rgba(255, 0, 0, 255)), Rgba(255, 0, 0, 255));
    // Red at hue 1: f = 6, t = (255 - 354 * 255 div 360) = 255 - 250 = 5.
    EXPECT_EQ(RunOne("ef_hsv", {361, 0, 0, 0, 0, 0}, Rgba(255, 0, 0, 255)), Rgba(255, 5, 0, 255));
    // Saturation and value are held to 0..255.
    EXPECT_EQ(RunOne("ef_hsv", {0, -300, 300, 0, 0, 0}, Rgba(10, 20, 30, 1)),
              Rgba(255, 255, 255, 1));
    // A text hue from an action line; a hue that overflows 32 bits is a fault.
    EXPECT_EQ(RunOne("ef_hsv", {"360", "0", "0", "0", "0", "0"}, Rgba(255, 0, 0, 255)),
              Rgba(255, 0, 255, 255));
    // Red has hue 0 and stays in range; green's 120 does not.
    EXPECT_TRUE(Run("ef_hsv", {2147483647, 0, 0, 0, 0, 0}, Pixels({Rgba(255, 0, 0, 255)})));
    EXPECT_FALSE(Run("ef_hsv", {2147483647, 0, 0, 0, 0, 0}, Pixels({Rgba(0, 255, 0, 255)})));
    EXPECT_FALSE(Run("ef_hsv", {"twelve", 0, 0, 0, 0, 0}, Pixels({Rgba(255, 0, 0, 255)})));
}

TEST_F(ColourEffects, ColorAdjustClampsEachChannel) {
    EXPECT_EQ(RunOne("ef_coloradjust", {100, -100, 5, -255}, Rgba(200, 50, 7, 254)),
              Rgba(255, 0, 12, 0));
    EXPECT_EQ(Defaults("ef_coloradjust"), (EffectArgs{0, 0, 0, 0}));
}

TEST_F(ColourEffects, RgbaMultipliesAlphaEvenWithTheDefaults) {
    const EffectArgs defaults = Defaults("ef_rgba");
    EXPECT_EQ(defaults, (EffectArgs{0, 1, 2, 3, 0, 0}));
    EXPECT_EQ(RunOne("ef_rgba", defaults, Rgba(10, 20, 30, 128)), Rgba(10, 20, 30, 64));
    // Red from blue, green from alpha, alpha from red times alpha: 10 * 128 div 255 = 5.
    EXPECT_EQ(RunOne("ef_rgba", {2, 3, 2, 0, 0, 0}, Rgba(10, 20, 30, 128)), Rgba(30, 128, 30, 5));
    EXPECT_FALSE(Run("ef_rgba", {4, 1, 2, 3, 0, 0}, Pixels({Rgba(1, 2, 3, 4)})));
}

TEST_F(ColourEffects, LvAdjustStretchesWithBankersRounding) {
    // lo 100, hi 110: a step of 25.5 per value; 103 gives 76.5, which rounds to the even 76.
    auto out = Run("ef_lvadjust", {100, 110, 0, 1, 1, 1, 0},
                   Pixels({Rgba(103, 101, 50, 7), Rgba(255, 110, 100, 200)}));
    ASSERT_TRUE(out);
    EXPECT_EQ(out->Get(0, 0), Rgba(76, 26, 0, 7));  // 25.5 rounds to 26; alpha is unchecked
    EXPECT_EQ(out->Get(1, 0), Rgba(255, 255, 0, 200));
}

TEST_F(ColourEffects, LvAdjustEqualLevelsAt255MapBy254And255) {
    EXPECT_EQ(FindLevels(PixelBuffer(1, 1), {255, 255, 0, 1, 1, 1, 1})->lo, 254);
    auto out = Run("ef_lvadjust", {255, 255, 0, 1, 1, 1, 1},
                   Pixels({Rgba(254, 255, 0, 255), Rgba(1, 128, 255, 0)}));
    ASSERT_TRUE(out);
    EXPECT_EQ(out->Get(0, 0), Rgba(0, 255, 0, 255));
    EXPECT_EQ(out->Get(1, 0), Rgba(0, 0, 255, 0));
    // Equal levels elsewhere move hi up by one; reversed ones are swapped.
    EXPECT_EQ(FindLevels(PixelBuffer(1, 1), {40, 40, 0, 1, 1, 1, 0})->hi, 41);
    EXPECT_EQ(FindLevels(PixelBuffer(1, 1), {200, 10, 0, 1, 1, 1, 0})->lo, 10);
    // A lower level above 255 against 255 would divide by zero: a fault.
    EXPECT_FALSE(FindLevels(PixelBuffer(1, 1), {300, 255, 0, 1, 1, 1, 0}));
}

TEST_F(ColourEffects, LvAdjustAutomaticLevels) {
    const PixelBuffer src =
        Pixels({Rgba(50, 50, 50, 255), Rgba(200, 200, 200, 255), Rgba(125, 125, 125, 9)});
    const Levels found = *FindLevels(src, {0, 255, 1, 1, 1, 1, 0});
    EXPECT_EQ(found.lo, 50);
    EXPECT_EQ(found.hi, 200);
    auto out = Run("ef_lvadjust", {0, 255, 1, 1, 1, 1, 0}, src);
    ASSERT_TRUE(out);
    EXPECT_EQ(out->Get(0, 0), Rgba(0, 0, 0, 255));
    EXPECT_EQ(out->Get(1, 0), Rgba(255, 255, 255, 255));
    EXPECT_EQ(out->Get(2, 0), Rgba(128, 128, 128, 9));  // 127.5 to the even 128

    // No channel checked: the histogram stays empty, the search runs off both ends, and the
    // corrections bring the levels to 0 and 255.
    const Levels none = *FindLevels(src, {7, 9, 1, 0, 0, 0, 0});
    EXPECT_EQ(none.lo, 0);
    EXPECT_EQ(none.hi, 255);
    EXPECT_EQ(*Run("ef_lvadjust", {7, 9, 1, 0, 0, 0, 0}, src), src);
}

TEST(LvAdjustHistogram, CountsWeightedMeansAndNormalises) {
    // Means over red and alpha (weights 1, 0, 0, 1): (0 + 255) / 2 = 127.5 goes to
    // Round(4 * 127.5) = 510 div 255 = 2; (255 + 255) / 2 to 4; (0 + 0) to 0.
    const PixelBuffer src =
        Pixels({Rgba(0, 9, 9, 255), Rgba(255, 9, 9, 255), Rgba(0, 9, 9, 255), Rgba(0, 9, 9, 0)});
    auto raw = MakeHistogram(src, 4, false, 1, 0, 0, 1);
    ASSERT_TRUE(raw);
    EXPECT_EQ(*raw, (std::vector<double>{1, 0, 2, 0, 1}));
    EXPECT_EQ(*MakeHistogram(src, 4, true, 1, 0, 0, 1), (std::vector<double>{0.5, 0, 1, 0, 0.5}));
    EXPECT_EQ(*MakeHistogram(src, 4, true, 0, 0, 0, 0), (std::vector<double>(5, 0.0)));
    // A negative weight pushes the mean off the scale: an index fault.
    EXPECT_FALSE(MakeHistogram(src, 4, true, 2, 0, 0, -1));

    // Box 103 by 46: Wd 100, Hd 40. Entry 2 of 5 at x 50, full height from y 1 to 41.
    const auto lines = HistogramLines({0.5, 0, 1, 0, 0.5}, 103, 46);
    ASSERT_EQ(lines.size(), 5u);
    EXPECT_EQ(lines[2].x, 50);
    EXPECT_EQ(lines[2].yTop, 1);
    EXPECT_EQ(lines[2].yBottom, 41);
    EXPECT_EQ(lines[0].yTop, 21);
    EXPECT_EQ(lines[1].yTop, 41);
    EXPECT_EQ(HistogramMarkX(255, 1281, 1283), 255);
    EXPECT_FALSE(HistogramMarkX(-1, 1281, 1283));
}

TEST_F(ColourEffects, LvRaiseLetsTheUpperLimitWin) {
    EXPECT_EQ(RunOne("ef_lvraise", {20, 0, 0, 0, 255, 255, 100, 255}, Rgba(200, 150, 10, 3)),
              Rgba(100, 150, 20, 3));
    // Lower 90 above upper 80 on green: the upper limit wins.
    EXPECT_EQ(RunOne("ef_lvraise", {0, 90, 0, 0, 255, 80, 255, 255}, Rgba(1, 2, 3, 4)),
              Rgba(1, 80, 3, 4));
    EXPECT_FALSE(Run("ef_lvraise", {0, 0, 0, 0, -1, 255, 255, 255}, Pixels({Rgba(1, 2, 3, 4)})));
}

TEST_F(ColourEffects, RevInvertsTheCheckedChannels) {
    EXPECT_EQ(Defaults("ef_rev"), (EffectArgs{1, 1, 1, 0}));
    EXPECT_EQ(RunOne("ef_rev", Defaults("ef_rev"), Rgba(0, 100, 255, 7)), Rgba(255, 155, 0, 7));
    EXPECT_EQ(RunOne("ef_rev", {"0", "0", "0", "True"}, Rgba(0, 100, 255, 7)),
              Rgba(0, 100, 255, 248));
}

// Source (100, 100, 100, 200) with tolerance 10 and all channels on; the blend amount 51 is a
// rate of 0.2.
EffectArgs ChangeArgs(EffectValue replace, int flat, int target[4], int use[4]) {
    EffectArgs a = {100,       100, 100,     200,    target[0], target[1], target[2],
                    target[3], 0,   replace, flat,   51,        10,        10,
                    10,        10,  use[0],  use[1], use[2],    use[3]};
    return a;
}

TEST_F(ColourEffects, ChangeColorBlendReachesAlphaBeforeTheChannelSwitches) {
    int target[4] = {200, 0, 50, 0};
    int all[4] = {1, 1, 1, 1};
    int noRed[4] = {0, 1, 1, 1};
    const Bgra in = Rgba(100, 100, 100, 200);
    // "合成": 0.8 * in + 0.2 * target on all four channels, "単一色" ignored.
    EXPECT_EQ(RunOne("ef_changecolor", ChangeArgs(false, 1, target, all), in),
              Rgba(120, 80, 90, 160));
    EXPECT_EQ(RunOne("ef_changecolor", ChangeArgs("False", 0, target, noRed), in),
              Rgba(100, 80, 90, 160));
    // "通常" with "単一色": the target; without: shaded by the brightest channel, 100 / 255.
    EXPECT_EQ(RunOne("ef_changecolor", ChangeArgs(true, 1, target, all), in), Rgba(200, 0, 50, 0));
    EXPECT_EQ(RunOne("ef_changecolor", ChangeArgs("True", 0, target, all), in), Rgba(78, 0, 20, 0));
    // Outside the tolerance the pixel is copied.
    EXPECT_EQ(RunOne("ef_changecolor", ChangeArgs(true, 1, target, all), Rgba(111, 100, 100, 200)),
              Rgba(111, 100, 100, 200));
}

TEST_F(ColourEffects, ChangeColorStartsFromThePenColour) {
    core.Docs.resize(2);
    DocumentRecord& doc = core.Docs[1];
    doc.InUse = kYes;
    doc.Layers.resize(3);
    doc.PenLID = 2;
    doc.Layers[2].PenColor = 0x00302010;  // red 0x10, green 0x20, blue 0x30
    doc.Layers[2].PenTransparency = 55;
    const EffectArgs d = fx.Registry.Create("ef_changecolor")->Dialog(core, 1, 1).Defaults();
    ASSERT_EQ(d.size(), 20u);
    const EffectArgs expected = {16, 32,  48, 200, 16, 32,  48, 200, 0, true,
                                 1,  255, 10, 10,  10, 255, 1,  1,   1, 1};
    EXPECT_EQ(d, expected);
}

TEST_F(ColourEffects, DitherAt24BitsWithoutTheBoxIsACopy) {
    const PixelBuffer src = Pixels({Rgba(1, 2, 3, 4), Rgba(200, 100, 50, 127), Rgba(9, 9, 9, 128)});
    EXPECT_EQ(*Run("ef_dither", {0, 128, 24, 0, 0, 0}, src), src);
    auto hard = Run("ef_dither", {1, 128, 24, 0, 0, 0}, src);
    ASSERT_TRUE(hard);
    EXPECT_EQ(hard->Get(0, 0), Rgba(1, 2, 3, 0));
    EXPECT_EQ(hard->Get(1, 0), Rgba(200, 100, 50, 0));
    EXPECT_EQ(hard->Get(2, 0), Rgba(9, 9, 9, 255));
}

TEST_F(ColourEffects, DitherRebuildsFromTheReducersPalette) {
    const PixelBuffer src =
        Pixels({Rgba(250, 10, 10, 30), Rgba(240, 0, 0, 60), Rgba(0, 0, 250, 90), Rgba(5, 5, 5, 1)});
    // 4 bits ask the reducer for 15 colours; the result must be its palette at its indices.
    PixelBuffer work = src;
    std::vector<uint8_t> indices, palette;
    ASSERT_EQ(Dither(work, indices, palette, 15), 0);
    auto out = Run("ef_dither", {0, 0, 4, 0, 0, 0}, src);
    ASSERT_TRUE(out);
    for (int32_t x = 0; x < 4; ++x) {
        const uint8_t* c = palette.data() + 4 * indices[static_cast<size_t>(x)];
        EXPECT_EQ(out->Get(x, 0), (Bgra{c[0], c[1], c[2], src.Get(x, 0)->a})) << x;
    }
    // 1 bit: black and white only.
    auto bw = Run("ef_dither", {0, 0, 1, 0, 0, 0}, src);
    ASSERT_TRUE(bw);
    for (int32_t x = 0; x < 4; ++x) {
        const Bgra p = *bw->Get(x, 0);
        EXPECT_TRUE((p.r == 0 && p.g == 0 && p.b == 0) || (p.r == 255 && p.g == 255 && p.b == 255));
    }
}

TEST_F(ColourEffects, DitherCancelledFromTheStatusBarIsAFault) {
    // A clock that jumps makes every step draw and look for the click.
    host.clockStep = 2000.0;
    host.clickOnEvents = true;
    PixelBuffer src(40, 2);
    for (int32_t x = 0; x < 40; ++x)
        src.Set(x, 0, Rgba(x * 6, 0, 0, 255));
    EXPECT_FALSE(Run("ef_dither", {0, 0, 8, 0, 0, 0}, src));
    EXPECT_FALSE(host.progress.empty());
}

TEST_F(ColourEffects, DitherAsksBeforeReducingOneOfSeveralLayers) {
    core.Docs.resize(2);
    DocumentRecord& doc = core.Docs[1];
    doc.InUse = kYes;
    doc.Layers.resize(3);
    std::unique_ptr<Effect> e = fx.Registry.Create("ef_dither");
    int shown = 0;
    auto runner = [&](Effect& effect, const DialogSpec& spec, int32_t, int32_t) {
        ++shown;
        effect.EndInitializing(spec.Defaults());
        effect.OkClicked();
    };
    host.answers.push_back(Answer::No);
    EXPECT_FALSE(e->ShowUI(runner, core, host, 1, 1));
    EXPECT_EQ(shown, 0);
    ASSERT_EQ(host.questions.size(), 1u);
    EXPECT_NE(host.questions[0].find("このレイヤーを減色しますか？"), std::string::npos);
    host.answers.push_back(Answer::Yes);
    auto args = e->ShowUI(runner, core, host, 1, 1);
    ASSERT_TRUE(args);
    EXPECT_EQ(*args, (EffectArgs{1, 128, 8, 0, 0, 0}));
}

TEST(CountColors, CountsColoursNotAlpha) {
    const PixelBuffer p = Pixels({Rgba(1, 2, 3, 0), Rgba(1, 2, 3, 255), Rgba(3, 2, 1, 255)});
    EXPECT_EQ(CountColors(p), 2);
    EXPECT_EQ(CountColors(PixelBuffer()), 0);
    EXPECT_EQ(ColorCountMessage(2), "使用している色の数は 2 色です。");
}

}  // namespace
}  // namespace brv
