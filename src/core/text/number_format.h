#pragma once

#include <string>

namespace quorlen::text {

// printf-style formatting of one number ("%.1f", "%.2f ms"); the pattern is
// the display format, so values round the way printf rounds (31.25 -> "31.2").
// The decimal point is "." whatever locale the process runs in.
std::string format(const char* pattern, double value);

// Rounds halves away from zero, the rule for every explicit rounding step.
double roundHalfAway(double value);

// Whole numbers without decimals, anything else with one: 440 -> "440",
// 98.5 -> "98.5", 609.137 -> "609.1".
std::string compact(double value);

} // namespace quorlen::text
