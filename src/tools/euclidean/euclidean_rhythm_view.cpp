#include "tools/euclidean/euclidean_rhythm_view.h"

#include "rhythm/euclid.h"
#include "rhythm/step_length.h"
#include "state/calculator_state.h"
#include "text/number_format.h"
#include "tools/common/formatted.h"
#include "tools/euclidean/euclid_controls.h"
#include "tools/euclidean/euclid_playback.h"
#include "tools/euclidean/euclid_wheel.h"
#include "ui/formula_strip.h"
#include "ui/premium_panel.h"
#include "ui/theme.h"

#include <QHBoxLayout>
#include <QHideEvent>
#include <QVBoxLayout>

namespace quorlen {
EuclideanRhythmView::EuclideanRhythmView(CalculatorState& state, const QColor& accent,
                                         Synthesiser& synthesiser, QWidget* parent)
    : ToolScreen(QStringLiteral("Rhythm"), QStringLiteral("Euclidean Rhythms"),
                 QStringLiteral("circle.dotted"), accent, parent),
      m_state(state) {
    setObjectName(QStringLiteral("euclideanRhythmView"));
    m_playback = new EuclidPlayback(state, synthesiser, this);

    auto* row = new QWidget(this);
    auto* columns = new QHBoxLayout(row);
    columns->setContentsMargins(0, 0, 0, 0);
    columns->setSpacing(18);
    auto* wheelPanel = new PremiumPanel(QStringLiteral("Pattern Wheel"),
                                        QStringLiteral("circle.dotted"), accent, row);
    m_wheel = new EuclidWheel(accent, wheelPanel);
    m_wheel->setObjectName(QStringLiteral("euclidWheel"));
    wheelPanel->contentLayout()->addWidget(m_wheel, 0, Qt::AlignHCenter);
    wheelPanel->contentLayout()->addStretch(1);
    columns->addWidget(wheelPanel, 1, Qt::AlignTop);
    m_controls = new EuclidControls(state, accent, row);
    columns->addWidget(m_controls, 0, Qt::AlignTop);
    addSection(row);

    addSection(new FormulaStrip(
        QStringLiteral("E(k, n) spreads k hits as evenly as possible across n steps   ·   "
                       "Tresillo = E(3,8)   ·   Bembé = E(7,12)"),
        this));

    connect(m_controls, &EuclidControls::playToggled, m_playback, &EuclidPlayback::toggle);
    connect(&state, &CalculatorState::euclidStepsChanged, this,
            &EuclideanRhythmView::keepInputsConsistent);
    connect(&state, &CalculatorState::euclidNoteChanged, this,
            &EuclideanRhythmView::restartIfPlaying);
    for (auto signal : {&CalculatorState::euclidStepsChanged, &CalculatorState::euclidPulsesChanged,
                        &CalculatorState::euclidRotationChanged,
                        &CalculatorState::euclidNoteChanged, &CalculatorState::euclidPlayingChanged,
                        &CalculatorState::euclidStepChanged, &CalculatorState::bpmChanged})
        connect(&state, signal, this, &EuclideanRhythmView::refresh);
    refresh();
}

// The playback is a child and would stop during QObject's teardown, when
// this screen is half gone; stopping here makes the state's last writes
// while every view is whole. The playback skips them if the window's state
// is already gone (a screen deleted later than its window).
EuclideanRhythmView::~EuclideanRhythmView() { m_playback->stop(); }

std::vector<bool> EuclideanRhythmView::pattern() const {
    return rhythm::Euclid::pattern(m_state.euclidPulses(), m_state.euclidSteps(),
                                   m_state.euclidRotation());
}

double EuclideanRhythmView::stepMilliseconds() const {
    return rhythm::Euclid::stepMilliseconds(m_state.bpm(), m_state.euclidNote());
}

void EuclideanRhythmView::keepInputsConsistent() {
    const rhythm::Euclid::Inputs inputs = rhythm::Euclid::withSteps(
        {m_state.euclidSteps(), m_state.euclidPulses(), m_state.euclidRotation()},
        m_state.euclidSteps());
    m_state.setEuclidPulses(inputs.pulses);
    m_state.setEuclidRotation(inputs.rotation);
}

void EuclideanRhythmView::restartIfPlaying() {
    // A new note value restarts from step 0 with the new step length.
    if (m_state.euclidPlaying()) {
        m_playback->stop();
        m_playback->start();
    }
}

void EuclideanRhythmView::hideEvent(QHideEvent* event) {
    // A minimised window hides spontaneously and keeps playing; the screen
    // taken out of the window (another tool selected) does not.
    if (!event->spontaneous())
        m_playback->stop();
    ToolScreen::hideEvent(event);
}

void EuclideanRhythmView::refresh() {
    const int steps = m_state.euclidSteps();
    const int pulses = m_state.euclidPulses();
    const int note = m_state.euclidNote();
    const double stepMs = stepMilliseconds();
    const double cycleMs = stepMs * steps;
    const QString name = QStringLiteral("E(%1,%2)").arg(pulses).arg(steps);

    header()->setMetrics({
        {QStringLiteral("Pattern"), name, accent(), std::nullopt},
        {QStringLiteral("Step 1/%1").arg(note), formatted("%.0f ms", stepMs),
         QuorlenTheme::saffron(), formatted("%.1f", stepMs)},
        {QStringLiteral("Cycle"), formatted("%.0f ms", cycleMs), QuorlenTheme::teal(),
         formatted("%.0f", cycleMs)},
    });
    m_wheel->setContent(pattern(), m_state.euclidStep(), name,
                        QStringLiteral("1/%1 · ").arg(note) + formatted("%.1f ms", stepMs));
    m_controls->refresh();
}

} // namespace quorlen
