#include "pitch/note_names.h"

#include <cmath>

namespace quorlen {

double noteFrequencyHz(int midi, double a4Hz) { return a4Hz * std::pow(2.0, (midi - 69) / 12.0); }

NearestNote nearestNote(double frequencyHz, double a4Hz) {
    const double m = 12.0 * std::log2(frequencyHz / a4Hz) + 69.0;
    const double rounded = std::round(m);
    // Frequencies in the tools' ranges give note numbers far inside int.
    const int n = static_cast<int>(rounded);
    const int pitchClass = ((n % 12) + 12) % 12;
    const int octave = n / 12 - 1; // quotient truncated toward zero
    return {n, std::string(NoteFrequency::names[static_cast<size_t>(pitchClass)]) +
                   std::to_string(octave),
            (m - rounded) * 100.0};
}

} // namespace quorlen

namespace quorlen {

CentsBand centsBand(double cents) {
    const double distance = std::abs(cents);
    if (distance < 5)
        return CentsBand::inTune;
    if (distance < 20)
        return CentsBand::noticeable;
    return CentsBand::farOff;
}

} // namespace quorlen
