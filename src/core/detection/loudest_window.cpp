#include "detection/loudest_window.h"

#include <utility>

namespace quorlen::detection {
namespace {

constexpr size_t kBlockSamples = 22050;

} // namespace

LoudestWindow::LoudestWindow(size_t windowSeconds) : m_windowBlocks(windowSeconds) {
    m_open.reserve(kBlockSamples);
}

void LoudestWindow::push(std::span<const float> samples) {
    m_total += samples.size();
    while (!samples.empty()) {
        const size_t take = std::min(samples.size(), kBlockSamples - m_open.size());
        m_open.insert(m_open.end(), samples.begin(), samples.begin() + static_cast<long>(take));
        samples = samples.subspan(take);
        if (m_open.size() == kBlockSamples)
            closeBlock();
    }
}

// The energies and the running sum are formed in the order and precision
// of loudestWindowStart, so ties and near-ties fall the same way.
void LoudestWindow::closeBlock() {
    float sum = 0.0f;
    for (const float x : m_open)
        sum += x * x;
    const size_t j = m_energy.size();
    m_energy.push_back(sum);
    auto block = std::make_shared<const std::vector<float>>(std::move(m_open));
    m_open = {};
    m_open.reserve(kBlockSamples);
    if (m_windowBlocks == 0)
        return;
    if (j < m_windowBlocks) {
        m_running += m_energy[j];
        m_bestSum = m_running;
        m_best.push_back(block);
        m_latest.push_back(std::move(block));
        return;
    }
    m_running = m_running + m_energy[j] - m_energy[j - m_windowBlocks];
    m_latest.pop_front();
    m_latest.push_back(std::move(block));
    if (m_running > m_bestSum) {
        m_bestSum = m_running;
        m_bestStartBlock = j - m_windowBlocks + 1;
        m_best.assign(m_latest.begin(), m_latest.end());
    }
}

LoudestWindow::Crop LoudestWindow::finish() {
    Crop crop;
    crop.totalSamples = m_total;
    // A signal no longer than the window is taken whole, its partial last
    // block with it; a longer one exactly as its best whole blocks (a window
    // of all blocks but a partial tail starts at 0 and leaves the tail).
    const bool whole = m_total <= m_windowBlocks * kBlockSamples;
    crop.startSamples = whole ? 0 : m_bestStartBlock * kBlockSamples;
    m_latest.clear();
    crop.samples.reserve(m_best.size() * kBlockSamples + (whole ? m_open.size() : 0));
    for (Block& block : m_best) {
        crop.samples.insert(crop.samples.end(), block->begin(), block->end());
        block.reset(); // frees it as soon as it is copied
    }
    if (whole)
        crop.samples.insert(crop.samples.end(), m_open.begin(), m_open.end());
    m_best.clear();
    m_open = {};
    m_energy = {};
    return crop;
}

} // namespace quorlen::detection
