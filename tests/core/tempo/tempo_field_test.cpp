#include "tempo/tempo_field.h"

#include <gtest/gtest.h>

#include <optional>
#include <tuple>

namespace quorlen::tempo {
namespace {

struct CommitCase {
    const char* text;
    double expectedBpm;
    const char* expectedText;
};

TEST(TempoField, CommitClampsToTypedRangeAndRewritesTheText) {
    // From 120 BPM. A typed 10 or 600 is stored as typed: only the controls
    // keep to 20...400.
    const CommitCase cases[] = {
        {"98,5", 98.5, "98.50"},     {"128", 128, "128"}, {"0", 1, "1"},
        {"5000", 999, "999"},        {"10", 10, "10"},    {"600", 600, "600"},
        {"abc", 120, "120"},         {"", 120, "120"},    {" 90", 120, "120"},
        {"97.125", 97.125, "97.12"}, // exact in binary: printf's tie goes to even
    };
    for (const CommitCase& c : cases) {
        SCOPED_TRACE(c.text);
        const double bpm = commitBpmText(c.text, 120);
        EXPECT_DOUBLE_EQ(bpm, c.expectedBpm);
        EXPECT_EQ(bpmFieldText(bpm), c.expectedText);
    }
}

TEST(TempoField, LiveEditFollowsEachKeystrokeAndSkipsHalfNumbers) {
    const std::pair<const char*, std::optional<double>> steps[] = {
        {"1", 1.0},          {"14", 14.0},  {"140", 140.0}, {"1400", 999.0}, {"", std::nullopt},
        {"-", std::nullopt}, {"12,", 12.0}, {"12,5", 12.5}, {"0", 1.0},
    };
    for (const auto& [text, expected] : steps) {
        SCOPED_TRACE(text);
        EXPECT_EQ(liveBpm(text), expected);
    }
}

TEST(TempoField, StepperStaysWithinTheControlRange) {
    // +-1 BPM, but never outside 20...400, even from a typed 10 or 600.
    const std::tuple<double, int, double> cases[] = {
        {120, +1, 121}, {120, -1, 119}, {98.5, +1, 99.5}, {20, -1, 20},
        {400, +1, 400}, {10, +1, 20},   {600, -1, 400},   {399.5, +1, 400},
    };
    for (const auto& [bpm, direction, expected] : cases) {
        SCOPED_TRACE(bpm);
        EXPECT_EQ(steppedBpm(bpm, direction), expected);
    }
}

TEST(TempoField, HzDecimalsGrowBelowOneAndBelowATenth) {
    const std::pair<double, const char*> cases[] = {
        {0, "0.0000"},  {0.0625, "0.0625"}, {0.09999, "0.1000"}, {0.1, "0.100"},
        {0.5, "0.500"}, {0.9999, "1.000"},  {1, "1.00"},         {32, "32.00"},
    };
    for (const auto& [hz, expected] : cases) {
        SCOPED_TRACE(hz);
        EXPECT_EQ(hzText(hz), expected);
    }
}

} // namespace
} // namespace quorlen::tempo
