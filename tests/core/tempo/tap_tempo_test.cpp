#include "tempo/tap_tempo.h"

#include <gtest/gtest.h>

#include <optional>
#include <vector>

namespace quorlen::tempo {
namespace {

// Feeds taps one by one, as the button would, and records what each tap
// sets (nothing when it sets no tempo).
std::vector<std::optional<double>> tapAll(const std::vector<double>& timesSeconds) {
    std::vector<double> sequence;
    std::vector<std::optional<double>> results;
    for (double now : timesSeconds) {
        TapOutcome outcome = tap(sequence, now);
        sequence = std::move(outcome.tapTimesSeconds);
        results.push_back(outcome.bpm);
    }
    return results;
}

std::vector<double> evenTaps(int count, double startSeconds, double intervalSeconds) {
    std::vector<double> times;
    for (int i = 0; i < count; ++i)
        times.push_back(startSeconds + i * intervalSeconds);
    return times;
}

using Results = std::vector<std::optional<double>>;
constexpr std::nullopt_t none = std::nullopt;

TEST(TapTempo, SteadyTapsGiveTheirTempoFromTheSecondTapOn) {
    // 60 / interval: 0.5 s -> 120, 0.25 s -> 240, 0.47 s -> 127.66 -> 128.
    EXPECT_EQ(tapAll(evenTaps(4, 10, 0.5)), (Results{none, 120.0, 120.0, 120.0}));
    EXPECT_EQ(tapAll(evenTaps(3, 0, 0.25)), (Results{none, 240.0, 240.0}));
    EXPECT_EQ(tapAll(evenTaps(2, 0, 0.47)), (Results{none, 128.0}));
}

TEST(TapTempo, ResultsAreClampedToTheControlRange) {
    // 100 ms apart is 600 BPM; two taps at one instant are infinitely fast.
    EXPECT_EQ(tapAll(evenTaps(3, 0, 0.1)), (Results{none, 400.0, 400.0}));
    EXPECT_EQ(tapAll({5, 5}), (Results{none, 400.0}));
}

TEST(TapTempo, APauseLongerThanTwoAndAHalfSecondsStartsOver) {
    // 4 s apart: every tap is the first of a new sequence.
    EXPECT_EQ(tapAll(evenTaps(4, 0, 4)), (Results{none, none, none, none}));
    // Exactly 2.5 s still belongs to the sequence: 60 / 2.5 = 24 BPM.
    EXPECT_EQ(tapAll({0, 2.5}), (Results{none, 24.0}));
    EXPECT_EQ(tapAll({0, 2.50001}), (Results{none, none}));
    // After a pause the old taps no longer count: 0.5 s taps, then 0.25 s.
    EXPECT_EQ(tapAll({0, 0.5, 1.0, 4.0, 4.25}), (Results{none, 120.0, 120.0, none, 240.0}));
}

TEST(TapTempo, OnlyTheLastNineTapsCount) {
    // One 1.0 s interval then eight of 0.5 s: the oldest tap drops out of
    // the last nine, leaving 8 x 0.5 s -> 120. All ten would give
    // 60 / (5.0 / 9) = 108.
    std::vector<double> times = {0};
    for (double t : evenTaps(9, 1.0, 0.5))
        times.push_back(t);
    EXPECT_EQ(tapAll(times).back(), 120.0);

    // The sequence keeps every tap; only the average looks at nine.
    const TapOutcome outcome = tap(evenTaps(12, 0, 0.5), 6.0);
    EXPECT_EQ(outcome.tapTimesSeconds.size(), 13u);
}

} // namespace
} // namespace quorlen::tempo
