#include "detection/grid_score.h"
#include "detection/onset_envelope.h"
#include "test_signals.h"

#include <gtest/gtest.h>

#include <cmath>

namespace quorlen::detection {
namespace {

// A period of exactly 40 frames is 60 * 86.1328125 / 40 = 129.19921875 BPM;
// whole-frame periods keep every comb position exact.
constexpr double kBpmAt40Frames = 129.19921875;

TEST(GridScore, UnusableGridsScoreZero) {
    const std::vector<double> env = testing::pulseEnvelope(1000, 40);
    const GridFit none{0.0, 0.0, 1.0};
    struct Case {
        std::vector<double> envelope;
        double bpm;
        const char* source;
    };
    const std::vector<Case> cases = {
        {env, 6000.0, "P = 0.86 frames <= 1"},
        {std::vector<double>(258, 1.0), 40.0, "P = 129.2, 2P = 258.4 >= 258 frames"},
        {{}, 120.0, "empty envelope"},
    };
    for (const Case& c : cases) {
        const GridFit fit = gridScore(c.envelope, kEnvelopeFps, c.bpm, std::nullopt);
        EXPECT_EQ(fit.score, none.score) << c.source;
        EXPECT_EQ(fit.phase, none.phase) << c.source;
        EXPECT_EQ(fit.alt, none.alt) << c.source;
    }
}

TEST(GridScore, FindsTheBeatsAndTheirPhase) {
    // Pulses at 10, 50, 90, ...: steps = 80, phase k = 20 gives 40 * 20 / 80 = 10.
    const std::vector<double> env = testing::pulseEnvelope(1000, 40, 10);
    for (const std::optional<double> segment : {std::optional<double>(), std::optional(4.0)}) {
        const GridFit fit = gridScore(env, kEnvelopeFps, kBpmAt40Frames, segment);
        EXPECT_DOUBLE_EQ(fit.score, 1.0);
        EXPECT_DOUBLE_EQ(fit.phase, 10.0);
        EXPECT_DOUBLE_EQ(fit.alt, 1.0);
    }
}

TEST(GridScore, AlternatingAccentsLowerTheRatioAtDoubleTempo) {
    // Heights 1, 0.5, 1, 0.5 ... every 40 frames: at that period the even
    // beats average 1 and the odd 0.5; at twice the period only the strong ones count.
    std::vector<double> env = testing::pulseEnvelope(1000, 40);
    for (size_t k = 40; k < env.size(); k += 80)
        env[k] = 0.5;
    const GridFit fast = gridScore(env, kEnvelopeFps, kBpmAt40Frames, std::nullopt);
    EXPECT_NEAR(fast.score, 0.76, 1e-12); // 13 strong and 12 weak beats below frame 999
    EXPECT_NEAR(fast.alt, 0.5, 1e-12);
    const GridFit slow = gridScore(env, kEnvelopeFps, kBpmAt40Frames / 2, std::nullopt);
    EXPECT_DOUBLE_EQ(slow.score, 1.0);
    EXPECT_DOUBLE_EQ(slow.alt, 1.0);
    EXPECT_LT(candidateValue(kBpmAt40Frames, fast), candidateValue(kBpmAt40Frames / 2, slow));
}

TEST(GridScore, FastVersionMatchesTheReference) {
    const std::vector<double> env =
        normalize(onsetEnvelope(testing::clickTrain({.bpm = 123.4,
                                                     .seconds = 30,
                                                     .rateHz = 22050,
                                                     .firstClickSeconds = 0.3,
                                                     .accentEvery = 2}),
                                {})
                      .full,
                  kEnvelopeFps);
    for (const double bpm : {40.0, 61.7, 99.99, 123.4, 150.0, 246.8, 250.0}) {
        for (const auto segment : {std::optional<double>(), std::optional(4.0), std::optional(12.0),
                                   std::optional(40.0)}) {
            const GridFit fast = gridScore(env, kEnvelopeFps, bpm, segment);
            const GridFit plain = gridScoreReference(env, kEnvelopeFps, bpm, segment);
            EXPECT_EQ(fast.score, plain.score) << bpm;
            EXPECT_EQ(fast.phase, plain.phase) << bpm;
            EXPECT_EQ(fast.alt, plain.alt) << bpm;
        }
    }
}

TEST(TempoPrior, IsLogNormalAround125Bpm) {
    // exp(-0.5 (log2(b / 125) / 0.9)^2): one octave away gives exp(-0.5 / 0.81).
    EXPECT_DOUBLE_EQ(tempoPrior(125.0), 1.0);
    EXPECT_NEAR(tempoPrior(250.0), 0.539408, 1e-6);
    EXPECT_NEAR(tempoPrior(62.5), 0.539408, 1e-6);
    EXPECT_NEAR(candidateValue(250.0, {2.0, 0.0, 0.5}), 0.539408 * 2.0 * std::pow(0.5, 1.2), 1e-6);
}

} // namespace
} // namespace quorlen::detection
