#include "text/typed_number.h"

#include "text/c_locale.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <string>

namespace quorlen::text {
namespace {

// A number too small for a double ("1e-400") is 0, as the field would take
// it; one too large is no number. from_chars reports both the same way, so
// strtod in the C locale tells them apart.
std::optional<double> underflowedToZero(const std::string& text) {
    if (cLocale() == locale_t{})
        return std::nullopt;
    const double value = strtod_l(text.c_str(), nullptr, cLocale());
    if (!std::isfinite(value))
        return std::nullopt;
    return std::copysign(0.0, value);
}

} // namespace

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
    if (end != last)
        return std::nullopt;
    if (error == std::errc::result_out_of_range)
        return underflowedToZero(normalized);
    if (error != std::errc{} || !std::isfinite(value))
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
