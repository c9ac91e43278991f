#include "pitch/note_names.h"

#include <cmath>

namespace quorlen::pitch {

double noteFrequencyHz(int midi, double a4Hz) { return a4Hz * std::pow(2.0, (midi - 69) / 12.0); }

NearestNote nearestNote(double frequencyHz, double a4Hz) {
    const double m = 12.0 * std::log2(frequencyHz / a4Hz) + 69.0;
    const double rounded = std::round(m);
    // Frequencies in the tools' ranges give note numbers far inside int.
    const int n = static_cast<int>(rounded);
    const int pitchClass = ((n % 12) + 12) % 12;
    const int octave = n / 12 - 1; // quotient truncated toward zero
    return {n,
            std::string(NoteFrequency::names[static_cast<size_t>(pitchClass)]) +
                std::to_string(octave),
            (m - rounded) * 100.0};
}

} // namespace quorlen::pitch

namespace quorlen::pitch {

CentsBand centsBand(double cents) {
    const double distance = std::abs(cents);
    if (distance < 5)
        return CentsBand::inTune;
    if (distance < 20)
        return CentsBand::noticeable;
    return CentsBand::farOff;
}

} // namespace quorlen::pitch

namespace quorlen::pitch {

std::optional<PitchName> parsePitchName(std::string_view text) {
    static constexpr int kNaturals[] = {9, 11, 0, 2, 4, 5, 7}; // A B C D E F G
    if (text.empty() || text.front() < 'A' || text.front() > 'G')
        return std::nullopt;
    int pitchClass = kNaturals[text.front() - 'A'];
    text.remove_prefix(1);
    int shift = 0;
    if (!text.empty() && (text.front() == '#' || text.front() == 'b')) {
        shift = text.front() == '#' ? 1 : -1;
        text.remove_prefix(1);
    }
    if (text.empty() || text.size() > 2)
        return std::nullopt;
    int octave = 0;
    for (const char digit : text) {
        if (digit < '0' || digit > '9')
            return std::nullopt;
        octave = octave * 10 + (digit - '0');
    }
    // B# and Cb cross into the neighbouring octave.
    const int midi = midiNote(pitchClass, octave) + shift;
    return PitchName{((midi % 12) + 12) % 12, midi / 12 - 1};
}

} // namespace quorlen::pitch
