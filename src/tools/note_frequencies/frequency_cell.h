#pragma once

#include "ui/copyable_value.h"

#include <QColor>

namespace quorlen {

// One copyable frequency of the matrix; the reference cell is bold on a
// tinted background.
class FrequencyCell : public CopyableValue {
    Q_OBJECT
public:
    FrequencyCell(bool isReference, const QColor& accent, QWidget* parent = nullptr);

    void setValueText(const QString& text);
    bool isReference() const { return m_reference; }

    QSize sizeHint() const override;

protected:
    void paintLabel(QPainter& painter, bool copied) override;

private:
    bool m_reference;
    QColor m_accent;
};

} // namespace quorlen
