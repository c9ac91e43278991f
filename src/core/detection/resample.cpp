#include "detection/resample.h"

#include "detection/analysis_rate.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace quorlen::detection {
namespace {

// The loudest window is chosen in whole seconds of the analysis signal.
constexpr size_t kBlockSamples = kAnalysisSamplesPerSecond;

struct Plan {
    double ratio = 1.0;
    size_t outputLength = 0;
    long long half = 0; // box half-width in input samples; 0 means interpolate
};

bool passesThrough(size_t inputLength, double fromHz, double toHz) {
    return std::abs(fromHz - toHz) < 1.0 || fromHz <= 0.0 || inputLength == 0;
}

Plan makePlan(size_t inputLength, double fromHz, double toHz) {
    Plan plan;
    plan.ratio = fromHz / toHz;
    plan.outputLength = static_cast<size_t>(static_cast<double>(inputLength) / plan.ratio);
    if (plan.ratio > 1.5)
        plan.half = static_cast<long long>(plan.ratio * 0.5);
    return plan;
}

// Where output i is taken: the box's centre or the interpolation's left
// neighbour, and the input range it reads before clamping to the input.
struct Taps {
    double position = 0.0;
    long long first = 0;
    long long last = 0;
};

Taps tapsOf(size_t i, const Plan& plan) {
    Taps taps;
    taps.position = plan.ratio * static_cast<double>(i);
    if (plan.half > 0) {
        // Half away from zero, as llround, without the library call: the
        // position is >= 0 and position - trunc(position) is exact.
        auto centre = static_cast<long long>(taps.position);
        if (taps.position - static_cast<double>(centre) >= 0.5)
            ++centre;
        taps.first = centre - plan.half;
        taps.last = centre + plan.half;
    } else {
        taps.first = static_cast<long long>(taps.position);
        taps.last = taps.first + 1;
    }
    return taps;
}

// Output sample i of an input of n samples of which `x` holds those from
// index `base` on; reads x only at indices >= i when ratio > 1 (see header).
float outputSample(const float* x, long long base, long long n, size_t i, const Plan& plan) {
    const Taps taps = tapsOf(i, plan);
    if (plan.half > 0) {
        const long long last = n - 1;
        float sum = 0.0f;
        int count = 0;
        for (long long k = taps.first; k <= taps.last; ++k) {
            if (k < 0 || k > last)
                continue;
            sum += x[k - base];
            ++count;
        }
        return count > 0 ? sum / static_cast<float>(count) : 0.0f;
    }
    const long long k = taps.first;
    const float a = x[k - base];
    const float b = k + 1 < n ? x[k + 1 - base] : a;
    return a + (b - a) * static_cast<float>(taps.position - static_cast<double>(k));
}

bool cancelledAt(size_t i, const CancelCheck& isCancelled) {
    return i % kResampleCancelStride == 0 && isCancelled && isCancelled();
}

} // namespace

std::vector<float> resample(std::span<const float> samples, double fromHz, double toHz,
                            const CancelCheck& isCancelled) {
    if (passesThrough(samples.size(), fromHz, toHz))
        return {samples.begin(), samples.end()};
    const Plan plan = makePlan(samples.size(), fromHz, toHz);
    std::vector<float> out(plan.outputLength);
    for (size_t i = 0; i < plan.outputLength; ++i) {
        if (cancelledAt(i, isCancelled))
            return {};
        out[i] = outputSample(samples.data(), 0, static_cast<long long>(samples.size()), i, plan);
    }
    return out;
}

bool resampleInPlace(std::vector<float>& samples, double fromHz, double toHz,
                     const CancelCheck& isCancelled) {
    if (passesThrough(samples.size(), fromHz, toHz))
        return true;
    if (fromHz / toHz <= 1.0) {
        // Upsampling a non-empty input always yields samples, so empty means cancelled.
        std::vector<float> out = resample(samples, fromHz, toHz, isCancelled);
        if (out.empty())
            return false;
        samples = std::move(out);
        return true;
    }
    const Plan plan = makePlan(samples.size(), fromHz, toHz);
    const size_t n = samples.size();
    for (size_t i = 0; i < plan.outputLength; ++i) {
        if (cancelledAt(i, isCancelled))
            return false;
        samples[i] = outputSample(samples.data(), 0, static_cast<long long>(n), i, plan);
    }
    samples.resize(plan.outputLength);
    return true;
}

