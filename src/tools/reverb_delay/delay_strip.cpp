#include "tools/reverb_delay/delay_strip.h"

#include "state/calculator_state.h"
#include "tempo/delay_pick.h"
#include "tempo/reverb_times.h"
#include "tools/reverb_delay/space_tiles.h"
#include "ui/fonts.h"
#include "ui/scheme_label.h"

#include <QHBoxLayout>

namespace quorlen {

DelayStrip::DelayStrip(CalculatorState& state, const QColor& accent, QWidget* parent)
    : PremiumPanel(QStringLiteral("Delay Quick Picks"),
                   QStringLiteral("arrow.triangle.2.circlepath"), accent, parent),
      m_state(state) {
    setObjectName(QStringLiteral("delayStrip"));
    auto* row = new QHBoxLayout;
    row->setSpacing(8);
    for (const tempo::DelayPick& pick : tempo::delayPicks()) {
        auto* chip = new DelayChip(QString::fromUtf8(pick.label), accent, this);
        chip->setObjectName(QStringLiteral("delayChip ") + QString::fromUtf8(pick.label));
        row->addWidget(chip, 1);
        m_chips.append(chip);
    }
    contentLayout()->addLayout(row);
    contentLayout()->addWidget(new SchemeLabel(
        QStringLiteral("Slapback: 60–120 ms, not tempo-synced · dotted echoes groove against the "
                       "grid"),
        uiFont(11), SchemeLabel::Role::Secondary, this));

    connect(&state, &CalculatorState::bpmChanged, this, &DelayStrip::refresh);
    refresh();
}

void DelayStrip::refresh() {
    const double barMs = tempo::barMs(m_state.bpm());
    const auto picks = tempo::delayPicks();
    for (qsizetype i = 0; i < m_chips.size(); ++i)
        m_chips[i]->setMs(tempo::delayMs(barMs, picks[static_cast<size_t>(i)]));
}

} // namespace quorlen
