#pragma once

#include "text/number_format.h"

#include <QString>

namespace quorlen {

// Every time in this tool shows and copies with one decimal: the copy is
// the bare number, the display adds the unit.
inline QString spaceCopyText(double ms) {
    return QString::fromStdString(text::format("%.1f", ms));
}
inline QString spaceDisplayText(double ms) {
    return QString::fromStdString(text::format("%.1f ms", ms));
}

} // namespace quorlen
