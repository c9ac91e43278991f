#include "audio/engine/voice_mixer.h"

#include <algorithm>
#include <cstddef>

namespace quorlen {

VoiceMixer::VoiceMixer(float outputVolume) : m_volume(outputVolume) { m_held.reserve(kMaxHeld); }

VoiceMixer::~VoiceMixer() = default;

bool VoiceMixer::play(int voice, Samples samples, std::int64_t dueFrame) {
    releaseReturned();
    if (voice < 0 || voice >= kVoiceCount || !samples || m_held.size() >= kMaxHeld)
        return false;
    const Sound sound{m_nextId, samples->data(), static_cast<int>(samples->size()), dueFrame};
    if (!m_commands.push({voice, sound}))
        return false;
    ++m_nextId;
    m_held.push_back({sound.id, std::move(samples)});
    return true;
}

size_t VoiceMixer::buffersHeld() const { return m_held.size(); }

void VoiceMixer::releaseReturned() {
    std::uint64_t id = 0;
    while (m_returns.pop(id)) {
        const auto found = std::find_if(m_held.begin(), m_held.end(),
                                        [id](const Held& held) { return held.id == id; });
        if (found != m_held.end()) {
            *found = std::move(m_held.back());
            m_held.pop_back();
        }
    }
}

void VoiceMixer::letGo(Sound& sound) noexcept {
    if (sound.id != 0)
        m_returns.push(sound.id);
    sound = {};
}

void VoiceMixer::mix(Voice& voice, float* out, int from, int to) noexcept {
    const int count = std::min(to - from, voice.playing.frameCount - voice.position);
    if (voice.playing.id == 0 || count <= 0)
        return;
    const float* samples = voice.playing.samples + voice.position;
    for (int i = 0; i < count; ++i) {
        const float sample = samples[i] * m_volume;
        const ptrdiff_t at = 2 * static_cast<ptrdiff_t>(from + i);
        out[at] += sample;
        out[at + 1] += sample;
    }
    voice.position += count;
    if (voice.position >= voice.playing.frameCount)
        letGo(voice.playing);
}

void VoiceMixer::render(float* interleavedStereo, int frameCount) noexcept {
    Command command;
    while (m_commands.pop(command)) {
        Voice& voice = m_voices[static_cast<size_t>(command.voice)];
        letGo(voice.waiting);
        voice.waiting = command.sound;
    }

    std::fill(interleavedStereo, interleavedStereo + 2 * static_cast<ptrdiff_t>(frameCount), 0.0f);
    const std::int64_t blockStart = m_frame;
    for (Voice& voice : m_voices) {
        int from = 0;
        if (voice.waiting.id != 0) {
            // kAsap and late sounds start at the block's first frame.
            const std::int64_t offset =
                voice.waiting.dueFrame == kAsap ? 0 : voice.waiting.dueFrame - blockStart;
            if (offset < frameCount) {
                const int startAt = static_cast<int>(std::max<std::int64_t>(0, offset));
                mix(voice, interleavedStereo, 0, startAt);
                letGo(voice.playing);
                voice.playing = voice.waiting;
                voice.waiting = {};
                voice.position = 0;
                from = startAt;
            }
        }
        mix(voice, interleavedStereo, from, frameCount);
    }
    m_limiter.process(interleavedStereo, frameCount);
    if (m_muted.load(std::memory_order_relaxed))
        std::fill(interleavedStereo, interleavedStereo + 2 * static_cast<ptrdiff_t>(frameCount),
                  0.0f);

    m_frame += frameCount;
    m_lastBlockFrames.store(frameCount, std::memory_order_relaxed);
    m_framesRendered.store(m_frame, std::memory_order_release);
}

void VoiceMixer::discard() noexcept {
    Command command;
    while (m_commands.pop(command))
        letGo(command.sound);
    for (Voice& voice : m_voices) {
        letGo(voice.playing);
        letGo(voice.waiting);
    }
}

} // namespace quorlen
