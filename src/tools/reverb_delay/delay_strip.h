#pragma once

#include "ui/premium_panel.h"

#include <QList>

namespace quorlen {

class CalculatorState;
class DelayChip;

// "Delay Quick Picks": one copyable chip per tempo-synced delay time, and a
// note on the delays that are not synced.
class DelayStrip : public PremiumPanel {
    Q_OBJECT
public:
    DelayStrip(CalculatorState& state, const QColor& accent, QWidget* parent = nullptr);

    QList<DelayChip*> chips() const { return m_chips; }

private:
    void refresh();

    CalculatorState& m_state;
    QList<DelayChip*> m_chips;
};

} // namespace quorlen
