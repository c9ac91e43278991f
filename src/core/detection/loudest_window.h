#pragma once

#include <cstddef>
#include <deque>
#include <memory>
#include <span>
#include <vector>

namespace quorlen::detection {

// The crop that `loudestWindowStart` chooses, kept while a 22050 Hz signal
// arrives in pieces: the same start and the same samples, without holding
// the whole signal. It holds the best window so far and the latest one
// (twice the window at most), one-second blocks shared between the two.
class LoudestWindow {
public:
    // `windowSeconds` whole one-second blocks of 22050 samples.
    explicit LoudestWindow(size_t windowSeconds);

    void push(std::span<const float> samples);

    struct Crop {
        std::vector<float> samples; // all of the signal when it is no longer than the window
        size_t startSamples = 0;    // a multiple of 22050
        size_t totalSamples = 0;    // the whole signal's length
    };
    // The crop of everything pushed; the keeper is empty afterwards.
    Crop finish();

private:
    using Block = std::shared_ptr<const std::vector<float>>;
    void closeBlock();

    size_t m_windowBlocks;
    std::vector<float> m_open;   // the block being filled
    std::vector<Block> m_best;   // blocks of the loudest window so far, in order
    std::deque<Block> m_latest;  // the last m_windowBlocks whole blocks
    std::vector<double> m_energy; // of every whole block, single-precision sums
    double m_running = 0.0;
    double m_bestSum = 0.0;
    size_t m_bestStartBlock = 0;
    size_t m_total = 0;
};

} // namespace quorlen::detection
