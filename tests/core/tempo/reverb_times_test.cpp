#include "tempo/delay_pick.h"
#include "tempo/reverb_times.h"
#include "text/number_format.h"

#include <gtest/gtest.h>

#include <string>

namespace quorlen::tempo {
namespace {

std::string ms1(double ms) { return text::format("%.1f", ms); }

struct PresetCase {
    const char* name;
    const char* preDelay;
    const char* decay;
    const char* total;
    const char* lengthLabel;
};

TEST(ReverbTimes, PresetsAt120Bpm) {
    // Bar 2000 ms; pre-delay bar / N, total bar x bars, decay the rest.
    // 1968.75 is a binary tie, which printf rounds to even (1968.8).
    const PresetCase expected[] = {
        {"Tight Ambience", "7.8", "492.2", "500.0", "\u00bc bar"},
        {"Small Room", "15.6", "984.4", "1000.0", "\u00bd bar"},
        {"Medium Room", "31.2", "1968.8", "2000.0", "1 bar"},
        {"Large Hall", "62.5", "3937.5", "4000.0", "2 bars"},
        {"Epic Wash", "125.0", "7875.0", "8000.0", "4 bars"},
    };
    const auto presets = reverbPresets();
    ASSERT_EQ(presets.size(), std::size(expected));
    for (size_t i = 0; i < presets.size(); ++i) {
        SCOPED_TRACE(expected[i].name);
        const ReverbPreset& preset = presets[i];
        const ReverbTimes times = reverbTimes(barMs(120), preset.totalBars, preset.preDivision);
        EXPECT_STREQ(preset.name, expected[i].name);
        EXPECT_EQ(ms1(times.preDelayMs), expected[i].preDelay);
        EXPECT_EQ(ms1(times.decayMs), expected[i].decay);
        EXPECT_EQ(ms1(times.totalMs), expected[i].total);
        EXPECT_EQ(lengthLabel(preset.totalBars), expected[i].lengthLabel);
    }
    EXPECT_EQ(lengthLabel(8), "8 bars");
}

TEST(ReverbTimes, TempoIsClampedBeforeDividing) {
    // bar 240000 / clamp(b, 20, 400): 10 and 0 count as 20, 1000 as 400.
    const std::pair<double, const char*> cases[] = {
        {120, "2000.0"}, {10, "12000.0"}, {1000, "600.0"}, {0, "12000.0"}};
    for (const auto& [bpm, bar] : cases)
        EXPECT_EQ(ms1(barMs(bpm)), bar) << bpm;
}

TEST(ReverbTimes, CustomSpaceAndItsFloor) {
    // A quarter bar with a 1/16 pre-delay at 120 BPM.
    const ReverbTimes quarterBar = customReverbTimes(barMs(120), 0.25, 16);
    EXPECT_EQ(ms1(quarterBar.preDelayMs), "125.0");
    EXPECT_EQ(ms1(quarterBar.decayMs), "375.0");
    EXPECT_EQ(ms1(quarterBar.totalMs), "500.0");

    // A pre-delay longer than the whole tail leaves no decay, never less.
    EXPECT_EQ(customReverbTimes(2000, 0.25, 2).decayMs, 0);
    EXPECT_LT(reverbTimes(2000, 0.25, 2).decayMs, 0);
}

TEST(DelayPicks, At120Bpm) {
    // bar 2000 ms x fraction; 1/8T is 2000 / 12 = 166.67.
    const std::pair<const char*, const char*> expected[] = {
        {"1/4", "500.0"},   {"1/8D", "375.0"}, {"1/8", "250.0"}, {"1/8T", "166.7"},
        {"1/16D", "187.5"}, {"1/16", "125.0"}, {"1/32", "62.5"},
    };
    const auto picks = delayPicks();
    ASSERT_EQ(picks.size(), std::size(expected));
    for (size_t i = 0; i < picks.size(); ++i) {
        EXPECT_STREQ(picks[i].label, expected[i].first);
        EXPECT_EQ(ms1(delayMs(barMs(120), picks[i])), expected[i].second) << picks[i].label;
    }
}

} // namespace
} // namespace quorlen::tempo
