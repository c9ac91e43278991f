// Stage-by-stage cost of tempo detection on a synthetic 300 s signal (the
// longest the analysis ever sees after cropping), plus the plain reference
// versions of the optimised steps for comparison.
#include "detection/audio_loader.h"
#include "detection/autocorrelation.h"
#include "detection/grid_score.h"
#include "detection/onset_envelope.h"
#include "detection/resample.h"
#include "detection/tempo_detector.h"
#include "detection/tempo_search.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdlib>
#include <numbers>
#include <random>
#include <vector>

namespace quorlen::detection {
namespace {

constexpr double kSeconds = 300.0;
constexpr double kSourceRateHz = 44100.0;

// Kick on every beat at 124 BPM, a noise hat between, and a bass tone.
const std::vector<float>& signal44k() {
    static const std::vector<float> signal = [] {
        const auto n = static_cast<size_t>(kSeconds * kSourceRateHz);
        std::vector<float> x(n);
        std::mt19937 random(3);
        std::uniform_real_distribution<float> noise(-1.0f, 1.0f);
        const double beat = 60.0 / 124.0;
        for (size_t i = 0; i < n; ++i) {
            const double t = double(i) / kSourceRateHz;
            const double inBeat = std::fmod(t, beat);
            const double inHalf = std::fmod(t, beat / 2);
            x[i] = float(0.6 * std::sin(2 * std::numbers::pi * 60 * inBeat) *
                             std::exp(-inBeat / 0.08) +
                         0.15 * noise(random) * std::exp(-inHalf / 0.01) +
                         0.2 * std::sin(2 * std::numbers::pi * 55 * t));
        }
        return x;
    }();
    return signal;
}

const std::vector<float>& signal22k() {
    static const std::vector<float> x = resample(signal44k(), kSourceRateHz, kAnalysisRateHz, {});
    return x;
}

const std::vector<double>& normalizedEnvelope() {
    static const std::vector<double> env =
        normalize(onsetEnvelope(signal22k(), {}).full, kEnvelopeFps);
    return env;
}

const std::vector<Candidate>& coarseList() {
    static const std::vector<Candidate> list = coarseRanking(
        normalizedEnvelope(), kEnvelopeFps,
        expandOctaves(autocorrelationCandidates(normalizedEnvelope(), kEnvelopeFps)), 1);
    return list;
}

// Decoding and mixing a real file, named by an environment variable (the
// benchmark script sets them to its generated WAV, MP3 and AAC).
void BM_LoadMono(benchmark::State& state, const char* variable) {
    const char* path = std::getenv(variable);
    if (!path) {
        state.SkipWithError("set the environment variable to a file to decode");
        return;
    }
    for (auto _ : state)
        benchmark::DoNotOptimize(loadMono(path, {}));
}
BENCHMARK_CAPTURE(BM_LoadMono, wav, "QUORLEN_BENCH_WAV")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_LoadMono, mp3, "QUORLEN_BENCH_MP3")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_LoadMono, aac, "QUORLEN_BENCH_AAC")->Unit(benchmark::kMillisecond);

void BM_Resample(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(resample(signal44k(), kSourceRateHz, kAnalysisRateHz, {}));
}
BENCHMARK(BM_Resample)->Unit(benchmark::kMillisecond);

void BM_ResampleInPlace(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        std::vector<float> x = signal44k();
        state.ResumeTiming();
        resampleInPlace(x, kSourceRateHz, kAnalysisRateHz, {});
        benchmark::DoNotOptimize(x.data());
    }
}
BENCHMARK(BM_ResampleInPlace)->Unit(benchmark::kMillisecond);

void BM_OnsetEnvelope(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(onsetEnvelope(signal22k(), {}));
}
BENCHMARK(BM_OnsetEnvelope)->Unit(benchmark::kMillisecond);

void BM_OnsetEnvelopeReference(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(onsetEnvelopeReference(signal22k(), {}));
}
BENCHMARK(BM_OnsetEnvelopeReference)->Unit(benchmark::kMillisecond);

void BM_NormalizeAndProposals(benchmark::State& state) {
    const Envelope env = onsetEnvelope(signal22k(), {});
    for (auto _ : state) {
        const std::vector<double> a = normalize(env.full, kEnvelopeFps);
        benchmark::DoNotOptimize(expandOctaves(autocorrelationCandidates(a, kEnvelopeFps)));
    }
}
BENCHMARK(BM_NormalizeAndProposals)->Unit(benchmark::kMillisecond);

void BM_GridScore4s(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(gridScore(normalizedEnvelope(), kEnvelopeFps, 124.0, 4.0));
}
BENCHMARK(BM_GridScore4s)->Unit(benchmark::kMicrosecond);

void BM_GridScore4sReference(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(
            gridScoreReference(normalizedEnvelope(), kEnvelopeFps, 124.0, 4.0));
}
BENCHMARK(BM_GridScore4sReference)->Unit(benchmark::kMicrosecond);

void BM_CoarseRanking(benchmark::State& state) {
    const std::vector<double> tempos =
        expandOctaves(autocorrelationCandidates(normalizedEnvelope(), kEnvelopeFps));
    for (auto _ : state)
        benchmark::DoNotOptimize(
            coarseRanking(normalizedEnvelope(), kEnvelopeFps, tempos, int(state.range(0))));
    state.counters["tempos"] = double(tempos.size());
}
BENCHMARK(BM_CoarseRanking)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_Refinement(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(refineCandidates(normalizedEnvelope(), kEnvelopeFps, coarseList(),
                                                  {}, int(state.range(0))));
}
BENCHMARK(BM_Refinement)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_AnalyzeInMemory(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(
            analyze(signal44k(), kSourceRateHz, kSeconds, {}, {int(state.range(0))}));
}
BENCHMARK(BM_AnalyzeInMemory)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
} // namespace quorlen::detection

BENCHMARK_MAIN();
