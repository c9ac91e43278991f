#include "audio/engine/step_grid.h"
#include "audio/engine/voice_mixer.h"

#include <gtest/gtest.h>

#include <vector>

namespace quorlen {
namespace {

TEST(StepGrid, DueFramesRoundTheExactProductSoNothingDrifts) {
    // Steps in frames at 44.1 kHz: 120 BPM sixteenths are 0.125 s = 5512.5
    // frames, so steps alternate 5512 and 5513 (halves round away from 0);
    // 90 BPM chords are 4/3 s = 58800 frames exactly; 1/3 s is 14700.
    struct Case {
        double stepSeconds;
        std::vector<std::int64_t> intervals;
        std::int64_t dueAt1000; // anchor 1000 + round(1000 × step)
    };
    const Case cases[] = {
        {0.125, {5513, 5512, 5513, 5512}, 1000 + 5512500},
        {120.0 / 90.0, {58800, 58800, 58800, 58800}, 1000 + 58800000},
        {0.22, {9702, 9702, 9702, 9702}, 1000 + 9702000},
        {1.0 / 3.0, {14700, 14700, 14700, 14700}, 1000 + 14700000},
    };
    for (const Case& c : cases) {
        const StepGrid grid = StepGrid::fromSeconds(1000, c.stepSeconds);
        EXPECT_EQ(grid.dueFrame(0), 1000);
        for (size_t i = 0; i < c.intervals.size(); ++i)
            EXPECT_EQ(grid.dueFrame(static_cast<std::int64_t>(i) + 1) -
                          grid.dueFrame(static_cast<std::int64_t>(i)),
                      c.intervals[i])
                << c.stepSeconds << " step " << i;
        EXPECT_EQ(grid.dueFrame(1000), c.dueAt1000) << c.stepSeconds;
    }
}

TEST(StepGrid, StepAfterIsTheFirstStepNotYetDue) {
    const StepGrid grid = StepGrid::fromSeconds(100, 0.125);
    EXPECT_EQ(grid.stepAfter(0), 0);
    EXPECT_EQ(grid.stepAfter(100), 1);
    EXPECT_EQ(grid.stepAfter(100 + 5512), 1);
    EXPECT_EQ(grid.stepAfter(100 + 5513), 2);
    EXPECT_EQ(grid.stepAfter(100 + 5512500), 1001);
}

TEST(StepGrid, TheFirstSafeFrameIsOneBlockPastWhatWasRendered) {
    VoiceMixer mixer(1.0f);
    EXPECT_EQ(firstSafeFrame(mixer), 2048) << "the first block may be under way, of any size";
    std::vector<float> block(2 * 300);
    mixer.render(block.data(), 300);
    mixer.render(block.data(), 200);
    EXPECT_EQ(firstSafeFrame(mixer), 500 + 200);
}

} // namespace
} // namespace quorlen
