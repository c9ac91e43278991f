#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace quorlen::harmony {

// A ready-made loop of scale degrees (0 = tonic) for one mode.
struct ProgressionPreset {
    std::string_view name; // numerals joined by en dashes: "I–V–vi–IV"
    std::vector<int> degrees;
};

// The four presets of the major or the natural minor mode.
std::span<const ProgressionPreset> progressionPresets(bool isMinor);

// Two beats per chord: 120 / BPM seconds, with the tempo held to at most
// 400 BPM (0.3 s) and anything at or below 20 BPM taking 6 s.
double progressionStepSeconds(double bpm);

// The step after `playingStep` in a loop of `count` > 0 chords, wrapping to
// the first. The modulo is taken against the current length, so chords
// added or removed while the loop plays count from the next step on; no
// step yet (-1) gives 0.
int nextProgressionStep(std::optional<int> playingStep, int count);

// "120 BPM · 2 beats/chord": the tempo truncated toward zero.
std::string progressionTempoNote(double bpm);

} // namespace quorlen::harmony
