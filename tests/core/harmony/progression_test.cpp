#include "harmony/progression.h"

#include <gtest/gtest.h>

namespace quorlen {
namespace {

TEST(Progression, StepLengthTempoNoteAndWrap) {
    // Two beats per chord, 120 / BPM s, tempo held to (20, 400].
    const struct {
        double bpm;
        double seconds;
    } steps[] = {{120, 1.0},         {90, 120.0 / 90}, {15, 6.0}, {20, 6.0},
                 {20.5, 120 / 20.5}, {400, 0.3},       {500, 0.3}};
    for (const auto& s : steps)
        EXPECT_DOUBLE_EQ(progressionStepSeconds(s.bpm), s.seconds) << s.bpm;

    EXPECT_EQ(progressionTempoNote(120), "120 BPM · 2 beats/chord");
    EXPECT_EQ(progressionTempoNote(98.9), "98 BPM · 2 beats/chord"); // truncated

    EXPECT_EQ(nextProgressionStep(std::nullopt, 3), 0);
    EXPECT_EQ(nextProgressionStep(0, 3), 1);
    EXPECT_EQ(nextProgressionStep(2, 3), 0);
    EXPECT_EQ(nextProgressionStep(0, 1), 0); // one chord re-strikes
    EXPECT_EQ(nextProgressionStep(2, 2), 1); // playing step removed: (2 + 1) mod 2
    EXPECT_EQ(nextProgressionStep(5, 4), 2); // preset shorter than the old loop
}

} // namespace
} // namespace quorlen
