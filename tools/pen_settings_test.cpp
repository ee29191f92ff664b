#include "tools/pen_settings.h"

#include <gtest/gtest.h>

#include "core/documents.h"
#include "core/startup.h"

namespace brv {
namespace {

LayerRecord FreshPen() {
    DocumentRecord doc;
    doc.Width = 4;
    doc.Height = 4;
    doc.Layers.resize(2);
    InitLayer(doc, 1, 0);
    return doc.Layers[1];
}

TEST(ToolTable, PanelsAndEnabledControlsFollowTheTool) {
    const int32_t panels[kToolCount] = {0, 1, 2, 0, 3, 0, 0, 0, 0, 0, 4, 5, 6, 0, 7, 8};
    for (int32_t i = 0; i < kToolCount; ++i)
        EXPECT_EQ(OptionIndexToFrameIndex(i), panels[i]);
    for (int32_t i : {-1, 16, 20, 1000})
        EXPECT_EQ(OptionIndexToFrameIndex(i), 0);

    // Tool 8, the colour picker: panel 0 stays, anti-aliasing is off, the colour is on.
    const ToolControls picker = ControlsForOption(7);
    EXPECT_EQ(picker.Panel, 0);
    EXPECT_FALSE(picker.AntiAlias);
    EXPECT_FALSE(picker.ProtectAlpha);
    EXPECT_TRUE(picker.Colour);

    // The blur tool protects alpha but has no anti-aliasing; the alpha tool the other way round.
    EXPECT_TRUE(ControlsForOption(11).ProtectAlpha);
    EXPECT_FALSE(ControlsForOption(11).AntiAlias);
    EXPECT_TRUE(ControlsForOption(14).AntiAlias);
    EXPECT_FALSE(ControlsForOption(14).ProtectAlpha);
    EXPECT_FALSE(ControlsForOption(1).Colour);  // the eraser
    EXPECT_EQ(kToolTable[5].Caption, "選択１");
    EXPECT_EQ(kToolTable[8].Caption, "選択2");
}

TEST(SizeBar, FarEndGivesOneAboveTheImageAndTheArrowStepsBack) {
    PenParamTable p;
    int32_t last = 0;
    // 32 by 16: L = 32.
    SizeBarResult r = HScrollEvents1(p, 1, 1, 32, 32767, last);
    EXPECT_EQ(r.Size, 33);
    EXPECT_EQ(p(1, 1), 33);
    EXPECT_EQ(r.Label, "33px");
    EXPECT_FALSE(r.BarMovedTo);
    EXPECT_EQ(last, 32767);

    r = HScrollEvents1(p, 1, 1, 32, 32766, last);  // the left arrow
    EXPECT_EQ(r.Size, 32);
    ASSERT_TRUE(r.BarMovedTo);
    EXPECT_EQ(*r.BarMovedTo, 31743);  // Int(31 / 32 * 32766) + 1
    EXPECT_EQ(last, 31743);

    r = HScrollEvents1(p, 1, 1, 32, 31742, last);
    EXPECT_EQ(r.Size, 31);
    EXPECT_EQ(*r.BarMovedTo, 30719);               // Int(30 / 32 * 32766) + 1
    r = HScrollEvents1(p, 1, 1, 32, 30720, last);  // the right arrow
    EXPECT_EQ(r.Size, 32);
    EXPECT_EQ(*r.BarMovedTo, 31743);

    // A page step is proportional again.
    r = HScrollEvents1(p, 1, 1, 32, 31743 - 3000, last);
    EXPECT_EQ(r.Size, 29);  // Int(32 * 28743 / 32767) + 1
    EXPECT_FALSE(r.BarMovedTo);
}

TEST(SizeBar, FirstEventIsProportionalEvenForAStepOfOne) {
    PenParamTable p;
    p(2, 2) = 10;
    int32_t last = 0;
    SizeBarResult r = HScrollEvents1(p, 2, 2, 32, 1, last);
    EXPECT_EQ(r.Size, 1);
    EXPECT_EQ(p(2, 2), 1);
    EXPECT_EQ(last, 1);
}

TEST(SizeBar, LargestSideOneGivesOneOrTwo) {
    PenParamTable p;
    int32_t last = 0;
    EXPECT_EQ(HScrollEvents1(p, 1, 1, 1, 16000, last).Size, 1);
    EXPECT_EQ(HScrollEvents1(p, 1, 1, 1, 32766, last).Size, 1);
    EXPECT_EQ(HScrollEvents1(p, 1, 1, 1, 20000, last).Size, 1);
    EXPECT_EQ(HScrollEvents1(p, 1, 1, 1, 32767, last).Size, 2);
    // Arrows never leave 1 .. L, and the bar goes back to its start.
    SizeBarResult r = HScrollEvents1(p, 1, 1, 1, 32766, last);
    EXPECT_EQ(r.Size, 1);
    EXPECT_EQ(*r.BarMovedTo, 1);
    r = HScrollEvents1(p, 1, 1, 1, 2, last);
    EXPECT_EQ(r.Size, 1);
    EXPECT_EQ(*r.BarMovedTo, 1);
}

TEST(SizeBar, ShowPenStatePositionAndLargeStep) {
    EXPECT_EQ(SizeBarPosition(1, 32), 1);
    EXPECT_EQ(SizeBarPosition(17, 32), 16384);  // Int(16 / 32 * 32767) + 1
    EXPECT_EQ(SizeBarPosition(33, 32), 32767);  // 32768 lands on the bar's end
    EXPECT_EQ(SizeBarLargeStep(32), 2973);      // Round(40000 / 13.454...)
    EXPECT_EQ(SizeBarLargeStep(16), 5000);
    EXPECT_EQ(SizeBarLargeStep(1), 32767);  // 40000, limited
    EXPECT_EQ(SizeBarLargeStep(32767), 16);
    EXPECT_EQ(SizeBarLargeStep(0), 32767);
}

TEST(Bars, EachBarWritesItsOneValue) {
    struct Case {
        PenBar bar;
        int32_t value;
        int a, b;  // PenParams cell; a = 0 for the pen's own fields
        int32_t stored;
        const char* label;
    };
    const Case cases[] = {
        {PenBar::HScroll3, 128, 2, 1, 50, "50%"},  // stores Int(128 / 255 * 100)
        {PenBar::HScroll5, 35, 3, 5, 35, "35%"},
        {PenBar::HScroll6, 128, 3, 4, 128, "50%"},
        {PenBar::HScroll7, 200, 5, 1, 200, "78%"},
        {PenBar::HScroll8, -200, 5, 2, -200, "-78%"},
        {PenBar::HScroll9, 7, 11, 4, 7, "7Px"},
        {PenBar::HScroll10, -100, 11, 3, -100, "－39%"},
        {PenBar::HScroll11, -51, 12, 3, -51, "20%シャープ "},
        {PenBar::HScroll12, 9, 12, 4, 9, "9Px"},
        {PenBar::HScroll13, 11, 13, 4, 11, "11Px"},
        {PenBar::HScroll14, 63, 13, 3, 63, "98%"},
        {PenBar::HScroll15, 12, 15, 2, 12, "12px"},
        {PenBar::HScroll16, -7, 15, 1, -7, "-7"},
    };
    for (const Case& c : cases) {
        LayerRecord pen = FreshPen();
        const LayerRecord before = pen;
        PenWindowMemory memory;
        const BarEffect e = ApplyBar(c.bar, c.value, pen, 32, memory);
        EXPECT_EQ(e.Label, c.label) << static_cast<int>(c.bar);
        EXPECT_FALSE(e.RepaintSwatch);
        EXPECT_EQ(pen.PenParams(c.a, c.b), c.stored) << static_cast<int>(c.bar);
        // Nothing else moved.
        pen.PenParams(c.a, c.b) = before.PenParams(c.a, c.b);
        EXPECT_EQ(pen.PenParams, before.PenParams) << static_cast<int>(c.bar);
        EXPECT_EQ(pen.PenTransparency, before.PenTransparency);
    }

    LayerRecord pen = FreshPen();
    PenWindowMemory memory;
    BarEffect e = ApplyBar(PenBar::HScroll1, 128, pen, 32, memory);
    EXPECT_EQ(pen.PenTransparency, 128);
    EXPECT_TRUE(e.RepaintSwatch);
    EXPECT_EQ(e.Label, "50%");
    e = ApplyBar(PenBar::HScroll4, 32767, pen, 32, memory);
    EXPECT_EQ(pen.PenParams(2, 2), 33);
    EXPECT_EQ(memory.LastHScroll4, 32767);
    EXPECT_EQ(memory.LastHScroll2, 0);
}

TEST(Bars, LabelsAtTheEnds) {
    EXPECT_EQ(BarLabel(PenBar::HScroll10, 255), "＋100%");
    EXPECT_EQ(BarLabel(PenBar::HScroll10, 0), "＋0%");
    EXPECT_EQ(BarLabel(PenBar::HScroll11, 255), "100%ぼかし ");
    EXPECT_EQ(BarLabel(PenBar::HScroll8, -1), "0%");  // truncates toward zero
    EXPECT_EQ(BarLabel(PenBar::HScroll8, -255), "-100%");
    EXPECT_EQ(BarLabel(PenBar::HScroll3, 153), "60%");
    EXPECT_EQ(BarLabel(PenBar::HScroll14, 64), "100%");
}

TEST(BlendSign, NegativeBlendClearsAndDisablesThePatternBox) {
    LayerRecord pen = FreshPen();
    pen.PenParams(5, 3) = 3;
    PenWindowMemory memory;
    bool checked = true;
    bool enabled = true;
    auto move = [&](int32_t v) {
        ApplyBar(PenBar::HScroll8, v, pen, 32, memory);
        const Check4Change c = HScroll8SignRule(pen.PenParams(5, 2), checked, memory.HScroll8Tag);
        if (c.Checked && *c.Checked != checked) {
            checked = *c.Checked;
            ApplyCheck(PenCheck::Check4, checked, pen);  // the box's own handler
        }
        if (c.Enabled) enabled = *c.Enabled;
    };
    move(-1);
    EXPECT_FALSE(checked);
    EXPECT_FALSE(enabled);
    EXPECT_EQ(pen.PenParams(5, 3), 0);
    EXPECT_EQ(memory.HScroll8Tag, "1");
    move(-30);  // the tag keeps the first state
    EXPECT_EQ(memory.HScroll8Tag, "1");
    move(0);
    EXPECT_TRUE(checked);
    EXPECT_TRUE(enabled);
    EXPECT_EQ(pen.PenParams(5, 3), 0);  // the pattern went with the clearing
    EXPECT_TRUE(memory.HScroll8Tag.empty());
    move(40);
    EXPECT_TRUE(checked);

    checked = false;
    move(-5);
    EXPECT_EQ(memory.HScroll8Tag, "0");
    move(5);
    EXPECT_FALSE(checked);
    EXPECT_TRUE(enabled);
}

TEST(Checks, EachBoxWritesItsValue) {
    LayerRecord pen = FreshPen();
    ApplyCheck(PenCheck::Check1, false, pen);
    EXPECT_EQ(pen.PenParams(1, 4), 0);
    ApplyCheck(PenCheck::Check2, true, pen);
    EXPECT_EQ(pen.PenParams(5, 4), 1);
    ApplyCheck(PenCheck::Check3, false, pen);
    EXPECT_EQ(pen.PenParams(3, 6), 0);
    ApplyCheck(PenCheck::Check5, true, pen);
    EXPECT_EQ(pen.PenFlag, -1);
    ApplyCheck(PenCheck::Check5, false, pen);
    EXPECT_EQ(pen.PenFlag, 0);
    pen.PenParams(5, 3) = 4;
    ApplyCheck(PenCheck::Check4, true, pen);  // setting keeps the pattern
    EXPECT_EQ(pen.PenParams(5, 3), 4);
    ApplyCheck(PenCheck::Check4, false, pen);
    EXPECT_EQ(pen.PenParams(5, 3), 0);
}

TEST(ShowPenState, ControlsOfADocument) {
    DocumentRecord doc;
    doc.Width = 32;
    doc.Height = 16;
    doc.Layers.resize(2);
    InitLayer(doc, 1, 0);
    doc.PenLID = 1;
    doc.HotspotX = 5;
    doc.HotspotY = 9;
    LayerRecord& pen = doc.Layers[1];
    pen.PenParams(1, 1) = 17;
    pen.PenParams(2, 1) = 33;
    pen.PenParams(5, 2) = -20;
    pen.PenParams(5, 3) = 2;
    pen.PenParams(15, 1) = 900;  // beyond the bar
    pen.PenColor = 0x102030;
    pen.PenTransparency = 7;
    pen.PenFlag = kYes;

    const PenControlState s = PenControlsFor(doc, pen);
    EXPECT_EQ(s.BarValues[2], 16384);
    EXPECT_EQ(s.BarLabels[2], "17px");
    EXPECT_EQ(s.BarValues[4], 1);  // (2,2) = 1 by default
    EXPECT_EQ(s.SizeLargeStep, 2973);
    EXPECT_EQ(s.BarValues[3], 84);  // Round(33 * 2.55)
    EXPECT_EQ(s.BarLabels[3], "33%");
    EXPECT_EQ(s.BarValues[16], 255);
    EXPECT_EQ(s.BarValues[1], 7);
    EXPECT_TRUE(s.Check1);
    EXPECT_TRUE(s.Check3);
    EXPECT_TRUE(s.Check5);
    // A negative blend shows the pattern box off and disabled.
    EXPECT_FALSE(s.Check4);
    EXPECT_FALSE(s.Check4Enabled);
    EXPECT_EQ(s.HScroll8Tag, "1");
    EXPECT_EQ(s.SelectedFill, 2);
    EXPECT_EQ(s.ColorText, "R:48\nG:32\nB:16\nA:7");
    EXPECT_EQ(s.HotspotX, "5");
    EXPECT_EQ(s.HotspotY, "9");
}

TEST(Colour, HsvToColorAtHandPoints) {
    EXPECT_EQ(HsvToColor(0, 255, 255), 0x0000FF);    // red
    EXPECT_EQ(HsvToColor(60, 255, 255), 0x00FFFF);   // yellow
    EXPECT_EQ(HsvToColor(120, 255, 255), 0x00FF00);  // green
    EXPECT_EQ(HsvToColor(30, 255, 255), 0x0080FF);   // t = 255 - 127
    EXPECT_EQ(HsvToColor(360, 255, 255), 0xFF00FF);  // the far end is magenta
    EXPECT_EQ(HsvToColor(200, 100, 200), 0xC8AE79);  // k = 3: (p, q, V) = (121, 174, 200)
    EXPECT_EQ(HsvToColor(50, 0, 77), 0x4D4D4D);      // no saturation: grey
}

TEST(Colour, ChartPointsAndTheClick) {
    const PixelBuffer chart = MakeColorChart(100, 50);
    ASSERT_EQ(chart.Width(), 101);
    ASSERT_EQ(chart.Height(), 51);
    auto at = [&](int32_t x, int32_t row) { return BgraToColorWord(*chart.Get(x, row)); };
    EXPECT_EQ(at(0, 25), 0x0000FF);   // v = 127: full value and saturation
    EXPECT_EQ(at(50, 50), 0xFFFFFF);  // the top row is white
    EXPECT_EQ(at(0, 0), 0x000000);    // the bottom row is black
    EXPECT_EQ(at(20, 10), 0x007B62);  // h' 72, V = Round((51/127)^0.8 * 255) = 123
    EXPECT_EQ(at(75, 40), 0xFF99CB);  // h' 269, S = 102
    EXPECT_EQ(chart.Get(3, 3)->a, 255);

    // Rows are bottom-up: a click 40 pixels from the top names row 10.
    EXPECT_EQ(ColorChartPick(chart, 20, 40), 0x007B62);
    EXPECT_EQ(ColorChartPick(chart, 100, 50), at(100, 0));
    EXPECT_FALSE(ColorChartPick(chart, 101, 0));
    EXPECT_FALSE(ColorChartPick(chart, 0, 51));
    EXPECT_FALSE(ColorChartPick(chart, -1, 5));

    EXPECT_EQ(MakeColorChart(0, -3).Width(), 2);  // no division by zero
    EXPECT_EQ(TwipsToPixel(59.5, 15), 4);         // 60 \ 15
    EXPECT_EQ(TwipsToPixel(52.5, 15), 3);         // ties to even: 52 \ 15
    EXPECT_EQ(TwipsToPixel(7, 0), 0);
}

TEST(Colour, SwatchOverTheBackground) {
    const PixelBuffer bg = MakeBackgroundTile(30, 30);  // (0,0) grey 200, (11,0) white
    const PixelBuffer s = MakeSwatch(24, 24, 0x0000FF, 128, bg);
    EXPECT_EQ(*s.Get(0, 0), (Bgra{100, 100, 227, 255}));  // (200*128 + c*127) / 255
    EXPECT_EQ(*s.Get(11, 0), (Bgra{128, 128, 255, 255}));
    EXPECT_EQ(*MakeSwatch(2, 2, 0x123456, 0, bg).Get(1, 1), (Bgra{0x12, 0x34, 0x56, 255}));
    EXPECT_EQ(PenColorText(0x0000FF, 128), "R:255\nG:0\nB:0\nA:128");
}

TEST(Hotspot, BoxTextIsLimitedToTheImage) {
    EXPECT_EQ(HotspotFromText("12", 16), 12);
    EXPECT_EQ(HotspotFromText("40", 16), 15);
    EXPECT_EQ(HotspotFromText("", 16), 0);
    EXPECT_EQ(HotspotFromText("7a", 16), 7);
    EXPECT_EQ(HotspotFromText("99999999999999999999", 10), 9);
    EXPECT_EQ(HotspotFromText("3", 0), 0);
}

}  // namespace
}  // namespace brv
