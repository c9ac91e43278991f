#pragma once

#include "text/number_format.h"

#include <QString>

#include <string_view>

namespace quorlen {

// A number in a printf pattern ("%.2f Hz"), as the core formats it for the
// command line too, so the screen and the terminal show the same digits.
inline QString formatted(const char* pattern, double value) {
    return QString::fromStdString(text::format(pattern, value));
}

// Text the core hands out (UTF-8, not necessarily terminated), as a QString.
inline QString qs(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

} // namespace quorlen
