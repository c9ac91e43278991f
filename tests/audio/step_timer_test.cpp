#include "audio/step_timer.h"
#include "support/recording_synthesiser.h"
#include "support/wait.h"

#include <gtest/gtest.h>

#include <string>

namespace quorlen {
namespace {

using testing::RecordingSynthesiser;
using testing::waitUntil;

// A timer over a recording synthesiser, writing its calls down in order:
// "q1@due" for a queued step and "s1" for a shown one.
struct Journal {
    RecordingSynthesiser synthesiser;
    StepTimer timer{synthesiser};
    std::vector<std::string> calls;
    void start(double stepSeconds) {
        timer.start(
            stepSeconds,
            [this](std::int64_t step, std::int64_t due) {
                calls.push_back("q" + std::to_string(step) + "@" + std::to_string(due));
            },
            [this](std::int64_t step) { calls.push_back("s" + std::to_string(step)); });
    }
    bool reaches(size_t count) {
        return waitUntil([&] { return calls.size() >= count; });
    }
};

TEST(StepTimer, WaitsForTheOutputThenPlacesStepsOnItsClock) {
    // 0.1 s steps are 4410 frames; each is queued 2205 frames (50 ms) ahead
    // and shown once its frame is reached.
    Journal j;
    j.synthesiser.outputState = Synthesiser::Output::starting;
    j.start(0.1);
    EXPECT_EQ(j.synthesiser.outputStarts, 1);
    QTest::qWait(30);
    EXPECT_TRUE(j.calls.empty()) << "nothing before the output runs";
    j.synthesiser.frame = 10000;
    j.synthesiser.outputState = Synthesiser::Output::running;
    ASSERT_TRUE(j.reaches(1));
    j.synthesiser.frame = 10000 + 4410 - 2205 - 1;
    QTest::qWait(20);
    EXPECT_EQ(j.calls.size(), 1u) << "queued too early";
    for (const std::int64_t frame : {10000 + 4410 - 2205, 14410, 18820 - 2205}) {
        j.synthesiser.frame = frame;
        ASSERT_TRUE(j.reaches(j.calls.size() + 1)) << frame;
    }
    EXPECT_EQ(j.calls, (std::vector<std::string>{"q0@10000", "q1@14410", "s1", "q2@18820"}));
    j.timer.stop();
}

TEST(StepTimer, AStallLongerThanTheLookAheadShowsStepsWithoutABurstOfSounds) {
    Journal j;
    j.synthesiser.outputState = Synthesiser::Output::running;
    j.start(0.1);
    ASSERT_EQ(j.calls, (std::vector<std::string>{"q0@0"}));
    // The thread comes back 3.5 steps later: steps 1 to 3 are shown, only
    // the one still ahead of the clock (step 4, due 17640) is queued.
    j.synthesiser.frame = 15435;
    ASSERT_TRUE(j.reaches(4));
    QTest::qWait(20);
    EXPECT_EQ(j.calls, (std::vector<std::string>{"q0@0", "s1", "s2", "s3", "q4@17640"}));
}

TEST(StepTimer, RunsOnTheSteadyClockWithoutAnOutputAndStopsFromACallback) {
    RecordingSynthesiser synthesiser; // no output
    StepTimer timer(synthesiser);
    std::vector<std::int64_t> dues;
    int shown = 0;
    timer.start(
        0.02, [&](std::int64_t, std::int64_t due) { dues.push_back(due); },
        [&](std::int64_t step) {
            shown = static_cast<int>(step);
            if (step == 5)
                timer.stop();
        });
    ASSERT_TRUE(waitUntil([&] { return !timer.isRunning(); }));
    EXPECT_EQ(shown, 5);
    // 20 ms = 882 frames a step; nothing is queued after the stop.
    ASSERT_EQ(dues.size(), 6u);
    for (size_t i = 0; i < dues.size(); ++i)
        EXPECT_EQ(dues[i], static_cast<std::int64_t>(i) * 882);
}

TEST(StepTimer, MovesOntoTheAudioClockWhenAnOutputComesBack) {
    // Steady time first (no output), then an output at frame 1000000: the
    // next step keeps its distance from now, on the output's clock, and the
    // one after it is a whole step later.
    RecordingSynthesiser synthesiser;
    StepTimer timer(synthesiser);
    std::vector<std::int64_t> dues;
    timer.start(
        0.2, [&](std::int64_t, std::int64_t due) { dues.push_back(due); }, [](std::int64_t) {});
    ASSERT_EQ(dues.size(), 1u);
    synthesiser.frame = 1'000'000;
    synthesiser.outputState = Synthesiser::Output::running;
    QTest::qWait(20);
    synthesiser.frame += 8820; // a whole step on: step 1 is surely within reach
    ASSERT_TRUE(waitUntil([&] { return dues.size() == 2; }));
    EXPECT_GE(dues[1], 1'000'000);
    EXPECT_LE(dues[1], 1'000'000 + 2 * 8820);  // within a step of when it was seen
    synthesiser.frame = dues[1] + 8820 - 4410; // shown, and step 2 is 0.1 s ahead
    ASSERT_TRUE(waitUntil([&] { return dues.size() == 3; }));
    EXPECT_EQ(dues[2] - dues[1], 8820);
    timer.stop();
}

} // namespace
} // namespace quorlen
