#include "decoding/audio_file_reader.h"
#include "preview/span_peaks.h"
#include "test_signals.h"

#include <gtest/gtest.h>
#include <sndfile.h>

#include <vector>

namespace quorlen::preview {
namespace {

namespace generated = detection::testing;

// 10 s of stereo at 8 kHz, silent but for pulses: (left, right) at the
// given seconds.
struct Pulse {
    double seconds;
    float left, right;
};

std::string writePulses(const generated::TempDir& dir, const std::vector<Pulse>& pulses) {
    std::vector<float> samples(2 * 10 * 8000, 0.0f);
    for (const Pulse& p : pulses) {
        const auto frame = static_cast<size_t>(p.seconds * 8000);
        samples[2 * frame] = p.left;
        samples[2 * frame + 1] = p.right;
    }
    const std::string path = dir.file("pulses.wav").string();
    EXPECT_TRUE(generated::writeSound(path, samples, 2, 8000, SF_FORMAT_WAV | SF_FORMAT_FLOAT));
    return path;
}

TEST(SpanPeaks, EachColumnHoldsThePeakOfItsPartOfTheStretchOnly) {
    const generated::TempDir dir;
    // Pulses before, inside and after the stretch 4 ... 5 s; the mono mix
    // is the channels' mean, so a pulse on one side counts half.
    const std::string path = writePulses(dir, {{3.99, 1, 1},
                                               {4.0, 0.2, 0.2},
                                               {4.25, 0.8, -0.4},
                                               {4.26, 0.5, 0.5},
                                               {4.99, 0, 0.6},
                                               {5.0, 1, 1}});
    decoding::AudioFileReader file(path);
    // Ten columns of 0.1 s each: the pulse at 4.26 s is louder in the mix
    // (0.5) than the one at 4.25 s ((0.8 - 0.4) / 2 = 0.2).
    const std::vector<float> expected = {0.2f, 0, 0.5f, 0, 0, 0, 0, 0, 0, 0.3f};
    EXPECT_EQ(spanPeaks(file, 4.0, 1.0, 10), expected);
    // Read again after another stretch: the seek finds its place.
    EXPECT_EQ(spanPeaks(file, 3.9, 0.2, 2), (std::vector<float>{1, 0.2f}));
    EXPECT_EQ(spanPeaks(file, 4.0, 1.0, 10), expected);
}

TEST(SpanPeaks, TheEndOfTheFileAndACancelAreNotPeaks) {
    const generated::TempDir dir;
    const std::string path = writePulses(dir, {{9.5, 0.4, 0.4}});
    decoding::AudioFileReader file(path);
    // 9 ... 11 s: the second half lies past the end.
    EXPECT_EQ(spanPeaks(file, 9.0, 2.0, 4), (std::vector<float>{0, 0.4f, 0, 0}));
    EXPECT_TRUE(spanPeaks(file, 1.0, 1.0, 4, [] { return true; }).empty());
}

TEST(SpanPeaks, FinerPeaksAreWantedOnlyWhereAKeptColumnIsWiderThanAPoint) {
    struct Case {
        double duration, span, width;
        bool wanted;
    };
    // 1600 kept columns.
    const Case cases[] = {
        {60, 60, 800, false},     // the whole file: half a point a column
        {60, 20, 800, true},      // 3 times closer: 1.3 points a column
        {10800, 1, 870, true},    // one second of three hours
        {10800, 600, 870, true},  // as long a stretch as is decoded again
        {10800, 601, 870, false}, // longer
        {10800, 1, 0, false},     // nowhere to draw
    };
    for (const Case& c : cases)
        EXPECT_EQ(wantsSpanPeaks(c.duration, 1600, c.span, c.width), c.wanted)
            << c.duration << " " << c.span << " " << c.width;
}

} // namespace
} // namespace quorlen::preview
