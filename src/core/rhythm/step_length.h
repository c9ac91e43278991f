#pragma once

namespace quorlen::rhythm::Euclid {

// One step of the pattern in ms for a note value of 1/`note` (4, 8 or 16):
// beat × 4 / note, with beat = 60000 / min(bpm, 400) ms, or 3000 ms at or
// below 20 BPM. 120 BPM in sixteenths gives 125 ms.
double stepMilliseconds(double bpm, int note);

// The whole cycle of `steps` steps, in ms.
double cycleMilliseconds(double bpm, int note, int steps);

} // namespace quorlen::rhythm::Euclid
