#pragma once

#include "ui/copyable_value.h"

#include <QColor>

namespace quorlen {

// A custom-space result: a title over a large time. "Copied" takes the
// title's place while the feedback lasts; the emphasised tile (the decay)
// is bold and edged in the accent.
class ResultTile : public CopyableValue {
    Q_OBJECT
public:
    ResultTile(const QString& title, bool emphasized, const QColor& accent,
               QWidget* parent = nullptr);

    void setMs(double ms);
    QString display() const { return m_display; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintLabel(QPainter& painter, bool copied) override;

private:
    QString m_title;
    bool m_emphasized;
    QColor m_accent;
    QString m_display;
};

// A delay time: the note label over the time; "Copied" takes the label's
// place while the feedback lasts.
class DelayChip : public CopyableValue {
    Q_OBJECT
public:
    DelayChip(const QString& label, const QColor& accent, QWidget* parent = nullptr);

    void setMs(double ms);
    QString display() const { return m_display; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintLabel(QPainter& painter, bool copied) override;

private:
    QString m_label;
    QColor m_accent;
    QString m_display;
};

} // namespace quorlen
