#pragma once

#include <string>

namespace quorlen::detection {

// A detected tempo for display: rounded to two decimals (halves away from
// zero), then without decimals when whole ("120"), else "%.2f" ("127.93"),
// or "%.1f" in the short form ("127.9"; 63.96 reads "64.0").
std::string tempoText(double bpm, bool shortForm);

// "High" from 0.7, "Medium" from 0.45, else "Low", then " · " and the
// percentage rounded half away from zero: 0.82 -> "High · 82%".
std::string confidenceLabel(double confidence);

} // namespace quorlen::detection
