#pragma once

#include <span>
#include <string>

namespace quorlen::tempo {

// The length of one 4/4 bar in ms: 240000 / bpm with the tempo clamped to
// 20...400 first, so a bar lasts 600 to 12000 ms whatever was typed.
double barMs(double bpm);

// A tempo-synced reverb: a pre-delay of 1/`preDivision` of a bar, and a
// tail that ends `totalBars` bars after the hit.
struct ReverbPreset {
    const char* name;
    const char* detail; // typical use
    double totalBars;
    int preDivision;
};

// Five rooms from "Tight Ambience" to "Epic Wash", shortest first.
std::span<const ReverbPreset> reverbPresets();

struct ReverbTimes {
    double preDelayMs;
    double decayMs; // total - pre-delay
    double totalMs;
};

ReverbTimes reverbTimes(double barMs, double totalBars, int preDivision);

// The custom space never reports a negative decay, whatever its choices.
ReverbTimes customReverbTimes(double barMs, double totalBars, int preDivision);

// The custom space's choices, in picker order.
struct TotalBarsChoice {
    double totalBars;
    const char* label; // UTF-8: "¼", "½", "1" ...
};
std::span<const TotalBarsChoice> customTotalBarsChoices();
std::span<const int> customPreDivisionChoices();

// "¼ bar", "½ bar", "1 bar", "2 bars" (UTF-8).
std::string lengthLabel(double totalBars);

} // namespace quorlen::tempo
