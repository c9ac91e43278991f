#include "tags/tag_values.h"

#include "text/number_format.h"

#include <charconv>
#include <cmath>

namespace quorlen::tags {

int wholeBpm(double bpm) { return static_cast<int>(text::roundHalfAway(bpm)); }

std::string decimalBpmText(double bpm) {
    std::string written = text::format("%.2f", text::roundHalfAway(bpm * 100) / 100);
    while (written.back() == '0')
        written.pop_back();
    if (written.back() == '.')
        written.pop_back();
    return written;
}

bool isKeySpelling(std::string_view key) {
    if (key.empty() || key.front() < 'A' || key.front() > 'G')
        return false;
    key.remove_prefix(1);
    if (!key.empty() && (key.front() == '#' || key.front() == 'b'))
        key.remove_prefix(1);
    if (!key.empty() && key.front() == 'm')
        key.remove_prefix(1);
    return key.empty();
}

std::optional<double> bpmFromTagText(std::string_view text) {
    const auto first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos)
        return std::nullopt;
    text = text.substr(first, text.find_last_not_of(" \t") + 1 - first);
    std::string number(text);
    if (const auto comma = number.find(','); comma != std::string::npos)
        number[comma] = '.';
    double value = 0;
    const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), value);
    if (error != std::errc() || end != number.data() + number.size() || !std::isfinite(value) ||
        value <= 0)
        return std::nullopt;
    return value;
}

} // namespace quorlen::tags
