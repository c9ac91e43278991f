#include "detection/octave_model.h"
#include "test_signals.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace quorlen::detection {
namespace {

constexpr double kFps = 86.1328125;

struct Drums {
    std::vector<double> full, low, mid;
};

// Envelopes of a 30-second groove at `bpm`: a kick on beat 1 of every bar
// in the low band, a snare in the mid band every `snareBeats` beats starting
// on beat `firstSnareBeat` (0-based), and onsets on every eighth in the full
// band. Onsets are 5 (unit-RMS envelopes put a real one well above 1).
Drums groove(double bpm, double snareBeats, double firstSnareBeat) {
    const double beat = 60.0 * kFps / bpm;
    const auto frames = static_cast<size_t>(30.0 * kFps);
    Drums d{testing::pulseEnvelope(frames, beat / 2.0), testing::pulseEnvelope(frames, 4.0 * beat),
            testing::pulseEnvelope(frames, snareBeats * beat, firstSnareBeat * beat)};
    for (auto* x : {&d.full, &d.low, &d.mid})
        for (double& v : *x)
            v *= 5.0;
    return d;
}

const OctaveFeatures& at(const std::vector<OctaveFeatures>& candidates, double ratio) {
    for (const OctaveFeatures& f : candidates)
        if (std::abs(f.ratio - ratio) < 1e-9)
            return f;
    throw std::logic_error("no such relative");
}

TEST(OctaveModel, MidBandAccentsTellHowManyBeatsApartTheSnareFalls) {
    // Backbeat at 120: snare on 2 and 4, so it recurs every other beat of
    // 120 and on every beat of 60.
    const Drums backbeat = groove(120.0, 2.0, 1.0);
    const auto b = octaveCandidates({backbeat.full, backbeat.low, backbeat.mid, kFps}, 120.0);
    EXPECT_GT(at(b, 1.0).accentEvery2, 0.5);
    EXPECT_NEAR(at(b, 1.0).accentEvery4, 0.0, 0.3);
    EXPECT_NEAR(at(b, 0.5).accentEvery2, 0.0, 0.3);

    // Half-time at 87 read as 174: the snare on beat 3 recurs every four
    // beats of 87, every eight of 174.
    const Drums halfTime = groove(87.0, 4.0, 2.0);
    const auto h = octaveCandidates({halfTime.full, halfTime.low, halfTime.mid, kFps}, 174.0);
    EXPECT_GT(at(h, 1.0).accentEvery8, 0.5);
    EXPECT_NEAR(at(h, 1.0).accentEvery4, 0.0, 0.3);
    EXPECT_GT(at(h, 0.5).accentEvery4, 0.5);
    EXPECT_NEAR(at(h, 0.5).accentEvery2, 0.0, 0.3);
}

TEST(OctaveModel, NoMidBandAccentsLeaveTheAccentFeaturesNeutral) {
    // A kick-only pulse (nothing in the mid band), and no mid band at all.
    Drums pulse = groove(100.0, 4.0, 0.0);
    std::fill(pulse.mid.begin(), pulse.mid.end(), 0.0);
    for (const std::vector<double>& mid : {pulse.mid, std::vector<double>{}}) {
        for (const OctaveFeatures& f :
             octaveCandidates({pulse.full, pulse.low, mid, kFps}, 100.0)) {
            EXPECT_EQ(f.accentEvery2, 0.0) << f.bpm;
            EXPECT_EQ(f.accentEvery4, 0.0) << f.bpm;
            EXPECT_EQ(f.accentEvery8, 0.0) << f.bpm;
        }
    }
}

} // namespace
} // namespace quorlen::detection
