#pragma once

#include "text/number_format.h"

#include <QString>

namespace quorlen {

// A number in a printf pattern ("%.2f Hz"), as the core formats it for the
// command line too, so the screen and the terminal show the same digits.
inline QString formatted(const char* pattern, double value) {
    return QString::fromStdString(text::format(pattern, value));
}

} // namespace quorlen
