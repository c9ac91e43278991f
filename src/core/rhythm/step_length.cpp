#include "rhythm/step_length.h"

#include <algorithm>

namespace quorlen::Euclid {

double stepMilliseconds(double bpm, int note) {
    const double beatMs = bpm <= 20 ? 3000.0 : 60000.0 / std::min(bpm, 400.0);
    return beatMs * 4 / note;
}

double cycleMilliseconds(double bpm, int note, int steps) {
    return stepMilliseconds(bpm, note) * steps;
}

} // namespace quorlen::Euclid
