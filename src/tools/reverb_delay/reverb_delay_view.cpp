#include "tools/reverb_delay/reverb_delay_view.h"

#include "state/calculator_state.h"
#include "tempo/reverb_times.h"
#include "tools/reverb_delay/custom_space_panel.h"
#include "tools/reverb_delay/delay_strip.h"
#include "tools/reverb_delay/reverb_table.h"
#include "tools/reverb_delay/space_text.h"
#include "ui/formula_strip.h"
#include "ui/premium_panel.h"
#include "ui/theme.h"

namespace quorlen {

ReverbDelayView::ReverbDelayView(CalculatorState& state, const QColor& accent, QWidget* parent)
    : ToolScreen(QStringLiteral("Space"), QStringLiteral("Reverb & Delay Times"),
                 QStringLiteral("water.waves"), accent, parent),
      m_state(state) {
    setObjectName(QStringLiteral("reverbDelayView"));
    auto* reverbPanel = new PremiumPanel(QStringLiteral("Reverb Times"),
                                         QStringLiteral("water.waves"), accent, this);
    m_table = new ReverbTable(state, accent, reverbPanel);
    reverbPanel->addContent(m_table);
    addSection(reverbPanel);

    m_custom = new CustomSpacePanel(state, accent, this);
    addSection(m_custom);
    m_delays = new DelayStrip(state, accent, this);
    addSection(m_delays);

    addSection(
        new FormulaStrip(QStringLiteral("bar = 240000 / BPM   ·   pre-delay = bar / N   ·   "
                                        "decay = total − pre-delay   ·   click a value to copy"),
                         this));

    connect(&state, &CalculatorState::bpmChanged, this, &ReverbDelayView::refreshMetrics);
    refreshMetrics();
}

void ReverbDelayView::refreshMetrics() {
    const double barMs = tempo::barMs(m_state.bpm());
    auto metric = [](const QString& label, double ms, const QColor& tint) {
        return ToolHeader::Metric{label, spaceDisplayText(ms), tint, spaceCopyText(ms)};
    };
    header()->setMetrics({
        metric(QStringLiteral("Bar"), barMs, accent()),
        metric(QStringLiteral("Beat"), barMs * 0.25, QuorlenTheme::saffron()),
        metric(QStringLiteral("Pre 1/64"), barMs / 64, QuorlenTheme::teal()),
    });
}

} // namespace quorlen
