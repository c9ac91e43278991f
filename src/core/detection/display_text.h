#pragma once

#include "detection/tempo_detector.h"

#include <optional>
#include <string>
#include <vector>

namespace quorlen::detection {

// A detected tempo for display: rounded to two decimals (halves away from
// zero), then without decimals when whole ("120"), else "%.2f" ("127.93"),
// or "%.1f" in the short form ("127.9"; 63.96 reads "64.0").
std::string tempoText(double bpm, bool shortForm);

// High from 0.7, medium from 0.45, else low: the label, the note's advice
// and the bar's colour all follow this one split.
enum class ConfidenceLevel { low, medium, high };
ConfidenceLevel confidenceLevel(double confidence);

// "High", "Medium" or "Low" by `confidenceLevel`, then " · " and the
// percentage rounded half away from zero: 0.82 -> "High · 82%".
std::string confidenceLabel(double confidence);

// "also plausible: 60, 127.5 BPM": each tempo rounded to two decimals, then
// whole numbers without decimals and the rest with "%.1f".
std::string alternativesText(const std::vector<double>& alternativesBpm);

// What the line under a detection needs. `snappedBars` is the shown
// detection's, which halving or doubling clears; the estimate's own stays.
struct NoteInput {
    std::string name;
    double durationSeconds = 0.0;
    std::optional<int> snappedBars;
    double confidence = 0.0;
    std::vector<double> alternativesBpm;
    bool damaged = false;     // the decoder skipped parts of the file
    std::string tagNote = {}; // what saving the tempo into the file did; empty for nothing
};

inline constexpr const char* kDamagedNote = "parts of the file could not be decoded";

// The line under a detection, parts joined with " · ":
//   loop.wav · 8.0 s · file length fits exactly 4 bars — tempo snapped to
//   the loop · also plausible: 60, 240 BPM
// with the advice to check the grid added before the alternatives when the
// confidence is under 0.7, kDamagedNote right after the duration when
// the decoder had to skip damage, and the tag note first after that.
std::string detectionNote(const NoteInput& input);

} // namespace quorlen::detection
