// What a detected tempo looks like: its texts, and the waveform's grid,
// zoom and hit testing.
#include "detection/display_text.h"
#include "detection/waveform_layout.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace quorlen::detection {
namespace {

TEST(DisplayText, TempoAndConfidenceTexts) {
    // Rounded to two decimals first: 63.96 is not whole, so "%.1f" gives 64.0.
    const struct {
        double bpm;
        const char *longForm, *shortForm;
    } tempos[] = {
        {120.0, "120", "120"},   {127.934, "127.93", "127.9"}, {63.96, "63.96", "64.0"},
        {119.996, "120", "120"}, {99.995, "100", "100"},       {40.125, "40.13", "40.1"},
    };
    for (const auto& c : tempos) {
        EXPECT_EQ(tempoText(c.bpm, false), c.longForm) << c.bpm;
        EXPECT_EQ(tempoText(c.bpm, true), c.shortForm) << c.bpm;
    }
    const std::pair<double, const char*> labels[] = {
        {0.82, "High · 82%"}, {0.7, "High · 70%"}, {0.699, "Medium · 70%"}, {0.45, "Medium · 45%"},
        {0.449, "Low · 45%"}, {0.0, "Low · 0%"},   {1.0, "High · 100%"},
    };
    for (const auto& [confidence, label] : labels)
        EXPECT_EQ(confidenceLabel(confidence), label) << confidence;
    // 119.996 rounds to 120.00, which is whole; 127.54 is not and reads "%.1f".
    EXPECT_EQ(alternativesText({119.996, 127.54, 63.96}), "also plausible: 120, 127.5, 64.0 BPM");
}

TEST(DisplayText, NoteJoinsItsPartsInOrder) {
    const std::string advice = "check the grid against the waveform; ÷2 and ×2 fix octave mistakes";
    const std::pair<NoteInput, std::string> cases[] = {
        // A snapped, confident 8-second loop.
        {{"loop.wav", 8.0, 4, 0.82, {60, 240}},
         "loop.wav · 8.0 s · file length fits exactly 4 bars — tempo snapped to the loop · "
         "also plausible: 60, 240 BPM"},
        // Nothing to add: name and duration ("%.1f" of 183.46 s).
        {{"song.flac", 183.46, std::nullopt, 0.9, {}}, "song.flac · 183.5 s"},
        // Under 0.7 the advice comes before the alternatives.
        {{"a.wav", 30.0, std::nullopt, 0.699, {87.5}},
         "a.wav · 30.0 s · " + advice + " · also plausible: 87.5 BPM"},
        // Damage skipped by the decoder is said right after the duration.
        {{"cut.mp3", 19.5, 4, 0.5, {60}, true},
         "cut.mp3 · 19.5 s · parts of the file could not be decoded · file length fits exactly 4 "
         "bars — tempo snapped to the loop · " +
             advice + " · also plausible: 60 BPM"},
    };
    for (const auto& [input, note] : cases)
        EXPECT_EQ(detectionNote(input), note);
}

TEST(WaveformLayout, GridThinsOutWhenLinesCrowd) {
    // Beat spacing s = 60 / bpm / span × width; beats from s >= 5, bars from 4s >= 5.
    const struct {
        double bpm, durationSeconds, widthPoints;
        GridDensity density;
    } cases[] = {
        {120, 8, 500, GridDensity::everyBeat},    // s = 31.25
        {120, 60, 500, GridDensity::barsOnly},    // s = 4.17, bars 16.7
        {180, 600, 500, GridDensity::sparseBars}, // s = 0.28, bars 1.1
        {120, 50, 500, GridDensity::everyBeat},   // s = 5 exactly
        {120, 200, 500, GridDensity::barsOnly},   // s = 1.25, bars 5 exactly
        {120, 8, 0, GridDensity::sparseBars},     // no canvas yet
    };
    for (const auto& c : cases)
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
        {0.0, 1, 0.1},          // before the first beat: onto it
        {0.1, 1, 0.6},          // on a beat: the next
        {0.35, 1, 0.6},         // between beats: the next line, not 0.85
        {0.35, -1, 0.1},        // and back: the previous line
        {0.6, -1, 0.1},         // on a beat: the previous
        {0.6, 4, 2.6},          // a bar on
        {0.1, -1, 0.0},         // no earlier beat than the start
        {9.9, 1, 10.0},         // nor later than the end
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
    const std::vector<GridLine> expected = {
        {25, false},  {75, false},  {125, false}, {175, true},
        {225, false}, {275, false}, {325, false}, {375, true},
    };
    EXPECT_EQ(gridLines({120, 0.75, 2, 4.0}, 400), expected);
    // The same on 60 s (beats 3.3 points apart on 400): bar lines only,
    // first at 1.75 s, then every 2 s up to 59.75 s.
    const std::vector<GridLine> bars = gridLines({120, 0.75, 2, 60.0}, 400);
    ASSERT_EQ(bars.size(), 30u);
    EXPECT_TRUE(std::all_of(bars.begin(), bars.end(), [](const GridLine& l) { return l.bar; }));
    EXPECT_DOUBLE_EQ(bars.front().x, 1.75 / 60 * 400);
    EXPECT_DOUBLE_EQ(bars.back().x, 59.75 / 60 * 400);
}

TEST(WaveformLayout, SomeGridShowsAtEveryZoom) {
    // 10 minutes at 180 BPM on 500 points: bars 1.1 points apart, so every
    // 8th bar (8.9 points); zoomed to 4 s the same file shows every beat.
    const GridInput input{180, 0, 0, 600};
    EXPECT_EQ(barsPerLine(180, 600, 500), 8);
    const std::vector<GridLine> whole = gridLines(input, 500);
    ASSERT_FALSE(whole.empty());
    EXPECT_TRUE(std::all_of(whole.begin(), whole.end(), [](const GridLine& l) { return l.bar; }));
    EXPECT_NEAR(whole[1].x - whole[0].x, 8 * 4 * (60.0 / 180) / 600 * 500, 1e-9);

    const TimeView close{299.9, 4.2};
    const std::vector<GridLine> beats = gridLines(input, 500, close);
    ASSERT_EQ(beats.size(), 13u); // 300, 300.33, ... 304 s
    EXPECT_NEAR(beats.front().x, 0.1 / 4.2 * 500, 1e-6);
    EXPECT_TRUE(beats.front().bar); // beat 900 is a bar

    // A 3-hour file still reaches single beats.
    TimeView view;
    for (int i = 0; i < 40; ++i)
        view = zoomedView(view, 2, 5400, 10800);
    EXPECT_DOUBLE_EQ(view.spanSeconds, kNarrowestViewSeconds);
    EXPECT_EQ(gridDensity(120, view.spanSeconds, 870), GridDensity::everyBeat);
}

TEST(WaveformLayout, ZoomKeepsItsAnchorAndViewsStayInTheFile) {
    const double duration = 100;
    // Zooming in twice about 25 s of the whole file: 25 s stays a quarter in.
    const TimeView zoomed = zoomedView({}, 2, 25, duration);
    EXPECT_EQ(zoomed, (TimeView{12.5, 50}));
    // Out beyond the file gives the file; about the end keeps the end.
    EXPECT_EQ(zoomedView(zoomed, 0.1, 25, duration), (TimeView{0, 100}));
    EXPECT_EQ(zoomedView({}, 4, 100, duration), (TimeView{75, 25}));
    // Scrolling stops at both ends.
    EXPECT_EQ(scrolledView({70, 25}, 10, duration), (TimeView{75, 25}));
    EXPECT_EQ(scrolledView({5, 25}, -10, duration), (TimeView{0, 25}));
    // A position off screen brings the view along, with a tenth to spare.
    EXPECT_EQ(viewShowing({10, 20}, 35, duration), (TimeView{17, 20}));
    EXPECT_EQ(viewShowing({10, 20}, 5, duration), (TimeView{3, 20}));
    EXPECT_EQ(viewShowing({10, 20}, 15, duration), (TimeView{10, 20}));
    // A file shorter than the narrowest view is shown whole.
    EXPECT_EQ(zoomedView({}, 8, 0.2, 0.5), (TimeView{0, 0.5}));
}

TEST(WaveformLayout, WaveformSamplesColumnsAndKeepsAHairline) {
    // 4 peaks on 8 points, 20 points high: scale = 10 - 2 = 8, two points per
    // column; a silent column keeps 0.7.
    const std::vector<float> peaks = {1.0f, 0.5f, 0.0f, 0.25f};
    EXPECT_EQ(waveformHalfHeights(peaks, 8, 20), (std::vector<double>{8, 8, 4, 4, 0.7, 0.7, 2, 2}));
    // More points than columns never read past the last peak; a fractional
    // width draws only whole points.
    EXPECT_EQ(waveformHalfHeights(peaks, 9.5, 20).size(), 9u);
    EXPECT_EQ(waveformHalfHeights(peaks, 9.5, 20).back(), 2.0);
    EXPECT_TRUE(waveformHalfHeights({}, 100, 20).empty());
    // A view reads the columns under it: the second half of 4 peaks over
    // 8 s, on 4 points, is peaks 2, 2, 3, 3.
    EXPECT_EQ(waveformHalfHeights(peaks, 4, 20, 8, {4, 4}), (std::vector<double>{0.7, 0.7, 2, 2}));
}

TEST(WaveformLayout, ClicksMapToSecondsWithinTheFileOrView) {
    // 10 s on 200 points: 20 points per second, clamped to 0 ... 10 s.
    const std::pair<double, double> cases[] = {{0, 0}, {50, 2.5}, {200, 10}, {-30, 0}, {260, 10}};
    for (const auto& [x, seconds] : cases) {
        EXPECT_DOUBLE_EQ(secondsForX(x, 200, 10), seconds) << x;
        if (x >= 0 && x <= 200) {
            EXPECT_DOUBLE_EQ(xForSeconds(seconds, 10, 200), x);
        }
    }
    EXPECT_EQ(secondsForX(50, 0, 10), 0.0);
    EXPECT_NEAR(xForSeconds(302, TimeView{299.9, 4.2}, 500), 250, 1e-9);
    EXPECT_NEAR(secondsForX(250, 500, TimeView{299.9, 4.2}), 302, 1e-9);
}

} // namespace
} // namespace quorlen::detection
