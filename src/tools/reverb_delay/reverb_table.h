#pragma once

#include <QList>
#include <QWidget>

namespace quorlen {

class CalculatorState;
class ReverbRow;

// The five reverb presets at the shared tempo: a header row, a divider and
// one row per preset with its pre-delay, decay and total.
class ReverbTable : public QWidget {
    Q_OBJECT
public:
    ReverbTable(CalculatorState& state, const QColor& accent, QWidget* parent = nullptr);

    QList<ReverbRow*> rows() const { return m_rows; }

private:
    void refresh();

    CalculatorState& m_state;
    QList<ReverbRow*> m_rows;
};

} // namespace quorlen
