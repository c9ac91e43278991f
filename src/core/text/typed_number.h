#pragma once

#include <optional>
#include <string_view>

namespace quorlen::text {

// The whole text as a C-locale decimal, with "," accepted for ".": an
// optional sign, digits, a point, an exponent, and nothing else (no blanks,
// no trailing characters, no hex). Numbers too large for a double count as
// no number; numbers too small for one are 0.
std::optional<double> parseTypedNumber(std::string_view text);

struct NumberRange {
    double min;
    double max;
};

// What a typed field stores when its text is committed: the parsed value
// clamped to the range, or `current` unchanged when the text is no number.
// The caller then rewrites the text from the returned value.
double commitTypedNumber(std::string_view text, double current, NumberRange range);

} // namespace quorlen::text
