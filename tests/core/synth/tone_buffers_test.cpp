#include "synth/tone_buffers.h"
#include "synth/triad.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <span>
#include <tuple>
#include <vector>

namespace quorlen::synth {
namespace {

float peak(const std::vector<float>& samples) {
    float result = 0;
    for (const float v : samples)
        result = std::max(result, std::abs(v));
    return result;
}

TEST(Triad, FrequenciesFollowEqualTemperament) {
    // The equal-tempered table on A4 = 440 Hz: C#5 554.365, E5 659.255,
    // C5 523.251, D#5 622.254.
    const std::tuple<TriadQuality, double, double> cases[] = {
        {TriadQuality::major, 554.365, 659.255},
        {TriadQuality::minor, 523.251, 659.255},
        {TriadQuality::diminished, 523.251, 622.254}};
    for (const auto& [quality, third, fifth] : cases) {
        const auto notes = triadFrequencies(440, quality);
        EXPECT_DOUBLE_EQ(notes[0], 440);
        EXPECT_NEAR(notes[1], third, 1e-3);
        EXPECT_NEAR(notes[2], fifth, 1e-3);
    }
}

TEST(ToneBuffers, HaveFixedLengthsStartAtZeroFadeToSilenceAndEmptyIsSilent) {
    const double chord[] = {440, 554.37, 659.26};
    const Partial partials[] = {{110, 1}, {220, 0.5f}};
    // 1.25 s, 1.6 s and 70 ms at 44.1 kHz, and a tick of 70 ms at 48 kHz.
    // Every attack starts from 0; the last frame is one frame from the end
    // of a linear fade of 12 to 100 ms, so below 0.2 % of the fade's start.
    const std::pair<std::vector<float>, size_t> buffers[] = {
        {makeBuffer(chord), 55125},
        {makePartialsBuffer(partials), 70560},
        {makeTickBuffer(1760, 1), 3087},
        {makeTickBuffer(1760, 1, 48000), 3360}};
    for (const auto& [samples, length] : buffers) {
        EXPECT_EQ(samples.size(), length);
        EXPECT_EQ(samples.front(), 0.0f);
        EXPECT_LT(std::abs(samples.back()), 1e-3f);
        EXPECT_GT(peak(samples), 0.1f);
    }
    for (const auto& [samples, length] :
         {std::pair{makeBuffer({}), 55125u}, std::pair{makePartialsBuffer({}), 70560u}}) {
        EXPECT_EQ(samples.size(), length);
        EXPECT_EQ(peak(samples), 0.0f);
    }
}

TEST(ToneBuffers, SamplesMatchHandWorkedValues) {
    // Frame 441 is t = 10 ms, past every attack and before every fade.
    // Chord, one note of 440 Hz: x = 2π·4.4, so sin x = sin 0.8π = 0.587785,
    //   sin 2x = sin 1.6π = −0.951057, sin 3x = sin 0.4π = 0.951057;
    //   tone = 0.378553, envelope e^−0.029 = 0.971416, × 0.15 = 0.0551597.
    // Partials, one sine of 25 Hz at amplitude 1: sin(π/2) = 1,
    //   e^−0.021 × 0.55 = 0.538570.
    // Tick of 1760 Hz, gain 0.55: sin 35.2π = −0.587785, sin 70.4π = 0.951057;
    //   (−0.587785 + 0.35 × 0.951057) × e^−0.55 (0.576950) × 0.55 = −0.0808905.
    const double note[] = {440};
    const Partial sine[] = {{25, 1}};
    EXPECT_NEAR(makeBuffer(note)[441], 0.0551597, 2e-6);
    EXPECT_NEAR(makePartialsBuffer(sine)[441], 0.538570, 2e-6);
    EXPECT_NEAR(makeTickBuffer(1760, 0.55f)[441], -0.0808905, 2e-6);
    // The same 10 ms of a tick made at 48 kHz.
    EXPECT_NEAR(makeTickBuffer(1760, 0.55f, 48000)[480], -0.0808905, 2e-6);
}

TEST(ToneBuffers, StrummedNotesEnter45MsApartUnnormalised) {
    // Adding note i changes nothing before its entry at 45 ms × i: frame
    // 1985 for the second note (1984.5 frames), 3970 for the third (3969
    // frames, where its attack still gives 0).
    const double notes[] = {440, 554.37, 659.26};
    const auto a = makeBuffer(std::span(notes).first(1));
    const auto b = makeBuffer(std::span(notes).first(2));
    const auto c = makeBuffer(notes);
    for (const auto& [before, after, entry] :
         {std::tuple{&a, &b, 1985}, std::tuple{&b, &c, 3970}}) {
        EXPECT_TRUE(std::equal(before->begin(), before->begin() + entry, after->begin())) << entry;
        EXPECT_NE((*before)[size_t(entry) + 5], (*after)[size_t(entry) + 5]);
    }
    // No normalisation: three notes reach higher than one.
    EXPECT_GT(peak(c), 1.5f * peak(a));
}

TEST(ToneBuffers, PartialsAreScaledByTheirSumButNeverBoostedTicksByTheirGain) {
    // sample = e × 0.55 / max(1, Σa) × Σ(a sin). A lone sine of amplitude
    // 0.5 keeps the 0.55 scale (half of amplitude 1); two of 1.1 sum to 2.2
    // and are scaled by 0.25, which sounds as one of amplitude 1.
    const Partial unit[] = {{330, 1}};
    const Partial quiet[] = {{330, 0.5f}};
    const Partial loud[] = {{330, 1.1f}, {330, 1.1f}};
    const auto u = makePartialsBuffer(unit);
    const auto q = makePartialsBuffer(quiet);
    const auto l = makePartialsBuffer(loud);
    for (size_t n : {100u, 441u, 20000u, 70000u}) {
        EXPECT_NEAR(q[n], 0.5f * u[n], 1e-6f) << n;
        EXPECT_NEAR(l[n], u[n], 1e-6f) << n;
    }
    // The rhythm player's rests are its 1175 Hz click at gain 0.16: a plain
    // factor on every sample.
    const auto full = makeTickBuffer(1175, 1);
    const auto rest = makeTickBuffer(1175, 0.16f);
    for (size_t n = 0; n < full.size(); n += 97)
        EXPECT_FLOAT_EQ(rest[n], full[n] * 0.16f) << n;
}

} // namespace
} // namespace quorlen::synth
