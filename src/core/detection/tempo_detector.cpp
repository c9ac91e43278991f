#include "detection/tempo_detector.h"

#include "detection/audio_loader.h"
#include "detection/autocorrelation.h"
#include "detection/complex_fft.h"
#include "detection/downbeat.h"
#include "detection/filterbank.h"
#include "detection/final_tempo.h"
#include "detection/octave_choice.h"
#include "detection/octave_model.h"
#include "detection/onset_envelope.h"
#include "detection/resample.h"
#include "detection/tempo_search.h"
#include "key/tonal_frames.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>
#include <numeric>
#include <span>
#include <utility>

namespace quorlen::detection {
namespace {

constexpr size_t kMinimumSamples = kAnalysisSamplesPerSecond * 12 / 10; // 1.2 s
constexpr size_t kMinimumLoopSamples = kAnalysisSamplesPerSecond / 2;   // 0.5 s
constexpr size_t kAnalysisWindow = kAnalysisSamplesPerSecond * 300;     // 300 s
// The flux peaks about three hops after the onset that causes it.
constexpr double kGridLatencySeconds = 768.0 / kAnalysisRateHz; // 0.034829931972789115
constexpr double kAlternativeDistance = 0.02;
constexpr size_t kMaxAlternatives = 3;
// -80 dBFS: a signal whose loudest moment is quieter than this is
// inaudible at any sane listening level. Whatever onsets it has are those
// of noise or dither, and a long enough stretch of noise always offers
// some periodicity.
constexpr double kInaudibleRms = 1e-4;

// Conditioned signal: 22050 Hz, at most 300 s; returns the crop start.
size_t condition(std::vector<float>& samples, double sampleRateHz, const CancelCheck& isCancelled) {
    const bool finished = resampleInPlace(samples, sampleRateHz, kAnalysisRateHz, isCancelled);
    throwIfCancelled(isCancelled);
    if (!finished)
        throw Failure::cancelled();
    if (samples.size() < kMinimumLoopSamples)
        throw Failure::tooShort();
    if (samples.size() <= kAnalysisWindow)
        return 0;
    const size_t start = loudestWindowStart(samples, kAnalysisWindow);
    samples.resize(std::min(start + kAnalysisWindow, samples.size()));
    samples.erase(samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(start));
    return start;
}

// Up to three refined tempos other than the final one, best first. With
// `distinct`, a tempo as near one already listed as the final one would be
// is not listed again (the classic ranking keeps its own, older answer).
std::vector<double> alternativesTo(double finalBpm, const std::vector<Candidate>& refined,
                                   bool distinct) {
    const auto near = [](double a, double b) {
        return std::abs(a - b) <= kAlternativeDistance * b;
    };
    std::vector<double> alternatives;
    for (const Candidate& c : refined) {
        if (alternatives.size() == kMaxAlternatives)
            break;
        if (near(c.bpm, finalBpm))
            continue;
        if (distinct && std::any_of(alternatives.begin(), alternatives.end(),
                                    [&](double listed) { return near(c.bpm, listed); }))
            continue;
        alternatives.push_back(std::round(c.bpm * 100.0) / 100.0);
    }
    return alternatives;
}

double clipUnit(double v) { return v <= 0.0 ? 0.0 : std::min(v, 1.0); }

} // namespace

double confidence(double raw, double envelopeMean, double secondRaw) {
    const double x = (raw / envelopeMean - 1.25) / 1.75;
    const double y = secondRaw > 0.0 ? (raw / secondRaw - 1.0) / 0.8 : 1.25;
    return std::clamp(0.5 * clipUnit(x) + 0.5 * clipUnit(y), 0.0, 1.0);
}

void prepareAnalysis() {
    preparePlans(kFrameLength, true);
    preparePlans(key::kKeyFrameLength, true);
    // The autocorrelation's transform grows with the envelope, from that of
    // the shortest file analysed to that of the 300 s window.
    const auto envelopeFrames = [](size_t samples) {
        return (samples - kFrameLength) / kHopSamples + 1;
    };
    const size_t largest = autocorrelationFftSize(envelopeFrames(kAnalysisWindow));
    for (size_t size = autocorrelationFftSize(envelopeFrames(kMinimumLoopSamples)); size <= largest;
         size *= 2)
        preparePlans(size, false);
}

TempoEvidence measureTempo(std::vector<float> samples, double sampleRateHz, double durationSeconds,
                           const CancelCheck& isCancelled, const AnalysisOptions& options) {
    const size_t cropStart = condition(samples, sampleRateHz, isCancelled);
    return measureCroppedTempo(std::move(samples), cropStart, durationSeconds, isCancelled,
                               options);
}

namespace {

// measureCroppedTempo, with the onset envelope of `samples` when it was
// measured already (as the file was read).
TempoEvidence measureWith(std::span<const float> samples, std::optional<Envelope> measured,
                          size_t cropStartSamples, double durationSeconds,
                          const CancelCheck& isCancelled, const AnalysisOptions& options) {
    TempoEvidence evidence;
    evidence.durationSeconds = durationSeconds;
    evidence.cropStartSamples = cropStartSamples;
    evidence.analyzedSamples = samples.size();
    // Below the classic minimum, a loop without rhythm is still "too short":
    // that is what the classic mode has always said of it.
    const bool classicLength = samples.size() >= kMinimumSamples;
    const auto noRhythm = [&] { return classicLength ? Failure::noRhythm() : Failure::tooShort(); };
    if (loudestMomentRms(samples) < kInaudibleRms)
        throw noRhythm();
    Envelope envelope =
        measured ? std::move(*measured) : onsetEnvelope(samples, isCancelled, options.threads);
    throwIfCancelled(isCancelled);
    const double fps = kEnvelopeFps;
    evidence.full = normalize(envelope.full, fps);
    evidence.low = normalize(envelope.low, fps);
    evidence.mid = normalize(envelope.mid, fps);
    const std::vector<double>& full = evidence.full;
    if (full.empty())
        throw noRhythm();
    const double mean = std::accumulate(full.begin(), full.end(), 0.0) / double(full.size());
    if (!(mean > 0.0) || !std::isfinite(mean))
        throw noRhythm();
    evidence.envelopeMean = mean;

    const std::vector<double> tempos = expandOctaves(autocorrelationCandidates(full, fps));
    if (tempos.empty()) {
        // A loop's length can still give its tempo where its envelope is too
        // short for a periodicity.
        if (durationSeconds <= kLoopMaxSeconds)
            return evidence;
        throw noRhythm();
    }
    const std::vector<Candidate> coarse = coarseRanking(full, fps, tempos, options.threads);
    evidence.candidates = refineCandidates(full, fps, coarse, isCancelled, options.threads);
    return evidence;
}

} // namespace

TempoEvidence measureCroppedTempo(std::vector<float> samples, size_t cropStartSamples,
                                  double durationSeconds, const CancelCheck& isCancelled,
                                  const AnalysisOptions& options) {
    return measureWith(samples, std::nullopt, cropStartSamples, durationSeconds, isCancelled,
                       options);
}

Estimate estimateTempo(const TempoEvidence& evidence, const OctaveMode& octave) {
    const double fps = kEnvelopeFps;
    const bool isClassic = octave.kind == OctaveKind::classic;
    if (isClassic && evidence.analyzedSamples < kMinimumSamples)
        throw Failure::tooShort();
    std::optional<FinalTempo> classic;
    if (!evidence.candidates.refined.empty()) {
        const Candidate& best = evidence.candidates.refined.front();
        const std::optional<FinalTempo> snapped =
            snapToLoop(evidence.full, fps, evidence.durationSeconds, best);
        classic = snapped ? *snapped : roundTempo(evidence.full, fps, best);
    } else if (isClassic) {
        throw Failure::noRhythm();
    }
    const double classicConfidence =
        classic ? confidence(classic->raw, evidence.envelopeMean, evidence.candidates.secondRaw)
                : 0.0;
    Estimate estimate;
    FinalTempo chosen;
    if (isClassic) {
        chosen = *classic;
        estimate.confidence = classicConfidence;
    } else {
        OctaveChoice choice = chooseOctaveTempo(evidence, octave, classic, classicConfidence);
        chosen = choice.tempo;
        estimate.confidence = choice.confidence;
        estimate.candidates = std::move(choice.candidates);
    }
    estimate.bpm = chosen.bpm;
    estimate.beatOffsetSeconds = double(evidence.cropStartSamples) / kAnalysisRateHz +
                                 chosen.phase / fps + kGridLatencySeconds;
    estimate.downbeat = downbeat(evidence.low, fps, chosen.bpm, chosen.phase);
    estimate.snappedBars = chosen.snappedBars;
    estimate.alternatives = alternativesTo(chosen.bpm, evidence.candidates.refined, !isClassic);
    estimate.durationSeconds = evidence.durationSeconds;
    return estimate;
}

Analysis reestimate(const Analysis& analysis, const OctaveMode& octave) {
    Analysis result = analysis;
    result.estimate = estimateTempo(*analysis.evidence, octave);
    result.octave = octave;
    return result;
}

Estimate analyze(std::vector<float> samples, double sampleRateHz, double durationSeconds,
                 const CancelCheck& isCancelled, const AnalysisOptions& options,
                 const OctaveMode& octave) {
    return estimateTempo(
        measureTempo(std::move(samples), sampleRateHz, durationSeconds, isCancelled, options),
        octave);
}

Analysis analyzeFile(const std::string& path, const CancelCheck& isCancelled,
                     const AnalysisOptions& options, const OctaveMode& octave) try {
    prepareAnalysis();
    AnalysisSignal signal = [&] {
        // Reading ahead takes a second thread, and no more.
        const ThreadLease lease(options.threads, options.spareThreads, 2 - options.threads);
        return loadAnalysisSignal(path,
                                  {.windowSeconds = kAnalysisWindow / kAnalysisSamplesPerSecond,
                                   .waveformColumns = kWaveformColumns,
                                   .decodeAhead = lease.threads() >= 2,
                                   .onsetEnvelope = true},
                                  isCancelled);
    }();
    throwIfCancelled(isCancelled);
    if (signal.analysisSamples < kMinimumLoopSamples)
        throw Failure::tooShort();
    Analysis analysis;
    analysis.damaged = signal.damaged;
    analysis.waveform = std::make_shared<const std::vector<float>>(std::move(signal.waveform));
    const ThreadLease lease(options.threads, options.spareThreads, std::numeric_limits<int>::max());
    AnalysisOptions measuring = options;
    measuring.threads = lease.threads();
    if (options.key)
        analysis.key = key::estimateKey(signal.window, isCancelled, measuring.threads);
    analysis.evidence = std::make_shared<const TempoEvidence>(
        measureWith(signal.window, std::move(signal.envelope), signal.cropStartSamples,
                    signal.durationSeconds, isCancelled, measuring));
    analysis.estimate = estimateTempo(*analysis.evidence, octave);
    analysis.octave = octave;
    return analysis;
} catch (const std::bad_alloc&) {
    throw Failure::outOfMemory();
}

} // namespace quorlen::detection
