#include "rhythm/step_length.h"

#include "tempo/note_division.h"
#include "tempo/tempo_field.h"

#include <algorithm>

namespace quorlen::rhythm::Euclid {

double stepMilliseconds(double bpm, int note) {
    using tempo::kControlBpmRange;
    return tempo::beatMs(std::clamp(bpm, kControlBpmRange.min, kControlBpmRange.max)) * 4 / note;
}

double cycleMilliseconds(double bpm, int note, int steps) {
    return stepMilliseconds(bpm, note) * steps;
}

} // namespace quorlen::rhythm::Euclid
