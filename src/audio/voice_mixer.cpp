#include "audio/voice_mixer.h"

#include <algorithm>
#include <chrono>

namespace quorlen {

VoiceMixer::VoiceMixer(float outputVolume, Clock clock) : m_volume(outputVolume), m_clock(clock) {}

std::int64_t VoiceMixer::steadyNowNs() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

bool VoiceMixer::play(int voice, Samples samples) {
    releaseTakenBuffers();
    if (voice < 0 || voice >= kVoiceCount || !samples)
        return false;
    const Command command{voice, samples->data(), static_cast<int>(samples->size()), m_clock()};
    const auto receipt = m_commands.push(command);
    if (!receipt)
        return false;
    Samples& owned = m_owned[static_cast<size_t>(voice)];
    if (owned)
        m_retired.push_back({*receipt, std::move(owned)});
    owned = std::move(samples);
    return true;
}

void VoiceMixer::releaseTakenBuffers() {
    const uint64_t taken = m_commands.taken();
    while (!m_retired.empty() && m_retired.front().releasableAtTaken <= taken)
        m_retired.pop_front();
}

void VoiceMixer::render(float* interleavedStereo, int frameCount) noexcept {
    // Commands first: after this loop no voice points at a replaced buffer.
    Command command;
    while (m_commands.pop(command)) {
        const std::int64_t lateNs = m_clock() - command.requestedNs;
        int position = 0;
        if (lateNs > kLateToleranceNs) {
            const double lateFrames = static_cast<double>(lateNs) * kRateHz / 1e9;
            position = static_cast<int>(std::min<double>(lateFrames, command.frameCount));
        }
        m_voices[static_cast<size_t>(command.voice)] = {command.samples, command.frameCount,
                                                        position};
    }

    std::fill(interleavedStereo, interleavedStereo + 2 * frameCount, 0.0f);
    for (Voice& voice : m_voices) {
        const int count = std::min(frameCount, voice.frameCount - voice.position);
        if (count <= 0)
            continue;
        const float* samples = voice.samples + voice.position;
        for (int i = 0; i < count; ++i) {
            const float sample = samples[i] * m_volume;
            interleavedStereo[2 * i] += sample;
            interleavedStereo[2 * i + 1] += sample;
        }
        voice.position += count;
    }
}

} // namespace quorlen
