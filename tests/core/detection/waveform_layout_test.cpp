#include "detection/waveform_layout.h"

#include <gtest/gtest.h>

#include <vector>

namespace quorlen::detection {
namespace {

TEST(WaveformLayout, GridThinsOutWhenLinesCrowd) {
    struct Case {
        double bpm, durationSeconds, widthPoints;
        GridDensity density;
    };
    // Beat spacing s = 60 / bpm / duration × width; beats from s >= 5, bars from 4s >= 5.
    const std::vector<Case> cases = {
        {120, 8, 500, GridDensity::everyBeat},  // s = 31.25
        {120, 60, 500, GridDensity::barsOnly},  // s = 4.17, bars 16.7
        {180, 600, 500, GridDensity::none},     // s = 0.28, bars 1.1
        {120, 50, 500, GridDensity::everyBeat}, // s = 5 exactly
        {120, 200, 500, GridDensity::barsOnly}, // s = 1.25, bars 5 exactly
        {120, 8, 0, GridDensity::none},         // no canvas yet
    };
    for (const Case& c : cases)
        EXPECT_EQ(gridDensity(c.bpm, c.durationSeconds, c.widthPoints), c.density)
            << c.bpm << " BPM, " << c.durationSeconds << " s, " << c.widthPoints << " pt";
}

TEST(WaveformLayout, StepsGoFromBeatLineToBeatLine) {
    // 120 BPM (0.5 s), first beat 0.1 s, 10 s long.
    const GridInput grid{120, 0.1, 0, 10.0};
    const struct {
        double from;
        int beats;
        double to;
    } cases[] = {
        {0.0, 1, 0.1},    // before the first beat: onto it
        {0.1, 1, 0.6},    // on a beat: the next
        {0.35, 1, 0.6},   // between beats: the next line, not 0.85
        {0.35, -1, 0.1},  // and back: the previous line
        {0.6, -1, 0.1},   // on a beat: the previous
        {0.6, 4, 2.6},    // a bar on
        {0.1, -1, 0.0},   // no earlier beat than the start
        {9.9, 1, 10.0},   // nor later than the end
        {2.6000000001, 1, 3.1}, // within a hair of a beat counts as on it
    };
    for (const auto& c : cases)
        EXPECT_NEAR(steppedSeconds(grid, c.from, c.beats), c.to, 1e-9) << c.from << " " << c.beats;
    EXPECT_DOUBLE_EQ(steppedSeconds({0, 0, 0, 10}, 2.5, 1), 3.0) << "no tempo: whole seconds";
}

TEST(WaveformLayout, BeatsStartAtTheFirstNonNegativeTimeAndBarsFollowTheDownbeat) {
    // 120 BPM (p = 0.5 s), offset 0.75 s, 4 s on 400 points (100 points per second):
    // k = ceil(-1.5) = -1 gives t = 0.25; beats at 0.25, 0.75, ... 3.75.
    // Downbeat 2: bar lines where k - 2 is a multiple of 4, k = 2 (t = 1.75)
    // and k = 6 (t = 3.75); k = -2 (t = -0.25) is skipped.
    const GridInput input{120, 0.75, 2, 4.0};
    const std::vector<GridLine> expected = {
        {25, false},  {75, false},  {125, false}, {175, true},
        {225, false}, {275, false}, {325, false}, {375, true},
    };
    EXPECT_EQ(gridLines(input, 400), expected);

    // The same on 60 s (beats 3.3 points apart on 400): bar lines only,
    // first at 1.75 s, then every 2 s up to 59.75 s.
    const std::vector<GridLine> bars = gridLines({120, 0.75, 2, 60.0}, 400);
    ASSERT_EQ(bars.size(), 30u);
    for (const GridLine& line : bars)
        EXPECT_TRUE(line.bar);
    EXPECT_DOUBLE_EQ(bars.front().x, 1.75 / 60 * 400);
    EXPECT_DOUBLE_EQ(bars.back().x, 59.75 / 60 * 400);
}

TEST(WaveformLayout, DoublingAddsALineBetweenEveryTwoAndKeepsTheBars) {
    // 60 BPM -> 120 BPM with the same offset 0 and downbeat 0 on 8 s:
    // every old line stays, each old bar stays a bar, and the doubled grid
    // has new bars on old beats 2 and 6 (new beats 4 and 12).
    const std::vector<GridLine> slow = gridLines({60, 0, 0, 8}, 800);
    const std::vector<GridLine> fast = gridLines({120, 0, 0, 8}, 800);
    ASSERT_EQ(slow.size(), 9u);  // 0 ... 8 s
    ASSERT_EQ(fast.size(), 17u); // 0 ... 8 s in halves
    for (size_t i = 0; i < slow.size(); ++i)
        EXPECT_DOUBLE_EQ(fast[2 * i].x, slow[i].x);
    EXPECT_TRUE(fast[0].bar);
    EXPECT_TRUE(fast[4].bar);
    EXPECT_FALSE(fast[2].bar);
}

TEST(WaveformLayout, WaveformSamplesColumnsAndKeepsAHairline) {
    // 4 peaks on 8 points, 20 points high: scale = 10 - 2 = 8, two points per
    // column; a silent column keeps 0.7.
    const std::vector<float> peaks = {1.0f, 0.5f, 0.0f, 0.25f};
    const std::vector<double> expected = {8, 8, 4, 4, 0.7, 0.7, 2, 2};
    EXPECT_EQ(waveformHalfHeights(peaks, 8, 20), expected);
    // More points than columns never read past the last peak; a fractional
    // width draws only whole points.
    EXPECT_EQ(waveformHalfHeights(peaks, 9.5, 20).size(), 9u);
    EXPECT_EQ(waveformHalfHeights(peaks, 9.5, 20).back(), 2.0);
    EXPECT_TRUE(waveformHalfHeights({}, 100, 20).empty());
}

TEST(WaveformLayout, ClicksMapToSecondsWithinTheFile) {
    struct Case {
        double x, seconds;
    };
    // 10 s on 200 points: 20 points per second, clamped to 0 ... 10 s.
    const std::vector<Case> cases = {{0, 0}, {50, 2.5}, {200, 10}, {-30, 0}, {260, 10}};
    for (const Case& c : cases) {
        EXPECT_DOUBLE_EQ(secondsForX(c.x, 200, 10), c.seconds) << c.x;
        if (c.x >= 0 && c.x <= 200) {
            EXPECT_DOUBLE_EQ(xForSeconds(c.seconds, 10, 200), c.x);
        }
    }
    EXPECT_EQ(secondsForX(50, 0, 10), 0.0);
}

} // namespace
} // namespace quorlen::detection
