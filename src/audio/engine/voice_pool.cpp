#include "audio/engine/voice_pool.h"

#include "audio/engine/audio_backend.h"
#include "audio/engine/step_grid.h"

namespace quorlen {

VoicePool::VoicePool(std::unique_ptr<AudioBackend> backend) : m_backend(std::move(backend)) {}

// The backend goes first: its audio thread reads the mixer.
VoicePool::~VoicePool() { m_backend.reset(); }

bool VoicePool::play(std::vector<float> samples, std::int64_t dueFrame) {
    if (!startOutput())
        return false;
    if (!m_mixer.play(m_nextVoice, std::make_shared<const std::vector<float>>(std::move(samples)),
                      dueFrame))
        return false;
    m_nextVoice = (m_nextVoice + 1) % kVoiceCount;
    return true;
}

bool VoicePool::startOutput() { return m_backend->isRunning() || m_backend->start(m_mixer); }

void VoicePool::pauseOutput() {
    if (m_backend->isRunning())
        m_backend->pause();
}

std::int64_t VoicePool::safeFrame() const {
    return firstSafeFrame(m_mixer, m_backend->latencySeconds());
}

bool VoicePool::isOutputRunning() const { return m_backend->isRunning(); }

bool VoicePool::isOutputStarting() const { return m_backend->isStarting(); }

} // namespace quorlen
