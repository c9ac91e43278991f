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
        {120.0, "120", "120"},        {127.934, "127.93", "127.9"}, {63.96, "63.96", "64.0"},
        {119.996, "120", "120"},      {99.995, "100", "100"},       {40.125, "40.13", "40.1"},
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
        {0.82, "High · 82%"}, {0.7, "High · 70%"},   {0.699, "Medium · 70%"},
        {0.45, "Medium · 45%"}, {0.449, "Low · 45%"}, {0.0, "Low · 0%"}, {1.0, "High · 100%"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(confidenceLabel(c.confidence), c.label) << c.confidence;
}

} // namespace
} // namespace quorlen::detection
