#include "detection/loudest_window.h"

#include "detection/analysis_rate.h"

#include <algorithm>
#include <utility>

namespace quorlen::detection {
namespace {

// The loudest window is chosen in whole seconds of the analysis signal.
constexpr size_t kBlockSamples = kAnalysisSamplesPerSecond;

} // namespace

LoudestWindow::LoudestWindow(size_t windowSeconds, size_t expectedSamples)
    : m_windowBlocks(std::max<size_t>(windowSeconds, 1)), m_saved(m_windowBlocks, true) {
    // A little room over the hint saves a reallocation when it is slightly short.
    m_ring.reserve(std::min(m_windowBlocks * kBlockSamples,
                            expectedSamples + expectedSamples / 64 + kBlockSamples));
}

void LoudestWindow::push(std::span<const float> samples) {
    m_total += samples.size();
    while (!samples.empty()) {
        if (m_inBlock == 0)
            openBlock();
        const size_t take = std::min(samples.size(), kBlockSamples - m_inBlock);
        const size_t at = (m_blocks % m_windowBlocks) * kBlockSamples + m_inBlock;
        if (m_ring.size() < at + take) {
            // Grows with the signal up to the window, never beyond.
            const size_t limit = m_windowBlocks * kBlockSamples;
            if (m_ring.capacity() < at + take)
                m_ring.reserve(std::min(limit, std::max(2 * m_ring.capacity(), at + take)));
            m_ring.resize(at + take);
        }
        std::copy_n(samples.begin(), take, m_ring.begin() + static_cast<std::ptrdiff_t>(at));
        m_inBlock += take;
        samples = samples.subspan(take);
        if (m_inBlock == kBlockSamples)
            closeBlock();
    }
}

void LoudestWindow::openBlock() {
    if (m_blocks >= m_windowBlocks)
        saveSlot(m_blocks % m_windowBlocks);
}

void LoudestWindow::saveSlot(size_t slot) {
    if (m_saved[slot])
        return;
    if (m_best.empty())
        m_best.resize(m_windowBlocks * kBlockSamples);
    const auto from = m_ring.begin() + static_cast<std::ptrdiff_t>(slot * kBlockSamples);
    std::copy_n(from, kBlockSamples,
                m_best.begin() + static_cast<std::ptrdiff_t>(slot * kBlockSamples));
    m_saved[slot] = true;
}

// The energies and the running sum are formed in the order and precision
// of loudestWindowStart, so ties and near-ties fall the same way.
void LoudestWindow::closeBlock() {
    const size_t j = m_blocks;
    const auto first =
        m_ring.begin() + static_cast<std::ptrdiff_t>((j % m_windowBlocks) * kBlockSamples);
    float sum = 0.0f;
    for (auto x = first; x != first + kBlockSamples; ++x)
        sum += *x * *x;
    m_energy.push_back(sum);
    ++m_blocks;
    m_inBlock = 0;
    if (j < m_windowBlocks) {
        m_running += m_energy[j];
        m_bestSum = m_running;
        if (j + 1 == m_windowBlocks)
            m_saved.assign(m_windowBlocks, false); // the first window is the best one yet
        return;
    }
    m_running = m_running + m_energy[j] - m_energy[j - m_windowBlocks];
    if (m_running > m_bestSum) {
        m_bestSum = m_running;
        m_bestStartBlock = j - m_windowBlocks + 1;
        m_saved.assign(m_windowBlocks, false); // the ring holds it all
    }
}

LoudestWindow::Crop LoudestWindow::finish() {
    Crop crop;
    crop.totalSamples = m_total;
    const size_t window = m_windowBlocks * kBlockSamples;
    if (m_total <= window) {
        // Taken whole, with its partial last block; the ring never wrapped.
        m_ring.resize(m_total);
        crop.samples = std::move(m_ring);
    } else {
        // Longer: exactly the best whole blocks (a window of all blocks but
        // a partial tail starts at 0 and leaves the tail).
        for (size_t slot = 0; slot < m_windowBlocks; ++slot)
            saveSlot(slot);
        const size_t startSlot = m_bestStartBlock % m_windowBlocks;
        std::rotate(m_best.begin(),
                    m_best.begin() + static_cast<std::ptrdiff_t>(startSlot * kBlockSamples),
                    m_best.end());
        crop.startSamples = m_bestStartBlock * kBlockSamples;
        crop.samples = std::move(m_best);
    }
    *this = LoudestWindow(m_windowBlocks);
    return crop;
}

} // namespace quorlen::detection
