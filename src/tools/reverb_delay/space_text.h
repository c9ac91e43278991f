#pragma once

#include "text/number_format.h"
#include "tools/common/formatted.h"

#include <QString>

namespace quorlen {

// Every time in this tool shows and copies with one decimal: the copy is
// the bare number, the display adds the unit.
inline QString spaceCopyText(double ms) { return formatted("%.1f", ms); }
inline QString spaceDisplayText(double ms) { return formatted("%.1f ms", ms); }

} // namespace quorlen
