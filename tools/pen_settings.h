// The pen window's logic: the sixteen tools, the bars and boxes of their panels, and how each
// control maps to the PenState of the active document. The Qt window only moves widgets; every
// number it shows or writes comes from here.
//
//   LayerRecord* pen = PenLayer(core, core.ActiveFID);
//   BarEffect e = ApplyBar(PenBar::HScroll2, bar->value(), *pen, LargestSide(doc), memory);
//   label->setText(ToQ(e.Label));
//   if (e.MoveBarTo) { /* move the bar while the window is busy */ }
//
// The PenState is the five pen fields (Tool, PenFlag, PenColor, PenTransparency, PenParams) of
// the layer named by the document's PenLID; each document keeps its own.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "core/core_state.h"
#include "core/document.h"
#include "core/pixel_buffer.h"

namespace brv {

inline constexpr int32_t kToolCount = 16;
inline constexpr int32_t kPanelCount = 9;

// One row of the tool table, indexed by the option index (Tool - 1).
struct ToolEntry {
    std::string_view Caption;  // the option button
    int32_t Panel;             // the Frame1 panel that the tool shows
    bool AntiAlias;            // Check1 enabled
    bool ProtectAlpha;         // Check5 enabled
    bool Colour;               // colour chart, swatch and its text enabled
};

inline constexpr std::array<ToolEntry, kToolCount> kToolTable{{
    {"ペン", 0, true, true, true},
    {"消ｺﾞﾑ", 1, true, true, false},
    {"Gペン", 2, false, false, false},
    {"直線", 0, true, true, true},
    {"塗り", 3, false, false, true},
    {"選択１", 0, false, false, false},
    {"移動", 0, false, false, false},
    {"色取得", 0, false, false, true},
    {"選択2", 0, false, false, false},
    {"矩形", 0, true, true, true},
    {"明度", 4, false, false, true},
    {"ぼかし", 5, false, true, true},
    {"指先", 6, false, false, true},
    {"円", 0, true, true, true},
    {"α調整", 7, true, false, true},
    {"ｽﾎﾟｯﾄ", 8, false, false, true},
}};

inline constexpr std::array<std::string_view, kPanelCount> kPanelCaptions{
    "共通ペン設定",     "消しゴム",         "グラフィックペン", "塗りつぶし",    "明度の調整ツール",
    "ぼかし・シャープ", "指先なぞりツール", "透明度調整ツール", "ホットスポット"};

// Captions of the boxes and buttons around the panels.
namespace pen_text {
inline constexpr std::string_view kAntiAlias = "アンチエイリアス";     // Check1
inline constexpr std::string_view kProtectAlpha = "透明度を保護する";  // Check5
inline constexpr std::string_view kLayerBelow = "下のﾚｲﾔｰ対象";        // Check2
inline constexpr std::string_view kRotate = "回転";                    // Check3
inline constexpr std::string_view kTextButton = "文字";                // Command1
inline constexpr std::string_view kReload = "更新";                    // Command2
inline constexpr std::string_view kSpacing = "非描画領域";             // HScroll5
inline constexpr std::string_view kTolerance = "許容誤差";             // HScroll7
inline constexpr std::string_view kBlend = "合成度";                   // HScroll8
inline constexpr std::string_view kBrightness = "明度";                // HScroll10
inline constexpr std::string_view kRange = "範囲";                     // HScroll9, 12, 13
inline constexpr std::string_view kStrength = "強さ";                  // HScroll11, 14, 16
inline constexpr std::string_view kThickness = "太さ";                 // HScroll15
}  // namespace pen_text

// The panel of an option index; 0 for an index that names no tool.
int32_t OptionIndexToFrameIndex(int32_t index);

// What selecting a tool turns on. An index outside the table shows panel 0 with the boxes and
// the colour controls off.
struct ToolControls {
    int32_t Panel = 0;
    bool AntiAlias = false;
    bool ProtectAlpha = false;
    bool Colour = false;
};
ToolControls ControlsForOption(int32_t index);

// The sixteen bars, numbered as the window names them.
enum class PenBar : int32_t {
    HScroll1 = 1,  // PenTransparency
    HScroll2,      // pen size, proportional to the image
    HScroll3,      // eraser strength, stored as a percentage
    HScroll4,      // eraser size, proportional to the image
    HScroll5,      // graphic pen spacing
    HScroll6,      // graphic pen transparency
    HScroll7,      // fill tolerance
    HScroll8,      // fill blend; its sign ties to the pattern box
    HScroll9,      // brightness range
    HScroll10,     // brightness strength
    HScroll11,     // blur / sharpen strength
    HScroll12,     // blur range
    HScroll13,     // finger range
    HScroll14,     // finger strength
    HScroll15,     // alpha tool size
    HScroll16,     // alpha tool strength
};
inline constexpr int32_t kBarCount = 16;

struct BarSpec {
    int32_t Min;
    int32_t Max;
    int32_t Small;
    int32_t Large;
    int32_t Start;  // the value the window starts with, before any document is shown
};
const BarSpec& SpecOf(PenBar bar);

// The size bars run over this range whatever the image.
inline constexpr int32_t kSizeBarMax = 32767;

// What the window keeps between events.
struct PenWindowMemory {
    int32_t LastHScroll2 = 0;
    int32_t LastHScroll4 = 0;
    // Check4's state ("0" or "1") while the blend is negative; empty otherwise.
    std::string HScroll8Tag;
};

struct SizeBarResult {
    int32_t Size = 0;                   // written into PenParams(a, b)
    std::optional<int32_t> BarMovedTo;  // after an arrow step: where the bar must go
    std::string Label;
};

// The shared mapping of the two size bars. An arrow press (a step of exactly one from the last
// value) moves the size by one pixel; anything else maps the bar proportionally onto 1 .. L + 1.
SizeBarResult HScrollEvents1(PenParamTable& params, int32_t a, int32_t b, int32_t largestSide,
                             int32_t value, int32_t& lastValue);

// The label of a bar showing the value v. The size bars' label is SizeLabel.
std::string BarLabel(PenBar bar, int32_t v);
std::string SizeLabel(int32_t size);

struct BarEffect {
    std::string Label;
    std::optional<int32_t> MoveBarTo;  // a size bar's arrow step; move it while busy
    bool RepaintSwatch = false;        // the transparency changed
};

// A bar's change (or scroll) event: writes the value into the pen state.
BarEffect ApplyBar(PenBar bar, int32_t value, LayerRecord& pen, int32_t largestSide,
                   PenWindowMemory& memory);

// What HS8 does to the pattern box after the blend moved to `blend`. Empty fields leave the box
// as it is.
struct Check4Change {
    std::optional<bool> Checked;
    std::optional<bool> Enabled;
};
Check4Change HScroll8SignRule(int32_t blend, bool check4Checked, std::string& tag);

enum class PenCheck {
    Check1,  // anti-aliasing, (1,4)
    Check2,  // fill the layer below, (5,4)
    Check3,  // turn the graphic pen along the stroke, (3,6)
    Check4,  // fill with a pattern; clearing it drops the pattern number (5,3)
    Check5,  // protect transparency, PenFlag
};
// A box's click: the value of the box goes into the pen state.
void ApplyCheck(PenCheck box, bool checked, LayerRecord& pen);

// The size bars' position for a size, as ShowPenState sets it, within the bar's range (a size
// of L + 1 lands on the maximum).
int32_t SizeBarPosition(int32_t size, int32_t largestSide);
// Both size bars' large step for an image: Round(40000 / L^0.75), within 1 .. 32767.
int32_t SizeBarLargeStep(int32_t largestSide);

// Every control of the window for one document, as ShowPenState sets them.
struct PenControlState {
    std::array<int32_t, kBarCount + 1> BarValues{};      // [1 .. 16], within each bar's range
    std::array<std::string, kBarCount + 1> BarLabels{};  // [1 .. 16]
    int32_t SizeLargeStep = 1;                           // HScroll2 and HScroll4
    bool Check1 = false;
    bool Check2 = false;
    bool Check3 = false;
    bool Check4 = false;
    bool Check5 = false;
    bool Check4Enabled = true;
    std::string HScroll8Tag;
    int32_t SelectedPen = 0;   // (3,1)
    int32_t SelectedFill = 0;  // (5,3)
    int32_t Tool = 0;
    int32_t Color = 0;
    int32_t Transparency = 0;
    std::string ColorText;  // Label18
    std::string HotspotX;
    std::string HotspotY;
};
PenControlState PenControlsFor(const DocumentRecord& doc, const LayerRecord& pen);

// The layer that holds a document's pen state, or nullptr when the FID or PenLID names none.
LayerRecord* PenLayer(CoreState& core, int32_t fid);
const LayerRecord* PenLayer(const CoreState& core, int32_t fid);

// Colour in one integer 0x00BBGGRR from integer hue 0 .. 360, saturation and value 0 .. 255.
int32_t HsvToColor(int32_t h, int32_t s, int32_t v);

// The colour chart for a chart window of width by height pixels: one column and one row more,
// rows bottom-up, opaque. Sides under 1 count as 1.
PixelBuffer MakeColorChart(int32_t width, int32_t height);
// The colour under a click at (x, y) pixels from the window's top left, or nullopt outside.
std::optional<int32_t> ColorChartPick(const PixelBuffer& chart, int32_t x, int32_t y);
// A mouse position in twips to whole pixels, as the chart's click counts them.
int32_t TwipsToPixel(double twips, double twipsPerPixel);

// The swatch: the colour at transparency t over the transparency background, rows top-down.
// An empty background counts as white.
PixelBuffer MakeSwatch(int32_t width, int32_t height, int32_t color, int32_t transparency,
                       const PixelBuffer& background);
// Label18: the colour's channels and the transparency, one per line.
std::string PenColorText(int32_t color, int32_t transparency);

// A hot spot box's text to a coordinate: the leading digits, limited to 0 .. side - 1.
int32_t HotspotFromText(std::string_view text, int32_t side);

}  // namespace brv