StreamingResampler::StreamingResampler(double fromHz, double toHz)
    : m_passThrough(passesThrough(1, fromHz, toHz)), m_ratio(fromHz / toHz),
      m_half(m_ratio > 1.5 ? static_cast<long long>(m_ratio * 0.5) : 0) {}

bool StreamingResampler::push(std::span<const float> input, std::vector<float>& out,
                              const CancelCheck& isCancelled) {
    if (m_passThrough) {
        out.insert(out.end(), input.begin(), input.end());
        return true;
    }
    m_pending.insert(m_pending.end(), input.begin(), input.end());
    m_received += static_cast<long long>(input.size());
    // Only outputs whose every tap has arrived, and that an input of this
    // length would already have (the length is a truncated quotient, so it
    // only grows with the input), are final.
    return emit(outputsFor(m_received), false, out, isCancelled);
}

bool StreamingResampler::finish(std::vector<float>& out, const CancelCheck& isCancelled) {
    if (m_passThrough || m_received == 0)
        return true;
    return emit(outputsFor(m_received), true, out, isCancelled);
}

size_t StreamingResampler::outputsFor(long long inputLength) const {
    return static_cast<size_t>(static_cast<double>(inputLength) / m_ratio);
}

bool StreamingResampler::emit(size_t until, bool atEnd, std::vector<float>& out,
                              const CancelCheck& isCancelled) {
    Plan plan;
    plan.ratio = m_ratio;
    plan.half = m_half;
    for (; m_next < until; ++m_next) {
        if (!atEnd && tapsOf(m_next, plan).last >= m_received)
            break;
        if (cancelledAt(m_next, isCancelled))
            return false;
        out.push_back(outputSample(m_pending.data(), m_base, m_received, m_next, plan));
    }
    // Inputs before the next output's first tap are never read again.
    const long long keepFrom = std::clamp(tapsOf(m_next, plan).first, m_base, m_received);
    m_pending.erase(m_pending.begin(), m_pending.begin() + (keepFrom - m_base));
    m_base = keepFrom;
    return true;
}

size_t loudestWindowStart(std::span<const float> samples, size_t windowLength) {
    const size_t blocks = samples.size() / kBlockSamples;
    if (blocks == 0)
        return 0;
    const size_t windowBlocks = std::min(windowLength / kBlockSamples, blocks);
    if (windowBlocks < 1 || windowLength / kBlockSamples >= blocks)
        return 0;

    std::vector<double> energy(blocks);
    for (size_t b = 0; b < blocks; ++b) {
        float sum = 0.0f;
        for (size_t k = b * kBlockSamples; k < (b + 1) * kBlockSamples; ++k)
            sum += samples[k] * samples[k];
        energy[b] = sum;
    }
    double running = 0.0;
    for (size_t b = 0; b < windowBlocks; ++b)
        running += energy[b];
    double best = running;
    size_t bestStart = 0;
    for (size_t j = windowBlocks; j < blocks; ++j) {
        running = running + energy[j] - energy[j - windowBlocks];
        if (running > best) {
            best = running;
            bestStart = j - windowBlocks + 1;
        }
    }
    return bestStart * kBlockSamples;
}

double loudestMomentRms(std::span<const float> samples) {
    const size_t block = std::min(kMomentSamples, samples.size());
    double loudest = 0.0;
    for (size_t start = 0; block > 0 && start + block <= samples.size(); start += block) {
        double sum = 0.0;
        for (size_t k = start; k < start + block; ++k)
            sum += double(samples[k]) * samples[k];
        loudest = std::max(loudest, sum);
    }
    return block > 0 ? std::sqrt(loudest / double(block)) : 0.0;
}

} // namespace quorlen::detection
