#include "effects/ef_lvadjust.h"

#include <utility>

#include "core/arith.h"
#include "effects/effect_table.h"

namespace brv {

namespace {

constexpr int32_t kBoxMaxIndex = 1280;

struct Weights {
    int32_t r = 0, g = 0, b = 0, a = 0;
};

// The check boxes 3..6 (blue, green, red, alpha) as histogram weights.
Weights WeightsOf(ArgReader& a) {
    Weights w;
    w.b = a.Int(3);
    w.g = a.Int(4);
    w.r = a.Int(5);
    w.a = a.Int(6);
    return w;
}

}  // namespace

std::optional<std::vector<double>> MakeHistogram(const PixelBuffer& SData, int32_t MaxIndex,
                                                 bool Normalize, int32_t WeightR, int32_t WeightG,
                                                 int32_t WeightB, int32_t WeightA) {
    if (MaxIndex < 0) return std::nullopt;
    std::vector<double> h(static_cast<size_t>(MaxIndex) + 1, 0.0);
    const int64_t w = int64_t{WeightR} + WeightG + WeightB + WeightA;
    if (w < 1) return h;
    // Integer counts while tallying; the same values as adding 1.0 each time.
    std::vector<int64_t> counts(h.size(), 0);
    const uint8_t* p = SData.Bytes().data();
    const double scale = static_cast<double>(MaxIndex);
    for (size_t i = 0, n = SData.ByteSize(); i < n; i += 4) {
        const int64_t s = int64_t{p[i + 3]} * WeightA + int64_t{p[i + 2]} * WeightR +
                          int64_t{p[i + 1]} * WeightG + int64_t{p[i]} * WeightB;
        const double v = Round(scale * (static_cast<double>(s) / static_cast<double>(w)));
        const double index = Fix(v / 255.0);
        if (!(index >= 0.0 && index <= scale)) return std::nullopt;
        ++counts[static_cast<size_t>(index)];
    }
    double m = -1.0;
    for (size_t i = 0; i < h.size(); ++i) {
        h[i] = static_cast<double>(counts[i]);
        if (h[i] > m) m = Round(h[i]);
    }
    if (Normalize && m > 0.0)
        for (double& x : h)
            x /= m;
    return h;
}

std::optional<Levels> FindLevels(const PixelBuffer& SData, const EffectArgs& args) {
    ArgReader a(args);
    int64_t lo = a.Int(0), hi = a.Int(1);
    const bool automatic = a.Bool(2);
    const Weights w = WeightsOf(a);
    if (a.Failed()) return std::nullopt;
    if (automatic) {
        auto h = MakeHistogram(SData, 255, true, w.r, w.g, w.b, w.a);
        if (!h) return std::nullopt;
        double sum = 0.0;
        for (lo = 0; lo <= 255; ++lo) {
            sum += (*h)[static_cast<size_t>(lo)];
            if (sum > 0.01) break;
        }
        sum = 0.0;
        for (hi = 255; hi >= 0; --hi) {
            sum += (*h)[static_cast<size_t>(hi)];
            if (sum > 0.01) break;
        }
    }
    if (lo == hi) {
        hi = lo + 1;
        if (hi > 255) {
            lo = 254;
            hi = 255;
        }
    }
    if (lo >= 255) lo = 255;
    if (hi < 0) hi = 0;
    if (lo > hi) std::swap(lo, hi);
    // A lower level above 255 against an upper one of 255 ends equal here; the stretch would
    // then divide by zero, a fault of the original too.
    if (lo == hi) return std::nullopt;
    return Levels{static_cast<int32_t>(lo), static_cast<int32_t>(hi)};
}

std::vector<HistogramLine> HistogramLines(const std::vector<double>& h, int32_t boxWidth,
                                          int32_t boxHeight) {
    std::vector<HistogramLine> lines;
    if (h.size() < 2) return lines;
    const double wd = boxWidth - 3;
    const double hd = boxHeight - 6;
    const double last = static_cast<double>(h.size() - 1);
    lines.reserve(h.size());
    for (size_t i = 0; i < h.size(); ++i) {
        HistogramLine l;
        l.x = static_cast<int32_t>(Int(static_cast<double>(i) / last * wd));
        l.yTop = static_cast<int32_t>(hd + 1 - Round(hd * h[i]));
        l.yBottom = static_cast<int32_t>(hd + 1);
        lines.push_back(l);
    }
    return lines;
}

std::optional<int32_t> HistogramMarkX(int32_t level, int32_t count, int32_t boxWidth) {
    if (level < 0 || count < 2) return std::nullopt;
    // The level is placed on the scale of the entries, not of 0..255, so on a box of 1281
    // entries the marks stay in its left fifth: intended.
    return static_cast<int32_t>(Round(static_cast<double>(level) / (count - 1) * (boxWidth - 3)));
}

EfLvAdjust::EfLvAdjust() : Effect(EffectInfoOf("ef_lvadjust")) {}

DialogSpec EfLvAdjust::Dialog(const CoreState&, int32_t, int32_t) const {
    DialogSpec d = BaseDialog();
    ControlSpec source;
    source.kind = ControlKind::Histogram;
    source.histogram = HistogramBox::Source;
    ControlSpec result = source;
    result.histogram = HistogramBox::Result;
    d.controls = {
        source,
        ScrollControl("下限", 0, 0, 255, 30, 0),
        ScrollControl("上限", 1, 0, 255, 30, 255),
        CheckControl("自動補正", 2, false),
        CheckControl("Blue", 3, true),
        CheckControl("Green", 4, true),
        CheckControl("Red", 5, true),
        CheckControl("Alpha", 6, false),
        result,
    };
    return d;
}

std::vector<double> EfLvAdjust::SourceHistogram(const PixelBuffer& source, const EffectArgs& args) {
    ArgReader a(args);
    const Weights w = WeightsOf(a);
    auto h = MakeHistogram(source, kBoxMaxIndex, true, w.r, w.g, w.b, w.a);
    return h.value_or(std::vector<double>(kBoxMaxIndex + 1, 0.0));
}

std::vector<double> EfLvAdjust::Histogram(HistogramBox box, const PixelBuffer& source) const {
    return box == HistogramBox::Source ? SourceHistogram(source, Args) : ResultHistogram;
}

std::vector<int32_t> EfLvAdjust::HistogramMarks(HistogramBox box) const {
    if (box != HistogramBox::Source) return {};
    ArgReader a(Args);
    std::vector<int32_t> marks = {a.Int(0), a.Int(1)};
    return a.Failed() ? std::vector<int32_t>{} : marks;
}

std::optional<PixelBuffer> EfLvAdjust::Calc(const PixelBuffer& SData, EffectEnv&) {
    const std::optional<Levels> levels = FindLevels(SData, Args);
    if (!levels) return std::nullopt;
    ArgReader a(Args);
    bool on[4];
    for (size_t k = 0; k < 4; ++k)
        on[k] = a.Bool(3 + k);
    if (a.Failed()) return std::nullopt;
    // The stretch of every byte value, once.
    uint8_t table[256];
    const double lo = levels->lo, span = levels->hi - levels->lo;
    for (int v = 0; v < 256; ++v)
        table[v] = static_cast<uint8_t>(Clamp(Round(((v - lo) * 255) / span), 0.0, 255.0));
    std::optional<PixelBuffer> out = MapPixels(SData, [&](const uint8_t* in, uint8_t* o) {
        for (int k = 0; k < 4; ++k)
            o[k] = on[k] ? table[in[k]] : in[k];
        return true;
    });
    if (out && DialogVisible) ResultHistogram = SourceHistogram(*out, Args);
    return out;
}

}  // namespace brv
