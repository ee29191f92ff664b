#include "tools/pen_settings.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <vector>

#include "colour/hsv.h"
#include "core/arith.h"
#include "core/documents.h"

namespace brv {

namespace {

constexpr std::array<BarSpec, kBarCount + 1> kBarSpecs{{
    {0, 0, 0, 0, 0},  // no bar 0
    {0, 255, 1, 50, 0},
    {1, kSizeBarMax, 1, 3000, 50},
    {0, 255, 2, 50, 255},
    {1, kSizeBarMax, 1, 5000, 50},
    {0, 200, 5, 20, 100},
    {0, 255, 2, 50, 0},
    {0, 255, 2, 15, 25},
    {-255, 255, 1, 30, 0},
    {1, 255, 1, 10, 5},
    {-255, 255, 1, 20, 5},
    {-255, 255, 1, 30, 5},
    {0, 255, 1, 10, 5},
    {0, 255, 1, 5, 5},
    {0, 64, 1, 10, 20},
    {1, 128, 1, 5, 5},
    {-255, 255, 2, 50, 255},
}};

int32_t Index(PenBar bar) {
    return static_cast<int32_t>(bar);
}

bool IsSizeBar(PenBar bar) {
    return bar == PenBar::HScroll2 || bar == PenBar::HScroll4;
}

int32_t ClampToBar(PenBar bar, int64_t v) {
    const BarSpec& s = SpecOf(bar);
    return static_cast<int32_t>(std::clamp<int64_t>(v, s.Min, s.Max));
}

// Int(v / 255 * 100): the percentage the 0 .. 255 bars show.
int32_t PercentOf255(int32_t v) {
    return static_cast<int32_t>(Int(v / 255.0 * 100.0));
}

// Int(|v| / 2.55): the percentage of the signed -255 .. 255 bars.
int32_t PercentOfSigned(int32_t v) {
    return static_cast<int32_t>(Int(std::abs(v) / 2.55));
}

// Int of a double that may lie beyond 32 bits, saturated.
int32_t IntSaturated(double x) {
    double r = Int(x);
    if (!(r > -2147483648.0)) return std::numeric_limits<int32_t>::min();
    if (r >= 2147483647.0) return std::numeric_limits<int32_t>::max();
    return static_cast<int32_t>(r);
}

}  // namespace

int32_t OptionIndexToFrameIndex(int32_t index) {
    return ControlsForOption(index).Panel;
}

ToolControls ControlsForOption(int32_t index) {
    if (index < 0 || index >= kToolCount) return {};
    const ToolEntry& t = kToolTable[static_cast<size_t>(index)];
    return {t.Panel, t.AntiAlias, t.ProtectAlpha, t.Colour};
}

const BarSpec& SpecOf(PenBar bar) {
    const int32_t i = Index(bar);
    return kBarSpecs[static_cast<size_t>(i >= 1 && i <= kBarCount ? i : 0)];
}

SizeBarResult HScrollEvents1(PenParamTable& params, int32_t a, int32_t b, int32_t largestSide,
                             int32_t value, int32_t& lastValue) {
    const int32_t side = std::max(largestSide, 1);
    const int64_t d = int64_t{value} - lastValue;
    SizeBarResult r;
    if ((d != 1 && d != -1) || lastValue == 0) {
        // At the far end this gives L + 1, one above what the arrows allow; intended.
        r.Size = IntSaturated(static_cast<double>(side) * value / kSizeBarMax) + 1;
        lastValue = value;
    } else {
        r.Size = static_cast<int32_t>(std::clamp<int64_t>(params(a, b) + d, 1, side));
        // 32766 here against 32767 in SizeBarPosition: the arrows land one step lower; intended.
        const int32_t moved =
            IntSaturated((r.Size - 1) / static_cast<double>(side) * (kSizeBarMax - 1)) + 1;
        r.BarMovedTo = moved;
        lastValue = moved;
    }
    params(a, b) = r.Size;
    r.Label = SizeLabel(r.Size);
    return r;
}

std::string SizeLabel(int32_t size) {
    return std::to_string(size) + "px";
}

std::string BarLabel(PenBar bar, int32_t v) {
    const std::string n = std::to_string(v);
    switch (bar) {
        case PenBar::HScroll1:
        case PenBar::HScroll3:
        case PenBar::HScroll6:
            return std::to_string(PercentOf255(v)) + "%";
        case PenBar::HScroll5:
            return n + "%";
        case PenBar::HScroll7:
        case PenBar::HScroll8:
            return std::to_string((v * 100) / 255) + "%";
        case PenBar::HScroll9:
        case PenBar::HScroll12:
        case PenBar::HScroll13:
            return n + "Px";
        case PenBar::HScroll10:
            return std::string(v < 0 ? "－" : "＋") + std::to_string(PercentOfSigned(v)) + "%";
        case PenBar::HScroll11:
            return std::to_string(PercentOfSigned(v)) + "%" + (v < 0 ? "シャープ " : "ぼかし ");
        case PenBar::HScroll14:
            return std::to_string(static_cast<int32_t>(Int(v / 64.0 * 100.0))) + "%";
        case PenBar::HScroll15:
            return n + "px";
        case PenBar::HScroll16:
            return n;
        case PenBar::HScroll2:
        case PenBar::HScroll4:
            break;
    }
    return {};
}

BarEffect ApplyBar(PenBar bar, int32_t value, LayerRecord& pen, int32_t largestSide,
                   PenWindowMemory& memory) {
    const int32_t v = ClampToBar(bar, value);
    PenParamTable& p = pen.PenParams;
    BarEffect e;
    if (IsSizeBar(bar)) {
        const bool pen1 = bar == PenBar::HScroll2;
        SizeBarResult r = HScrollEvents1(p, pen1 ? 1 : 2, pen1 ? 1 : 2, largestSide, v,
                                         pen1 ? memory.LastHScroll2 : memory.LastHScroll4);
        e.Label = std::move(r.Label);
        e.MoveBarTo = r.BarMovedTo;
        return e;
    }
    switch (bar) {
        case PenBar::HScroll1:
            pen.PenTransparency = v;
            e.RepaintSwatch = true;
            break;
        case PenBar::HScroll3:
            // The one bar that stores its label's percentage, not its own value.
            p(2, 1) = PercentOf255(v);
            break;
        case PenBar::HScroll5:
            p(3, 5) = v;
            break;
        case PenBar::HScroll6:
            p(3, 4) = v;
            break;
        case PenBar::HScroll7:
            p(5, 1) = v;
            break;
        case PenBar::HScroll8:
            p(5, 2) = v;
            break;
        case PenBar::HScroll9:
            p(11, 4) = v;
            break;
        case PenBar::HScroll10:
            p(11, 3) = v;
            break;
        case PenBar::HScroll11:
            p(12, 3) = v;
            break;
        case PenBar::HScroll12:
            p(12, 4) = v;
            break;
        case PenBar::HScroll13:
            p(13, 4) = v;
            break;
        case PenBar::HScroll14:
            p(13, 3) = v;
            break;
        case PenBar::HScroll15:
            p(15, 2) = v;
            break;
        case PenBar::HScroll16:
            p(15, 1) = v;
            break;
        case PenBar::HScroll2:
        case PenBar::HScroll4:
            break;
    }
    e.Label = BarLabel(bar, v);
    return e;
}

Check4Change HScroll8SignRule(int32_t blend, bool check4Checked, std::string& tag) {
    if (blend < 0) {
        if (tag.empty()) tag = check4Checked ? "1" : "0";
        return {false, false};
    }
    if (tag.empty()) return {};
    Check4Change c{tag == "1", true};
    tag.clear();
    return c;
}

void ApplyCheck(PenCheck box, bool checked, LayerRecord& pen) {
    const int32_t value = checked ? 1 : 0;
    switch (box) {
        case PenCheck::Check1:
            pen.PenParams(1, 4) = value;
            break;
        case PenCheck::Check2:
            pen.PenParams(5, 4) = value;
            break;
        case PenCheck::Check3:
            pen.PenParams(3, 6) = value;
            break;
        case PenCheck::Check4:
            if (!checked) pen.PenParams(5, 3) = 0;
            break;
        case PenCheck::Check5:
            pen.PenFlag = checked ? kYes : kNo;
            break;
    }
}

int32_t SizeBarPosition(int32_t size, int32_t largestSide) {
    const double side = std::max(largestSide, 1);
    const double pos = Int((size - 1.0) / side * kSizeBarMax) + 1.0;
    return static_cast<int32_t>(std::clamp(pos, 1.0, static_cast<double>(kSizeBarMax)));
}

int32_t SizeBarLargeStep(int32_t largestSide) {
    const double side = std::max(largestSide, 1);
    return static_cast<int32_t>(
        std::clamp(Round(40000.0 / std::pow(side, 0.75)), 1.0, static_cast<double>(kSizeBarMax)));
}

PenControlState PenControlsFor(const DocumentRecord& doc, const LayerRecord& pen) {
    const PenParamTable& p = pen.PenParams;
    const int32_t side = std::max(LargestSide(doc), 1);
    PenControlState s;
    auto set = [&s](PenBar bar, int64_t value) {
        const int32_t v = ClampToBar(bar, value);
        s.BarValues[static_cast<size_t>(Index(bar))] = v;
        s.BarLabels[static_cast<size_t>(Index(bar))] = BarLabel(bar, v);
    };
    set(PenBar::HScroll1, pen.PenTransparency);
    set(PenBar::HScroll3, static_cast<int64_t>(Round(p(2, 1) * 255.0 / 100.0)));
    // The label keeps the stored percentage: the bar's way back would lose a point.
    s.BarLabels[3] = std::to_string(p(2, 1)) + "%";
    set(PenBar::HScroll5, p(3, 5));
    set(PenBar::HScroll6, p(3, 4));
    set(PenBar::HScroll7, p(5, 1));
    set(PenBar::HScroll8, p(5, 2));
    set(PenBar::HScroll9, p(11, 4));
    set(PenBar::HScroll10, p(11, 3));
    set(PenBar::HScroll11, p(12, 3));
    set(PenBar::HScroll12, p(12, 4));
    set(PenBar::HScroll13, p(13, 4));
    set(PenBar::HScroll14, p(13, 3));
    set(PenBar::HScroll15, p(15, 2));
    set(PenBar::HScroll16, p(15, 1));
    s.BarValues[2] = SizeBarPosition(p(1, 1), side);
    s.BarLabels[2] = SizeLabel(p(1, 1));
    s.BarValues[4] = SizeBarPosition(p(2, 2), side);
    s.BarLabels[4] = SizeLabel(p(2, 2));
    s.SizeLargeStep = SizeBarLargeStep(side);

    s.Check1 = p(1, 4) != 0;
    s.Check2 = p(5, 4) != 0;
    s.Check3 = p(3, 6) != 0;
    s.Check5 = pen.PenFlag != 0;
    // A negative blend never goes with a pattern: the box is off and disabled, and the tag
    // remembers it so that the bar's way back to 0 enables it again.
    const bool negativeBlend = s.BarValues[8] < 0;
    s.Check4 = p(5, 3) != 0 && !negativeBlend;
    s.Check4Enabled = !negativeBlend;
    s.HScroll8Tag = negativeBlend ? (p(5, 3) != 0 ? "1" : "0") : "";

    s.SelectedPen = p(3, 1);
    s.SelectedFill = p(5, 3);
    s.Tool = pen.Tool;
    s.Color = pen.PenColor;
    s.Transparency = pen.PenTransparency;
    s.ColorText = PenColorText(pen.PenColor, pen.PenTransparency);
    s.HotspotX = std::to_string(doc.HotspotX);
    s.HotspotY = std::to_string(doc.HotspotY);
    return s;
}

namespace {

template <class State>
auto* PenLayerOf(State& core, int32_t fid) {
    auto* doc = core.Doc(fid);
    if (doc == nullptr || doc->PenLID < 1 || doc->PenLID > doc->LayerCount()) {
        return static_cast<decltype(&doc->Layers[0])>(nullptr);
    }
    return &doc->Layers[static_cast<size_t>(doc->PenLID)];
}

}  // namespace

LayerRecord* PenLayer(CoreState& core, int32_t fid) {
    return PenLayerOf(core, fid);
}

const LayerRecord* PenLayer(const CoreState& core, int32_t fid) {
    return PenLayerOf(core, fid);
}

int32_t HsvToColor(int32_t h, int32_t s, int32_t v) {
    return HSVToRGB(h, s, v);
}

PixelBuffer MakeColorChart(int32_t width, int32_t height) {
    const int32_t w = std::clamp(width, 1, PixelBuffer::kMaxSide - 1);
    const int32_t h = std::clamp(height, 1, PixelBuffer::kMaxSide - 1);
    PixelBuffer chart(w + 1, h + 1);
    std::vector<int32_t> hues(static_cast<size_t>(w) + 1);
    for (int32_t x = 0; x <= w; ++x)
        hues[static_cast<size_t>(x)] = (((x * 255) / w) * 360) / 255;
    for (int32_t y = 0; y <= h; ++y) {
        const int32_t v = (y * 255) / h;
        int32_t sat = 255, val = 255;
        if (v > 127)
            sat = (255 - v) * 2;
        else
            val = static_cast<int32_t>(Round(std::pow(v / 127.0, 0.8) * 255.0));
        uint8_t* row = chart.Row(y);
        for (int32_t x = 0; x <= w; ++x) {
            const Bgra c = ColorWordToBgra(HsvToColor(hues[static_cast<size_t>(x)], sat, val));
            row[4 * x] = c.b;
            row[4 * x + 1] = c.g;
            row[4 * x + 2] = c.r;
            row[4 * x + 3] = 255;
        }
    }
    return chart;
}

std::optional<int32_t> ColorChartPick(const PixelBuffer& chart, int32_t x, int32_t y) {
    // The chart's rows run bottom-up; the click counts from the top.
    std::optional<Bgra> c = chart.Get(x, chart.Height() - 1 - y);
    if (!c || y < 0) return std::nullopt;
    return BgraToColorWord(*c);
}

int32_t TwipsToPixel(double twips, double twipsPerPixel) {
    return Div(RoundToInt(twips), RoundToInt(twipsPerPixel)).value_or(0);
}

PixelBuffer MakeSwatch(int32_t width, int32_t height, int32_t color, int32_t transparency,
                       const PixelBuffer& background) {
    PixelBuffer swatch(std::clamp(width, 0, PixelBuffer::kMaxSide),
                       std::clamp(height, 0, PixelBuffer::kMaxSide));
    const int32_t t = std::clamp(transparency, 0, 255);
    const Bgra c = ColorWordToBgra(color);
    const bool white = background.Empty();
    for (int32_t y = 0; y < swatch.Height(); ++y) {
        for (int32_t x = 0; x < swatch.Width(); ++x) {
            const uint8_t* bg =
                white ? nullptr
                      : background.PixelPtr(x % background.Width(), y % background.Height());
            uint8_t* out = swatch.PixelPtr(x, y);
            const uint8_t own[3] = {c.b, c.g, c.r};
            for (int k = 0; k < 3; ++k) {
                const int32_t under = white ? 255 : bg[k];
                out[k] = static_cast<uint8_t>((under * t + own[k] * (255 - t)) / 255);
            }
            out[3] = 255;
        }
    }
    return swatch;
}

std::string PenColorText(int32_t color, int32_t transparency) {
    const Bgra c = ColorWordToBgra(color);
    // The transparency as it is kept, not as an alpha; intended.
    return "R:" + std::to_string(c.r) + "\nG:" + std::to_string(c.g) +
           "\nB:" + std::to_string(c.b) + "\nA:" + std::to_string(transparency);
}

int32_t HotspotFromText(std::string_view text, int32_t side) {
    int64_t value = 0;
    for (char ch : text) {
        if (ch < '0' || ch > '9') break;
        value = std::min<int64_t>(value * 10 + (ch - '0'), int64_t{1} << 40);
    }
    return static_cast<int32_t>(std::clamp<int64_t>(value, 0, std::max(side - 1, 0)));
}

}  // namespace brv
