#pragma once

#include <string>

namespace quorlen::text {

// The two lines under the tool list: "A4 = 440 Hz" and "120 BPM = 500 ms".
// The beat length divides by max(bpm, 1) so a tiny tempo cannot blow it up.
std::string sidebarSummary(double a4Hz, double bpm);

} // namespace quorlen::text
