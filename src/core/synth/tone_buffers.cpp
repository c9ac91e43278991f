#include "synth/tone_buffers.h"

#include <algorithm>
#include <cmath>
#include <numbers>

// The sample arithmetic mixes precisions on purpose: time, envelopes and
// phases are doubles, while each voice's contribution is rounded to float
// before it is scaled and summed in float, so the buffers match the
// reference renderings sample for sample.
namespace quorlen::synth {
namespace {

constexpr double kTwoPi = 2.0 * std::numbers::pi;

double secondsAt(int frame) { return frame / kSampleRateHz; }

} // namespace

std::vector<float> makeBuffer(std::span<const double> frequenciesHz) {
    constexpr double kLengthS = 1.25;
    constexpr double kStrumS = 0.045;
    constexpr double kAttackS = 0.006;
    constexpr double kFadeS = 0.08;
    std::vector<float> samples(kChordFrames, 0.0f);
    for (int n = 0; n < kChordFrames; ++n) {
        const double t = secondsAt(n);
        const double fade = std::min(1.0, (kLengthS - t) / kFadeS);
        float sum = 0.0f;
        for (size_t i = 0; i < frequenciesHz.size(); ++i) {
            const double ti = t - kStrumS * static_cast<double>(i);
            if (ti < 0)
                continue;
            const double envelope = std::exp(-2.9 * ti) * std::min(1.0, ti / kAttackS) * fade;
            const double x = kTwoPi * frequenciesHz[i] * ti;
            const double tone = std::sin(x) + 0.32 * std::sin(2 * x) + 0.1 * std::sin(3 * x);
            sum += static_cast<float>(tone * envelope) * 0.15f;
        }
        samples[static_cast<size_t>(n)] = sum;
    }
    return samples;
}

std::vector<float> makePartialsBuffer(std::span<const Partial> partials) {
    constexpr double kLengthS = 1.6;
    constexpr double kAttackS = 0.008;
    constexpr double kFadeS = 0.1;
    float amplitudeSum = 0.0f;
    for (const Partial& partial : partials)
        amplitudeSum += partial.amplitude;
    const float scale = 0.55f / std::max(1.0f, amplitudeSum);

    std::vector<float> samples(kPartialsFrames, 0.0f);
    for (int n = 0; n < kPartialsFrames; ++n) {
        const double t = secondsAt(n);
        double envelope = std::exp(-2.1 * t) * std::min(1.0, t / kAttackS);
        const double fade = (kLengthS - t) / kFadeS;
        if (fade < 1.0)
            envelope *= fade;
        float sum = 0.0f;
        for (const Partial& partial : partials)
            sum +=
                static_cast<float>(std::sin(kTwoPi * partial.frequencyHz * t)) * partial.amplitude;
        samples[static_cast<size_t>(n)] = static_cast<float>(envelope) * scale * sum;
    }
    return samples;
}

std::vector<float> makeTickBuffer(double frequencyHz, float gain, double rateHz) {
    constexpr double kLengthS = 0.07;
    constexpr double kAttackS = 0.0015;
    constexpr double kFadeS = 0.012;
    const auto frames = static_cast<int>(std::lround(kLengthS * rateHz));
    std::vector<float> samples(static_cast<size_t>(frames), 0.0f);
    for (int n = 0; n < frames; ++n) {
        const double t = n / rateHz;
        const double envelope = std::exp(-55.0 * t) * std::min(1.0, t / kAttackS) *
                                std::min(1.0, (kLengthS - t) / kFadeS);
        const double x = kTwoPi * frequencyHz * t;
        samples[static_cast<size_t>(n)] =
            static_cast<float>((std::sin(x) + 0.35 * std::sin(2 * x)) * envelope) * gain;
    }
    return samples;
}

} // namespace quorlen::synth
