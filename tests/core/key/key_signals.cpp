#include "key_signals.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace quorlen::key::testing {

std::vector<float> chordSequence(const Chords& chords) {
    const double rate = chords.rateHz;
    const auto chordSamples = static_cast<size_t>(chords.secondsPerChord * rate);
    const size_t strikeSamples = chordSamples / static_cast<size_t>(chords.strikesPerChord);
    const size_t total = chordSamples * chords.notes.size() * static_cast<size_t>(chords.repeats);
    std::vector<double> mix(total, 0.0);
    const double a4 = 440.0 * std::exp2(chords.cents / 1200.0);
    for (size_t c = 0; c < chords.notes.size() * static_cast<size_t>(chords.repeats); ++c) {
        for (const int note : chords.notes[c % chords.notes.size()]) {
            const double hz = a4 * std::exp2((note - 69) / 12.0);
            for (size_t i = 0; i < chordSamples; ++i) {
                const double sinceStrike = double(i % strikeSamples) / rate;
                const double envelope =
                    std::min(1.0, sinceStrike / 0.005) * std::exp(-sinceStrike / 0.6);
                const double t = double(c * chordSamples + i) / rate;
                double tone = 0.0;
                double amplitude = 1.0;
                for (int h = 1; h <= 6; ++h, amplitude *= 0.5)
                    if (h * hz < rate / 2)
                        tone += amplitude * std::sin(2.0 * std::numbers::pi * h * hz * t);
                mix[c * chordSamples + i] += envelope * tone;
            }
        }
    }
    double peak = 0.0;
    for (const double v : mix)
        peak = std::max(peak, std::abs(v));
    std::vector<float> out(total);
    for (size_t i = 0; i < total; ++i)
        out[i] = static_cast<float>(peak > 0.0 ? 0.5 * mix[i] / peak : 0.0);
    return out;
}

Chords cMajorCadence() {
    Chords c;
    c.notes = {{48, 60, 64, 67}, {41, 60, 65, 69}, {43, 59, 62, 67}, {48, 60, 64, 67}};
    return c;
}

Chords aMinorCadence() {
    Chords c;
    c.notes = {{45, 57, 60, 64}, {38, 57, 62, 65}, {40, 56, 59, 64}, {45, 57, 60, 64}};
    return c;
}

} // namespace quorlen::key::testing
