#include "tools/tempo/tempo_view.h"

#include "state/calculator_state.h"
#include "tempo/note_division.h"
#include "tempo/tempo_field.h"
#include "tempo_detection/tempo_detect_panel.h"
#include "tools/tempo/subdivision_matrix.h"
#include "tools/tempo/tempo_controls.h"
#include "ui/formula_strip.h"
#include "ui/premium_panel.h"
#include "ui/theme.h"

namespace quorlen {

TempoView::TempoView(CalculatorState& state, TempoDetectModel& detection, const QColor& accent,
                     QWidget* parent)
    : ToolScreen(QStringLiteral("Tempo"), QStringLiteral("BPM to Milliseconds"),
                 QStringLiteral("metronome"), accent, parent),
      m_state(state) {
    setObjectName(QStringLiteral("tempoView"));
    m_controls = new TempoControls(state, accent, this);
    addSection(m_controls);
    m_detectPanel = new TempoDetectPanel(state, detection, this);
    addSection(m_detectPanel);
    // Leaving the tool stops the preview; the analysis goes on.
    connect(this, &ToolScreen::disappearing, m_detectPanel, &TempoDetectPanel::leave);

    auto* matrixPanel = new PremiumPanel(QStringLiteral("Subdivision Matrix"),
                                         QStringLiteral("tablecells"), accent, this);
    m_matrix = new SubdivisionMatrix(state, tempo::NoteDivisions::all(), accent, matrixPanel);
    matrixPanel->addContent(m_matrix);
    addSection(matrixPanel);

    addSection(
        new FormulaStrip(QStringLiteral("Straight = 60000 / BPM × 4 × A/B   ·   Dotted × 1.5   ·   "
                                        "Triplet × 2/3   ·   click a value to copy"),
                         this));

    connect(&state, &CalculatorState::bpmChanged, this, &TempoView::refreshMetrics);
    refreshMetrics();
}

void TempoView::analyse(const QString& path) { m_detectPanel->analyse(path); }

void TempoView::refreshMetrics() {
    const tempo::TempoMetrics metrics = tempo::tempoMetrics(m_state.bpm());
    const QString quarter = QString::fromStdString(tempo::msText(metrics.quarterMs));
    const QString eighthDotted = QString::fromStdString(tempo::msText(metrics.eighthDottedMs));
    const QString sixteenthHz = QString::fromStdString(tempo::msText(metrics.sixteenthHz));
    header()->setMetrics({
        {QStringLiteral("Quarter"), quarter + QStringLiteral(" ms"), accent(), quarter},
        {QStringLiteral("1/8 dotted"), eighthDotted + QStringLiteral(" ms"),
         QuorlenTheme::lacquer(), eighthDotted},
        {QStringLiteral("1/16 Hz"), sixteenthHz, QuorlenTheme::teal(), std::nullopt},
    });
}

} // namespace quorlen
