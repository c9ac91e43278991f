#include "detection/octave_mode.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

namespace quorlen::detection {
namespace {

TEST(OctaveMode, ReadsTheThreeModesAndWritesThemBack) {
    struct Case {
        const char* text;
        std::optional<OctaveMode> mode;
    };
    const std::vector<Case> cases = {
        {"classic", OctaveMode::classic()},
        {"auto", OctaveMode::automatic()},
        {"80-160", OctaveMode{OctaveKind::range, 80, 160}},
        {"72.5-145", OctaveMode{OctaveKind::range, 72.5, 145}},
        {"90-200", OctaveMode{OctaveKind::range, 90, 200}},
        // The picker's bounds: from 30 to 200 BPM, up to 400.
        {"30-60", OctaveMode{OctaveKind::range, 30, 60}},
        {"200-400", OctaveMode{OctaveKind::range, 200, 400}},
        {"29.5-60", std::nullopt},
        {"200.5-401", std::nullopt},
        {"80-400.5", std::nullopt},
        {"100000000000-200000000000", std::nullopt},
        {"0.0000000001-1", std::nullopt},
        // Refused: narrower than an octave, upside down, empty or signed
        // bounds, other words.
        {"80-159", std::nullopt},
        {"160-80", std::nullopt},
        {"0-160", std::nullopt},
        {"-80-160", std::nullopt},
        {"80-", std::nullopt},
        {"80 - 160", std::nullopt},
        {"80,5-170", std::nullopt},
        {"Auto", std::nullopt},
        {"", std::nullopt},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(parseOctaveMode(c.text), c.mode) << c.text;
        if (c.mode) {
            EXPECT_EQ(octaveModeText(*c.mode), c.text);
        }
    }
}

TEST(OctaveMode, EveryRangeWithinTheBoundsReadsBackFromItsText) {
    // Bounds whose shortest text has many digits, or would be written with
    // an exponent by the shortest general form.
    const double lows[] = {30.0, 100.0 / 3.0, 45.5, 199.99999999999997, 200.0};
    for (const double low : lows) {
        for (const double high : {2.0 * low, std::min(2.0 * low + 1e-9, 400.0), 400.0}) {
            const auto mode = OctaveMode::range(low, high);
            ASSERT_TRUE(mode) << low << " " << high;
            const std::string text = octaveModeText(*mode);
            EXPECT_EQ(parseOctaveMode(text), mode) << text;
        }
    }
}

TEST(OctaveMode, FoldsByPowersOfTwoIntoTheHalfOpenRange) {
    struct Case {
        double bpm, low, high, expected;
        const char* source;
    };
    const std::vector<Case> cases = {
        {80, 80, 160, 80, "the lower bound belongs to the range"},
        {160, 80, 160, 80, "the upper bound does not: halved"},
        {159.99, 80, 160, 159.99, "just under the upper bound stays"},
        {64, 80, 160, 128, "doubled once"},
        {35, 80, 160, 140, "doubled twice"},
        {250, 80, 160, 125, "halved once"},
        {100, 70, 210, 100, "a range wider than an octave keeps what is inside"},
        {60, 70, 210, 120, ""},
    };
    for (const Case& c : cases)
        EXPECT_EQ(foldIntoRange(c.bpm, c.low, c.high), c.expected) << c.bpm << " " << c.source;
}

} // namespace
} // namespace quorlen::detection
