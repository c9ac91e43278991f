#include "text/number_format.h"

#include "text/c_locale.h"

#include <cmath>
#include <cstdio>

namespace quorlen::text {

std::string format(const char* pattern, double value) {
    const CLocaleScope cNumbers;
    char buffer[64];
    const int length = std::snprintf(buffer, sizeof buffer, pattern, value);
    if (length < 0)
        return {};
    if (static_cast<size_t>(length) < sizeof buffer)
        return std::string(buffer, static_cast<size_t>(length));
    // Only huge values with many decimals get here; size the text exactly.
    std::string text(static_cast<size_t>(length), '\0');
    std::snprintf(text.data(), text.size() + 1, pattern, value);
    return text;
}

double roundHalfAway(double value) { return std::round(value); }

std::string compact(double value) {
    return format(value == roundHalfAway(value) ? "%.0f" : "%.1f", value);
}

} // namespace quorlen::text
