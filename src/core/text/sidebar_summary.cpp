#include "text/sidebar_summary.h"

#include "text/number_format.h"

#include <algorithm>

namespace quorlen::text {

std::string sidebarSummary(double a4Hz, double bpm) {
    const double beatMs = 60000.0 / std::max(bpm, 1.0);
    return "A4 = " + compact(a4Hz) + " Hz\n" + compact(bpm) + " BPM = " + compact(beatMs) + " ms";
}

} // namespace quorlen::text
