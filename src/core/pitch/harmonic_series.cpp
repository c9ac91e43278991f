#include "pitch/harmonic_series.h"

#include "pitch/note_names.h"

namespace quorlen::pitch {

std::vector<Harmonic> harmonicSeries(double fundamental, double a4, int count) {
    std::vector<Harmonic> harmonics;
    harmonics.reserve(static_cast<size_t>(count > 0 ? count : 0));
    for (int n = 1; n <= count; ++n) {
        const double frequency = n * fundamental;
        NearestNote nearest = nearestNote(frequency, a4);
        harmonics.push_back({n, frequency, std::move(nearest.name), nearest.cents});
    }
    return harmonics;
}

double overtoneFundamentalHz(int pitchClass, int octave, double a4) {
    return noteFrequencyHz(midiNote(pitchClass, octave), a4);
}

} // namespace quorlen::pitch
