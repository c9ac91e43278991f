#include "text/typed_number.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string>

namespace quorlen::text {

std::optional<double> parseTypedNumber(std::string_view text) {
    std::string normalized(text);
    std::replace(normalized.begin(), normalized.end(), ',', '.');

    // from_chars is locale-independent but takes no "+"; accept one sign.
    const char* first = normalized.data();
    const char* last = first + normalized.size();
    const bool plus = first != last && *first == '+';
    if (plus)
        ++first;
    if (first == last || *first == '+' || (plus && *first == '-'))
        return std::nullopt;

    double value = 0;
    const auto [end, error] = std::from_chars(first, last, value, std::chars_format::general);
    if (error != std::errc{} || end != last || !std::isfinite(value))
        return std::nullopt;
    return value;
}

double commitTypedNumber(std::string_view text, double current, NumberRange range) {
    const auto parsed = parseTypedNumber(text);
    if (!parsed)
        return current;
    return std::clamp(*parsed, range.min, range.max);
}

} // namespace quorlen::text
