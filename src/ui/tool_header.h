#pragma once

#include "ui/metric_tile.h"

#include <QList>
#include <QWidget>

class QHBoxLayout;

namespace quorlen {

// The top of every tool screen: a capitalised eyebrow with the tool's
// symbol, a large one-line title, and a row of copyable metric tiles.
class ToolHeader : public QWidget {
    Q_OBJECT
public:
    using Metric = quorlen::Metric;

    ToolHeader(const QString& eyebrow, const QString& title, const QString& symbol,
               const QColor& tint, QWidget* parent = nullptr);

    // Tiles are reused when the count is unchanged, so a tile showing
    // "Copied" keeps doing so while its value updates.
    void setMetrics(const QList<Metric>& metrics);
    QList<MetricTile*> tiles() const { return m_tiles; }

private:
    QHBoxLayout* m_metricRow;
    QList<MetricTile*> m_tiles;
};

} // namespace quorlen
