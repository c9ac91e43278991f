#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace quorlen::detection {

// The crop that `loudestWindowStart` chooses, kept while a 22050 Hz signal
// arrives in pieces: the same start and the same samples, without holding
// the whole signal. Holds the latest window's whole seconds in a ring and
// the best window so far beside it (twice the window at most, once the
// signal is longer than the window): a block of the best window is copied
// out of the ring only when the ring is about to overwrite it.
class LoudestWindow {
public:
    // `windowSeconds` (at least 1) whole one-second blocks of 22050 samples;
    // `expectedSamples` is a hint of the signal's length (0 for none): with
    // it the ring is allocated once rather than grown.
    explicit LoudestWindow(size_t windowSeconds, size_t expectedSamples = 0);

    void push(std::span<const float> samples);

    struct Crop {
        std::vector<float> samples; // all of the signal when it is no longer than the window
        size_t startSamples = 0;    // a multiple of 22050
        size_t totalSamples = 0;    // the whole signal's length
    };
    // The crop of everything pushed; the keeper is empty afterwards.
    Crop finish();

private:
    void openBlock();
    void closeBlock();
    void saveSlot(size_t slot);

    size_t m_windowBlocks;
    std::vector<float> m_ring; // block j in slot j % m_windowBlocks
    std::vector<float> m_best; // best window's blocks by ring slot, those that m_saved marks
    std::vector<bool> m_saved;
    size_t m_inBlock = 0;         // samples of the open block so far
    size_t m_blocks = 0;          // whole blocks so far
    std::vector<double> m_energy; // of every whole block, single-precision sums
    double m_running = 0.0;
    double m_bestSum = 0.0;
    size_t m_bestStartBlock = 0;
    size_t m_total = 0;
};

} // namespace quorlen::detection
