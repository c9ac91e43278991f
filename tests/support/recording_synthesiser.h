#pragma once

#include "audio/synthesiser.h"

#include <cstdint>
#include <vector>

namespace quorlen::testing {

// A synthesiser that only writes down what it is asked to play. Its output
// is what the test sets: none by default, so sequenced players run on the
// steady clock, or starting or running at a frame the test moves.
class RecordingSynthesiser final : public Synthesiser {
public:
    struct Triad {
        double rootHz;
        synth::TriadQuality quality;
        std::int64_t dueFrame;
    };
    struct Sound {
        std::vector<double> frequenciesHz;
        std::int64_t dueFrame;
    };

    void playTriad(double rootHz, synth::TriadQuality quality, std::int64_t dueFrame) override {
        triads.push_back({rootHz, quality, dueFrame});
    }
    void playTones(std::span<const double> frequenciesHz, std::int64_t dueFrame) override {
        sounds.push_back({{frequenciesHz.begin(), frequenciesHz.end()}, dueFrame});
    }
    void playPartials(std::span<const synth::Partial> partials, std::int64_t dueFrame) override {
        Sound sound{{}, dueFrame};
        for (const synth::Partial& partial : partials)
            sound.frequenciesHz.push_back(partial.frequencyHz);
        sounds.push_back(sound);
    }
    void playTick(double frequencyHz, float, std::int64_t dueFrame) override {
        sounds.push_back({{frequencyHz}, dueFrame});
    }
    void startOutput() override { ++outputStarts; }
    Output output() const override { return outputState; }
    std::int64_t safeFrame() const override { return frame; }

    Output outputState = Output::none;
    std::int64_t frame = 0;
    int outputStarts = 0;
    std::vector<Triad> triads;
    std::vector<Sound> sounds;
};

} // namespace quorlen::testing
