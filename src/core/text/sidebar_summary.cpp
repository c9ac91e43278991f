#include "text/sidebar_summary.h"

#include "tempo/note_division.h"
#include "text/number_format.h"

#include <algorithm>

namespace quorlen::text {

std::string sidebarSummary(double a4Hz, double bpm) {
    const double beatMs = tempo::beatMs(std::max(bpm, 1.0));
    return "A4 = " + compact(a4Hz) + " Hz\n" + compact(bpm) + " BPM = " + compact(beatMs) + " ms";
}

} // namespace quorlen::text
