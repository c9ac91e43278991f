#pragma once

#include "ui/copyable_value.h"

#include <QColor>

namespace quorlen {

// A table value that copies on click: `display` is drawn, `copy` goes to the
// clipboard, "Copied" shows in the accent while the feedback lasts. Its
// colour is a role looked up at paint time, so a scheme switch recolours
// it at once.
class ValueCell : public CopyableValue {
    Q_OBJECT
public:
    enum class Tone { Primary, Muted };

    ValueCell(const QFont& font, Tone tone, const QColor& accent, QWidget* parent = nullptr);

    void setValue(const QString& display, const QString& copy);
    QString display() const { return m_display; }
    void setAlignment(Qt::Alignment alignment);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintLabel(QPainter& painter, bool copied) override;

private:
    QString m_display;
    Tone m_tone;
    QColor m_accent;
    Qt::Alignment m_alignment = Qt::AlignRight | Qt::AlignVCenter;
};

} // namespace quorlen
