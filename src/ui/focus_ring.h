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

// On a control filled with `fill` (a prominent button) the ring alone may
// nearly match the fill; a second ring inside it, black or white, whichever
// stands out more (never under 4.5:1), separates the two.
QColor focusRingInnerColor(const QColor& fill);
void paintFocusRing(QPainter& painter, const QRectF& rect, double radius, const QColor& fill);

} // namespace quorlen
