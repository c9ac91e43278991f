// Prints what the octave model sees of each file, as JSON Lines, for
// scripts/fit-octave-model: the duration, the classic tempo (0 when the
// file is too short for it) and the features of each candidate.
// octave_features FILE...
#include "detection/audio_loader.h"
#include "detection/octave_choice.h"
#include "detection/octave_model.h"
#include "detection/onset_envelope.h"
#include "detection/tempo_detector.h"

#include <cstdio>
#include <exception>

using namespace quorlen::detection;

int main(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        try {
            DecodedAudio audio = loadMono(argv[i], {});
            const double duration = audio.durationSeconds();
            const TempoEvidence evidence =
                measureTempo(std::move(audio.samples), audio.sampleRate, duration, {});
            double classic = 0.0;
            double classicConfidence = 0.0;
            try {
                const Estimate e = estimateTempo(evidence, OctaveMode::classic());
                classic = e.bpm;
                classicConfidence = e.confidence;
            } catch (const Failure&) {
                // A loop too short for the classic mode still has candidates.
            }
            std::printf("{\"file\":\"%s\",\"duration\":%.6f,\"classic\":%.6f,"
                        "\"classicConfidence\":%.6f,\"candidates\":[",
                        argv[i], duration, classic, classicConfidence);
            const std::vector<double> others = refinedTempos(evidence);
            const auto candidates = octaveCandidates(
                {evidence.full, evidence.low, evidence.mid, kEnvelopeFps, others, duration},
                classic);
            for (size_t c = 0; c < candidates.size(); ++c) {
                const OctaveFeatures& f = candidates[c];
                std::printf("%s{\"bpm\":%.6f,\"ratio\":%.6f,\"logTempo\":%.6f,"
                            "\"fullStrength\":%.6f,\"lowStrength\":%.6f,\"kicksPerBeat\":%.6f,"
                            "\"accentEvery8\":%.6f,\"barRepeat\":%.6f,"
                            "\"lowBarRepeat\":%.6f,\"halfBeat\":%.6f,\"tripletFeel\":%.6f,"
                            "\"loopBeats\":%.6f,\"loopBars\":%.6f,\"triplet\":%.0f,"
                            "\"dotted\":%.0f,\"unrelated\":%.0f,\"onsetsPerBeat\":%.6f,"
                            "\"accentEvery2\":%.6f,\"quarterBeat\":%.6f,\"eighthBeat\":%.6f,"
                            "\"sixthBeat\":%.6f,\"lowHalfBeat\":%.6f}",
                            c ? "," : "", f.bpm, f.ratio, f.logTempo, f.fullStrength, f.lowStrength,
                            f.kicksPerBeat, f.accentEvery8, f.barRepeat, f.lowBarRepeat, f.halfBeat,
                            f.tripletFeel, f.loopBeats, f.loopBars, f.triplet, f.dotted,
                            f.unrelated, f.onsetsPerBeat, f.accentEvery2, f.quarterBeat,
                            f.eighthBeat, f.sixthBeat, f.lowHalfBeat);
            }
            std::printf("]}\n");
        } catch (const std::exception& error) {
            std::fprintf(stderr, "%s: %s\n", argv[i], error.what());
        }
    }
    return 0;
}
