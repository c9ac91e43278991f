#pragma once

#include "ui/copyable_value.h"

#include <QColor>

#include <optional>

namespace quorlen {

// One figure of a tool header: `value` is shown, `copy` (when present) goes
// to the clipboard instead.
struct Metric {
    QString label;
    QString value;
    QColor tint;
    std::optional<QString> copy;

    bool operator==(const Metric&) const = default;
};

// A small card with a label over a value that copies on click; its border
// takes the metric's tint while "Copied" shows.
class MetricTile : public CopyableValue {
    Q_OBJECT
public:
    static constexpr int kMinimumWidth = 126;

    explicit MetricTile(const Metric& metric = {}, QWidget* parent = nullptr);

    const Metric& metric() const { return m_metric; }
    void setMetric(const Metric& metric);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    // The paint device's own metric(), which the accessor above would hide.
    using CopyableValue::metric;
    void paintLabel(QPainter& painter, bool copied) override;

private:
    Metric m_metric;
};

} // namespace quorlen
