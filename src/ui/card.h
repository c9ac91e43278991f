#pragma once

#include <QColor>
#include <QRectF>

class QPainter;

namespace quorlen {

// The rounded surface shared by panels, tiles and the selected sidebar row:
// the scheme's surface colour with a 1 px inset border (the scheme's border
// unless `border` is valid).
void paintCard(QPainter& painter, const QRectF& rect, double radius, QColor border = {});

// The rounded, lighter fill of input boxes and formula strips.
void paintFieldBox(QPainter& painter, const QRectF& rect, double radius, QColor border = {});

} // namespace quorlen
