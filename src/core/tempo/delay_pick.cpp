#include "tempo/delay_pick.h"

#include <array>

namespace quorlen::tempo {
namespace {

constexpr std::array<DelayPick, 7> kPicks{{
    {"1/4", 0.25},
    {"1/8D", 0.1875},
    {"1/8", 0.125},
    {"1/8T", 1.0 / 12.0},
    {"1/16D", 0.09375},
    {"1/16", 0.0625},
    {"1/32", 0.03125},
}};

} // namespace

std::span<const DelayPick> delayPicks() { return kPicks; }

} // namespace quorlen::tempo
