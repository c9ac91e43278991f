#pragma once

#include "audio/engine/voice_mixer.h"
#include "synth/tone_buffers.h"
#include "synth/triad.h"

#include <cstdint>
#include <span>

namespace quorlen {

// What the tools play through: the app's one synthesiser (ChordPlayer), or
// a stand-in in tests. Every sound is due either with the next block
// (kAsap) or at a frame of the audio clock, so sequenced players can place
// their steps to the sample. Main thread only; failures are silent.
class Synthesiser {
public:
    static constexpr std::int64_t kAsap = VoiceMixer::kAsap;
    enum class Output { running, starting, none };

    virtual ~Synthesiser() = default;

    // A strummed root, third and fifth.
    virtual void playTriad(double rootHz, synth::TriadQuality quality,
                           std::int64_t dueFrame = kAsap) = 0;
    // A strummed chord, notes entering in array order.
    virtual void playTones(std::span<const double> frequenciesHz,
                           std::int64_t dueFrame = kAsap) = 0;
    virtual void playPartials(std::span<const synth::Partial> partials,
                              std::int64_t dueFrame = kAsap) = 0;
    virtual void playTick(double frequencyHz, float gain, std::int64_t dueFrame = kAsap) = 0;

    // Asks for the output without a sound (a sequence about to start).
    virtual void startOutput() = 0;
    virtual Output output() const = 0;
    // While the output runs: the earliest frame of the audio clock that a
    // sound queued now is sure to make.
    virtual std::int64_t safeFrame() const = 0;
};

} // namespace quorlen
