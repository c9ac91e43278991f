#pragma once

#include <span>
#include <string>

namespace quorlen::tempo {

// One beat is a quarter note: its length in ms at `bpm`, 0 for no tempo.
constexpr double beatMs(double bpm) { return bpm > 0 ? 60000.0 / bpm : 0.0; }

// A note value as a fraction of a whole note (one 4/4 bar): 1/4 is a
// quarter, 8/1 is eight bars.
struct NoteDivision {
    int numerator;
    int denominator;

    // "1/4", "32/1": the name shown in the table and used as its key.
    std::string id() const;
    // What a screen reader says for it: "quarter note", "16th note", "whole
    // note", "8 bars"; a fraction as "3/8 note".
    std::string spokenName() const;
    bool operator==(const NoteDivision&) const = default;
};

// The divisions the tempo table shows, longest first.
namespace NoteDivisions {
// 32/1 down to 2/1.
std::span<const NoteDivision> multiples();
// 1/1 down to 1/128.
std::span<const NoteDivision> subdivisions();
// multiples() then subdivisions(): thirteen rows.
std::span<const NoteDivision> all();
} // namespace NoteDivisions

// One division at one tempo. Everything is 0 for a tempo <= 0, so a
// half-typed field can never divide by zero.
struct NoteLengths {
    double straightMs;
    double dottedMs;  // straight x 1.5
    double tripletMs; // straight x 2/3
    double hz;        // repetitions per second of the straight note
};

NoteLengths noteLengths(double bpm, NoteDivision division);

// The three figures above the tempo table.
struct TempoMetrics {
    double quarterMs;
    double eighthDottedMs;
    double sixteenthHz;
};

TempoMetrics tempoMetrics(double bpm);

} // namespace quorlen::tempo
