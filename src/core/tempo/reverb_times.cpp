#include "tempo/reverb_times.h"

#include "tempo/tempo_field.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace quorlen::tempo {
namespace {

constexpr std::array<ReverbPreset, 5> kPresets{{
    {"Tight Ambience", "drums, percussion", 0.25, 256},
    {"Small Room", "guitars, keys", 0.5, 128},
    {"Medium Room", "vocals, snare", 1, 64},
    {"Large Hall", "ballad vocals, pads", 2, 32},
    {"Epic Wash", "ambient, cinematic", 4, 16},
}};

constexpr std::array<TotalBarsChoice, 6> kTotalBarsChoices{{
    {0.25, "\u00bc"},
    {0.5, "\u00bd"},
    {1, "1"},
    {2, "2"},
    {4, "4"},
    {8, "8"},
}};

constexpr std::array<int, 5> kPreDivisionChoices{256, 128, 64, 32, 16};

} // namespace

double barMs(double bpm) {
    return 240000.0 / std::clamp(bpm, kControlBpmRange.min, kControlBpmRange.max);
}

std::span<const ReverbPreset> reverbPresets() { return kPresets; }

ReverbTimes reverbTimes(double barMs, double totalBars, int preDivision) {
    const double preDelayMs = barMs / preDivision;
    const double totalMs = barMs * totalBars;
    return {.preDelayMs = preDelayMs, .decayMs = totalMs - preDelayMs, .totalMs = totalMs};
}

ReverbTimes customReverbTimes(double barMs, double totalBars, int preDivision) {
    ReverbTimes times = reverbTimes(barMs, totalBars, preDivision);
    times.decayMs = std::max(times.decayMs, 0.0);
    return times;
}

std::span<const TotalBarsChoice> customTotalBarsChoices() { return kTotalBarsChoices; }

std::span<const int> customPreDivisionChoices() { return kPreDivisionChoices; }

std::string lengthLabel(double totalBars) {
    if (totalBars < 1)
        return totalBars == 0.25 ? "\u00bc bar" : "\u00bd bar";
    const std::string whole = std::to_string(static_cast<long long>(std::trunc(totalBars)));
    return whole + (totalBars > 1 ? " bars" : " bar");
}

} // namespace quorlen::tempo
