#pragma once

#include "ui/theme.h"

#include <QRectF>

class QPainter;

namespace quorlen {

// The ring every focusable kit control draws while it holds keyboard
// focus: 2 px, inset, in a colour that stands out from the surfaces of
// the current scheme (at least 3:1).
QColor focusRingColor(ColorScheme scheme);
void paintFocusRing(QPainter& painter, const QRectF& rect, double radius);

} // namespace quorlen
