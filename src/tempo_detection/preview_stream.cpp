#include "tempo_detection/preview_stream.h"

#include "preview/preview_frames.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace quorlen {
namespace {

// 2.916666 ms at 44.1 kHz: 128.6 frames, rounded to whole frames.
const int kFramesPerFadeStep =
    static_cast<int>(std::lround(preview::kFadeOutStepSeconds * RenderSource::kRateHz));

} // namespace

void PreviewStream::begin(uint64_t generation, int delayFrames) {
    m_delayFrames.store(delayFrames, std::memory_order_relaxed);
    m_generation.store(generation, std::memory_order_release);
}

void PreviewStream::fadeOut() { m_fadeRequests.fetch_add(1, std::memory_order_release); }

bool PreviewStream::nextBlock(uint64_t generation) noexcept {
    while (m_ring.pop(m_current)) {
        if (m_current.generation == generation && m_current.frameCount > 0) {
            m_position = 0;
            return true;
        }
    }
    m_current.frameCount = 0;
    return false;
}

void PreviewStream::stepFade() noexcept {
    ++m_fadeStep;
    m_volume = preview::fadeOutVolume(m_fadeFrom, m_fadeStep);
    m_framesToStep = kFramesPerFadeStep;
}

void PreviewStream::render(float* out, int frameCount) noexcept {
    const uint64_t generation = m_generation.load(std::memory_order_acquire);
    if (generation != m_playing) {
        m_playing = generation;
        m_current.frameCount = 0;
        m_delayLeft = m_delayFrames.load(std::memory_order_relaxed);
        m_volume = 1.0f;
        m_fadeStep = 0;
        m_fadesSeen = m_fadeRequests.load(std::memory_order_acquire);
        m_framesPlayed.store(0, std::memory_order_relaxed);
    }
    const uint32_t fades = m_fadeRequests.load(std::memory_order_acquire);
    if (fades != m_fadesSeen) {
        m_fadesSeen = fades;
        m_fadeFrom = m_volume;
        m_fadeStep = 0;
        stepFade();
    }

    uint64_t played = 0;
    for (int i = 0; i < frameCount; ++i) {
        float left = 0.0f;
        float right = 0.0f;
        if (m_delayLeft > 0) {
            --m_delayLeft;
        } else if (m_playing != 0 && (m_position < m_current.frameCount || nextBlock(m_playing))) {
            left = m_current.frames[2 * static_cast<size_t>(m_position)] * m_volume;
            right = m_current.frames[2 * static_cast<size_t>(m_position) + 1] * m_volume;
            ++m_position;
            ++played;
        }
        out[2 * static_cast<ptrdiff_t>(i)] = left;
        out[2 * static_cast<ptrdiff_t>(i) + 1] = right;
        if (m_fadeStep > 0 && m_fadeStep < preview::kFadeOutSteps && --m_framesToStep == 0)
            stepFade();
    }
    m_volumeNow.store(m_volume, std::memory_order_relaxed);
    m_framesPlayed.fetch_add(played, std::memory_order_relaxed);
}

} // namespace quorlen
