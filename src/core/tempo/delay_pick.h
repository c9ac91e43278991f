#pragma once

#include <span>

namespace quorlen::tempo {

// A tempo-synced delay time: a note value as a fraction of a 4/4 bar.
struct DelayPick {
    const char* label; // "1/4", "1/8D" (dotted), "1/8T" (triplet)
    double barFraction;
};

// Seven picks from a quarter down to a thirty-second, the dotted and
// triplet eighths beside the straight one.
std::span<const DelayPick> delayPicks();

inline double delayMs(double barMs, const DelayPick& pick) { return barMs * pick.barFraction; }

} // namespace quorlen::tempo
