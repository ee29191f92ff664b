// "レベル調整": stretches the levels lo..hi of the checked channels to 0..255, optionally
// finding lo and hi from the histogram, and the histogram routine with its drawing geometry.
//   EffectArgs: 0 lower level 0..255, 1 upper level 0..255, 2 "自動補正" (1 finds the levels),
//   3..6 check boxes of channels blue, green, red, alpha.
#pragma once

#include <optional>
#include <vector>

#include "effects/effect.h"

namespace brv {

// A histogram of MaxIndex + 1 entries over the weighted mean of each pixel's channels; with
// Normalize the largest entry becomes 1. All zeros when the weights add up to less than 1.
// nullopt when a weight pushes the mean outside 0..255 (an index fault).
std::optional<std::vector<double>> MakeHistogram(const PixelBuffer& SData, int32_t MaxIndex,
                                                 bool Normalize, int32_t WeightR, int32_t WeightG,
                                                 int32_t WeightB, int32_t WeightA);

// The levels a run uses, after the automatic search and the corrections for equal, reversed
// and out-of-range levels. nullopt when the arguments fault.
struct Levels {
    int32_t lo = 0;
    int32_t hi = 255;
};
std::optional<Levels> FindLevels(const PixelBuffer& SData, const EffectArgs& args);

// How a histogram box is drawn: a vertical line per entry, and marks under the graph.
struct HistogramLine {
    int32_t x = 0;
    int32_t yTop = 0;
    int32_t yBottom = 0;
};
std::vector<HistogramLine> HistogramLines(const std::vector<double>& h, int32_t boxWidth,
                                          int32_t boxHeight);
// The x of a mark at level l of a histogram of `count` entries; nullopt for a negative level.
std::optional<int32_t> HistogramMarkX(int32_t level, int32_t count, int32_t boxWidth);

class EfLvAdjust : public Effect {
public:
    EfLvAdjust();
    DialogSpec Dialog(const CoreState& core, int32_t fid, int32_t lid) const override;
    std::optional<PixelBuffer> Calc(const PixelBuffer& SData, EffectEnv& env) override;
    std::vector<double> Histogram(HistogramBox box, const PixelBuffer& source) const override;
    // The source box marks the two levels; the result box has no marks.
    std::vector<int32_t> HistogramMarks(HistogramBox box) const override;

    // The upper box: the source's histogram of 1281 entries with the channel weights of
    // `args`, and the marks at its two levels.
    static std::vector<double> SourceHistogram(const PixelBuffer& source, const EffectArgs& args);
    // The lower box: filled by Calc while the dialog is visible.
    std::vector<double> ResultHistogram;
};

}  // namespace brv
