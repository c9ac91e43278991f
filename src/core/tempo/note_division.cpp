#include "tempo/note_division.h"

#include <array>

namespace quorlen::tempo {
namespace {

constexpr std::array<NoteDivision, 13> kAll{{
    {32, 1},
    {16, 1},
    {8, 1},
    {4, 1},
    {2, 1},
    {1, 1},
    {1, 2},
    {1, 4},
    {1, 8},
    {1, 16},
    {1, 32},
    {1, 64},
    {1, 128},
}};
constexpr size_t kMultipleCount = 5;

} // namespace

std::string NoteDivision::spokenName() const {
    if (denominator == 1)
        return numerator == 1 ? "whole note" : std::to_string(numerator) + " bars";
    if (numerator != 1)
        return id() + " note";
    switch (denominator) {
    case 2:
        return "half note";
    case 4:
        return "quarter note";
    case 8:
        return "eighth note";
    default:
        break;
    }
    // 16th, 32nd, 64th, 128th: English ordinals by the last digits.
    const int lastTwo = denominator % 100;
    const char* suffix = "th";
    if (lastTwo < 11 || lastTwo > 13) {
        if (denominator % 10 == 1)
            suffix = "st";
        else if (denominator % 10 == 2)
            suffix = "nd";
        else if (denominator % 10 == 3)
            suffix = "rd";
    }
    return std::to_string(denominator) + suffix + " note";
}

std::string NoteDivision::id() const {
    return std::to_string(numerator) + "/" + std::to_string(denominator);
}

namespace NoteDivisions {
std::span<const NoteDivision> multiples() { return std::span(kAll).first(kMultipleCount); }
std::span<const NoteDivision> subdivisions() { return std::span(kAll).subspan(kMultipleCount); }
std::span<const NoteDivision> all() { return kAll; }
} // namespace NoteDivisions

NoteLengths noteLengths(double bpm, NoteDivision division) {
    // A division A/B of a whole note lasts 4 x A / B beats.
    const double straightMs = beatMs(bpm) * (4.0 * division.numerator / division.denominator);
    return {
        .straightMs = straightMs,
        .dottedMs = straightMs * 1.5,
        .tripletMs = straightMs * 2.0 / 3.0,
        .hz = straightMs > 0 ? 1000.0 / straightMs : 0.0,
    };
}

TempoMetrics tempoMetrics(double bpm) {
    const double quarterMs = beatMs(bpm);
    const double sixteenthMs = quarterMs * 0.25;
    return {
        .quarterMs = quarterMs,
        .eighthDottedMs = quarterMs * 0.5 * 1.5,
        .sixteenthHz = sixteenthMs > 0 ? 1000.0 / sixteenthMs : 0.0,
    };
}

} // namespace quorlen::tempo
