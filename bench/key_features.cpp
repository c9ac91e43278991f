// Prints what the key model sees of each file, as JSON Lines, for
// scripts/fit-key-model: the tuning, the tonalness, the chroma and the
// features of all 24 keys (circle order, majors then minors).
// key_features FILE...
#include "detection/audio_loader.h"
#include "detection/resample.h"
#include "key/key_detector.h"

#include <cstdio>
#include <exception>

using namespace quorlen;

int main(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        try {
            detection::DecodedAudio audio = detection::loadMono(argv[i], {});
            detection::resampleInPlace(audio.samples, audio.sampleRate, detection::kAnalysisRateHz,
                                       {});
            const key::KeyEvidence evidence = key::measureKey(audio.samples, {});
            std::printf("{\"file\":\"%s\",\"tuning\":%s,\"tonalness\":%.6f,\"frames\":%zu,"
                        "\"chroma\":[",
                        argv[i],
                        evidence.tuningCents ? std::to_string(*evidence.tuningCents).c_str()
                                             : "null",
                        evidence.tonalness, evidence.soundingFrames);
            for (size_t c = 0; c < 12; ++c)
                std::printf("%s%.6g", c ? "," : "", evidence.chroma.all[c]);
            std::printf("],\"bass\":[");
            for (size_t c = 0; c < 12; ++c)
                std::printf("%s%.6g", c ? "," : "", evidence.chroma.bass[c]);
            std::printf("],\"features\":[");
            for (int k = 0; k < 24; ++k) {
                const auto f =
                    key::keyFeatures(evidence.chroma, harmony::KeySelection{k % 12, k >= 12});
                std::printf("%s[", k ? "," : "");
                for (size_t j = 0; j < f.size(); ++j)
                    std::printf("%s%.6f", j ? "," : "", f[j]);
                std::printf("]");
            }
            std::printf("]}\n");
        } catch (const std::exception& error) {
            std::fprintf(stderr, "%s: %s\n", argv[i], error.what());
        }
    }
    return 0;
}
