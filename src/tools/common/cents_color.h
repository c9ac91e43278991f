#pragma once

#include "pitch/note_names.h"

#include <QColor>

namespace quorlen {

// Green in tune, amber noticeable, red far off the 12-TET grid.
QColor centsColor(double cents);

} // namespace quorlen
