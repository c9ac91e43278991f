#include "harmony/progression.h"

#include "tempo/tempo_field.h"
#include "text/number_format.h"

#include <algorithm>
#include <cmath>

namespace quorlen::harmony {
namespace {

const std::vector<ProgressionPreset> kMajorPresets = {
    {"I–V–vi–IV", {0, 4, 5, 3}},
    {"I–vi–IV–V", {0, 5, 3, 4}},
    {"ii–V–I", {1, 4, 0}},
    {"I–IV–vi–V", {0, 3, 5, 4}},
};

const std::vector<ProgressionPreset> kMinorPresets = {
    {"i–VI–III–VII", {0, 5, 2, 6}},
    {"i–iv–v–i", {0, 3, 4, 0}},
    {"i–VII–VI–v", {0, 6, 5, 4}},
    {"ii°–v–i", {1, 4, 0}},
};

} // namespace

std::span<const ProgressionPreset> progressionPresets(bool isMinor) {
    return isMinor ? kMinorPresets : kMajorPresets;
}

double progressionStepSeconds(double bpm) {
    using tempo::kControlBpmRange;
    return 120.0 / std::clamp(bpm, kControlBpmRange.min, kControlBpmRange.max);
}

int nextProgressionStep(std::optional<int> playingStep, int count) {
    const int next = playingStep.value_or(-1) + 1;
    return ((next % count) + count) % count;
}

std::string progressionTempoNote(double bpm) {
    return text::format("%.0f", std::trunc(bpm)) + " BPM · 2 beats/chord";
}

} // namespace quorlen::harmony
