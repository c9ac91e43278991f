#include "detection/display_text.h"

#include <gtest/gtest.h>

namespace quorlen::detection {
namespace {

TEST(DisplayText, TempoHasTwoDecimalsUnlessWhole) {
    struct Case {
        double bpm;
        const char* longForm;
        const char* shortForm;
    };
    // Rounded to two decimals first: 63.96 is not whole, so "%.1f" gives 64.0.
    const std::vector<Case> cases = {
        {120.0, "120", "120"},   {127.934, "127.93", "127.9"}, {63.96, "63.96", "64.0"},
        {119.996, "120", "120"}, {99.995, "100", "100"},       {40.125, "40.13", "40.1"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(tempoText(c.bpm, false), c.longForm) << c.bpm;
        EXPECT_EQ(tempoText(c.bpm, true), c.shortForm) << c.bpm;
    }
}

TEST(DisplayText, ConfidenceLabelThresholds) {
    struct Case {
        double confidence;
        const char* label;
    };
    const std::vector<Case> cases = {
        {0.82, "High · 82%"}, {0.7, "High · 70%"}, {0.699, "Medium · 70%"}, {0.45, "Medium · 45%"},
        {0.449, "Low · 45%"}, {0.0, "Low · 0%"},   {1.0, "High · 100%"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(confidenceLabel(c.confidence), c.label) << c.confidence;
}

TEST(DisplayText, AlternativesRoundToCentsBeforeChoosingTheForm) {
    // 119.996 rounds to 120.00, which is whole; 127.54 is not and reads "%.1f".
    EXPECT_EQ(alternativesText({60, 240}), "also plausible: 60, 240 BPM");
    EXPECT_EQ(alternativesText({119.996, 127.54, 63.96}), "also plausible: 120, 127.5, 64.0 BPM");
}

TEST(DisplayText, NoteJoinsItsPartsInOrder) {
    struct Case {
        NoteInput input;
        std::string note;
    };
    const char* advice = "check the grid against the waveform; ÷2 and ×2 fix octave mistakes";
    const std::vector<Case> cases = {
        // The worked example: a snapped, confident 8-second loop.
        {{"loop.wav", 8.0, 4, 0.82, {60, 240}},
         "loop.wav · 8.0 s · file length fits exactly 4 bars — tempo snapped to the loop · "
         "also plausible: 60, 240 BPM"},
        // Nothing to add: name and duration ("%.1f" of 183.46 s).
        {{"song.flac", 183.46, std::nullopt, 0.9, {}}, "song.flac · 183.5 s"},
        // Under 0.7 the advice comes before the alternatives.
        {{"a.wav", 30.0, std::nullopt, 0.699, {87.5}},
         std::string("a.wav · 30.0 s · ") + advice + " · also plausible: 87.5 BPM"},
        // Damage skipped by the decoder is said right after the duration.
        {{"cut.mp3", 19.5, 4, 0.5, {60}, true},
         std::string("cut.mp3 · 19.5 s · parts of the file could not be decoded · file length "
                     "fits exactly 4 bars — tempo snapped to the loop · ") +
             advice + " · also plausible: 60 BPM"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(detectionNote(c.input), c.note);
}

} // namespace
} // namespace quorlen::detection
