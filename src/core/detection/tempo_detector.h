#pragma once

#include "detection/failure.h"
#include "detection/octave_mode.h"
#include "detection/parallel_for.h"
#include "detection/tempo_search.h"
#include "key/key_detector.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quorlen::detection {

// A tempo and how likely it is the file's (within 4 %).
struct RankedTempo {
    double bpm = 0.0;
    double p = 0.0;

    bool operator==(const RankedTempo&) const = default;
};

// The outcome of one analysis.
struct Estimate {
    double bpm = 0.0;
    double beatOffsetSeconds = 0.0; // from the start of the file to the first grid beat
    int downbeat = 0;        // grid beats (0 ... 3) from the first beat to the first bar line
    double confidence = 0.0; // 0 ... 1
    std::optional<int> snappedBars;   // 4-beat bars the file spans, when snapped to its length
    std::vector<double> alternatives; // up to 3 other tempos, two decimals, best first
    double durationSeconds = 0.0;     // decoded duration, before resampling or cropping
    // Outside the classic mode: up to 4 tempos, most likely first, whose
    // probabilities sum to at most 1. The confidence is then the probability
    // that the shown tempo is right.
    std::vector<RankedTempo> candidates;

    bool operator==(const Estimate&) const = default;
};

// Knobs that change only how fast the answer comes, never the answer.
struct AnalysisOptions {
    int threads = 1;  // the analysis's own threads; with 2 or more it decodes ahead
    bool key = false; // also estimate the key and tuning (Analysis::key)
    // Threads shared with other analyses of a batch, borrowed stage by
    // stage on top of `threads` while they are free (none without one).
    ThreadBudget* spareThreads = nullptr;
};

inline constexpr int kWaveformColumns = 1600;

// What the analysis measured before any tempo was chosen: every octave
// mode's estimate is made from it.
struct TempoEvidence {
    std::vector<double> full;  // normalised full-band onset envelope
    std::vector<double> low;   // normalised low-band onset envelope
    std::vector<double> mid;   // normalised mid-band onset envelope (snares, claps)
    double envelopeMean = 0.0; // mean of `full`, above 0
    TempoCandidates candidates;
    size_t cropStartSamples = 0; // at 22050 Hz
    size_t analyzedSamples = 0;  // at 22050 Hz, after cropping
    double durationSeconds = 0.0;
};

// One analysis of a file: what it measured, and the estimate made from that
// in one octave mode. Copies share the measurements and the waveform.
struct Analysis {
    Estimate estimate;
    OctaveMode octave; // the mode `estimate` was made in
    // 1600 peak columns of the decoded signal, 0 ... 1; shared, never copied.
    std::shared_ptr<const std::vector<float>> waveform;
    bool damaged = false;                // parts of the file could not be decoded and were skipped
    std::optional<key::KeyEstimate> key; // only when asked for
    // What `estimate` was made from; absent in an analysis made by hand.
    std::shared_ptr<const TempoEvidence> evidence;
};

// The first stages of `analyze`: resampling to 22050 Hz, cropping to the
// loudest 300 s, the onset envelopes and the ranked, refined candidates
// (none for a loop too short for the periodicity analysis to find one).
// Throws Failure: tooShort (under 0.5 s, the shortest loop), noRhythm,
// cancelled.
TempoEvidence measureTempo(std::vector<float> samples, double sampleRateHz, double durationSeconds,
                           const CancelCheck& isCancelled, const AnalysisOptions& options = {});

// measureTempo of a signal already at 22050 Hz and cropped, whose crop
// started `cropStartSamples` into the file (at 22050 Hz).
TempoEvidence measureCroppedTempo(std::vector<float> samples, size_t cropStartSamples,
                                  double durationSeconds, const CancelCheck& isCancelled,
                                  const AnalysisOptions& options = {});

// The estimate of `evidence` in an octave mode. The classic mode needs
// 1.2 s (tooShort otherwise) and a refined candidate (noRhythm), and snaps
// loops of up to 90 s to whole bars or prefers a round tempo; the others
// change its octave (the model's choice, or folding into a range), read a
// file of up to 30 s as a loop of whole beats, and then place the grid,
// downbeat, loop length, confidence and alternatives anew for the tempo
// they chose.
Estimate estimateTempo(const TempoEvidence& evidence, const OctaveMode& octave);

// `analysis` in another octave mode, made from its evidence without decoding
// again: the same as analysing the file anew in that mode. Needs
// `analysis.evidence`; throws Failure as estimateTempo does.
Analysis reestimate(const Analysis& analysis, const OctaveMode& octave);

// Tempo, beat grid, downbeat and confidence of mono `samples` at
// `sampleRateHz`: `measureTempo`, then `estimateTempo`.
Estimate analyze(std::vector<float> samples, double sampleRateHz, double durationSeconds,
                 const CancelCheck& isCancelled, const AnalysisOptions& options = {},
                 const OctaveMode& octave = OctaveMode::classic());

// Makes every FFT plan an analysis can need. FFTW ends the process when
// memory runs out while it plans; done at start, before threads are started
// and files read, running short later fails one file instead. Throws
// std::bad_alloc when even this does not fit. analyzeFile() calls it too
// (it costs nothing once done).
void prepareAnalysis();

// Decodes the file at `path` and analyses it as it is read (loadAnalysisSignal:
// memory does not grow with the file); the waveform has 1600 columns of the
// decoded signal. With options.key the key is estimated from the same
// resampled, cropped signal. Throws Failure (unreadable with the reader's
// message, and everything `analyze` throws).
Analysis analyzeFile(const std::string& path, const CancelCheck& isCancelled,
                     const AnalysisOptions& options = {},
                     const OctaveMode& octave = OctaveMode::classic());

// 0.5 clip((raw / mean - 1.25) / 1.75) + 0.5 clip((raw / secondRaw - 1) / 0.8),
// where the second part is 1.25 before clipping when there is no second tempo.
double confidence(double raw, double envelopeMean, double secondRaw);

} // namespace quorlen::detection
