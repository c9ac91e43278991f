#pragma once

#include "detection/failure.h"

#include <optional>
#include <span>
#include <vector>

namespace quorlen::detection {

// One tempo hypothesis (all BPM or envelope frames).
struct Candidate {
    double bpm = 0.0;
    double score = 0.0; // ranking value: prior * raw * alt
    double raw = 0.0;   // grid score, mean onset strength on the beat grid
    double phase = 0.0; // first beat of the grid, frames within one period
    double alt = 1.0;   // alternation ratio already raised to 1.2

    bool operator==(const Candidate&) const = default;
};

// Segment lengths in seconds of the coarse-to-fine search; nullopt is the
// whole envelope.
using Ladder = std::vector<std::optional<double>>;
const Ladder& analysisLadder(); // 4 s, 12 s, 40 s, whole
inline constexpr double kLadderSpan = 0.03;

// Scores 41 tempos over +-2.5 % of each proposal on 4 s segments and keeps
// the best of each, sorted by score (stable). `threads` only changes speed.
std::vector<Candidate> coarseRanking(std::span<const double> envelope, double fps,
                                     std::span<const double> tempos, int threads);

// Coarse-to-fine search around bpm0: 41 tempos over +-span on the first
// rung, then narrower ranges on longer segments, then a parabolic step.
// The alternation factor of the first rung's winner is kept for all later
// rungs, where long segments would blur it.
Candidate searchLadder(std::span<const double> envelope, double fps, double bpm0,
                       const Ladder& ladder, double span, int threads = 1);

// The refined candidates, best first, and the grid score of the best one
// more than 3 % away from the winner (0 when there is none).
struct TempoCandidates {
    std::vector<Candidate> refined;
    double secondRaw = 0.0;
};

// Refines up to four distinct (2 %) leaders of the coarse list, then the
// half and double of the winner. Polls cancellation before each leader.
TempoCandidates refineCandidates(std::span<const double> envelope, double fps,
                                 std::span<const Candidate> coarse, const CancelCheck& isCancelled,
                                 int threads);

} // namespace quorlen::detection
