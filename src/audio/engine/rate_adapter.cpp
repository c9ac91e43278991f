#include "audio/engine/rate_adapter.h"

#include <cstddef>

namespace quorlen {

void RateAdapter::reset(double sourceRateHz, double deviceRateHz) {
    m_step = sourceRateHz / deviceRateHz;
    m_fraction = 0.0;
    m_before = {};
    m_after = {};
    m_nextInBlock = kBlockFrames;
}

void RateAdapter::advance(RenderSource& source) noexcept {
    if (m_nextInBlock == kBlockFrames) {
        source.render(m_block.data(), kBlockFrames);
        m_nextInBlock = 0;
    }
    m_before = m_after;
    const size_t at = 2 * static_cast<size_t>(m_nextInBlock);
    m_after = {m_block[at], m_block[at + 1]};
    ++m_nextInBlock;
}

void RateAdapter::render(RenderSource& source, float* interleavedStereo, int frameCount) noexcept {
    if (m_step == 1.0) {
        source.render(interleavedStereo, frameCount);
        return;
    }
    for (int i = 0; i < frameCount; ++i) {
        const auto weight = static_cast<float>(m_fraction);
        for (int channel = 0; channel < 2; ++channel) {
            const float before = m_before[static_cast<size_t>(channel)];
            const float after = m_after[static_cast<size_t>(channel)];
            interleavedStereo[2 * i + channel] = before + (after - before) * weight;
        }
        m_fraction += m_step;
        while (m_fraction >= 1.0) {
            m_fraction -= 1.0;
            advance(source);
        }
    }
}

} // namespace quorlen
