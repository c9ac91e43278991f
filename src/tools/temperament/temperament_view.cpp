#include "tools/temperament/temperament_view.h"

#include "audio/step_timer.h"
#include "audio/synthesiser.h"
#include "pitch/pitch_fields.h"
#include "pitch/tet_scale.h"
#include "state/calculator_state.h"
#include "text/number_format.h"
#include "tools/common/formatted.h"
#include "tools/temperament/scale_table.h"
#include "tools/temperament/tuning_lab.h"
#include "ui/formula_strip.h"
#include "ui/premium_panel.h"
#include "ui/theme.h"

#include <algorithm>
#include <cmath>

namespace quorlen {

TemperamentView::TemperamentView(CalculatorState& state, const QColor& accent,
                                 Synthesiser& synthesiser, QWidget* parent)
    : ToolScreen(QStringLiteral("Temperament"), QStringLiteral("Octave Divisions"),
                 QStringLiteral("dial.medium"), accent, parent),
      m_state(state), m_synthesiser(synthesiser), m_steps(new StepTimer(synthesiser, this)) {
    m_lab = new TuningLab(state, accent, this);
    addSection(m_lab);

    auto* tablePanel = new PremiumPanel(QStringLiteral("Scale Steps · click to audition"),
                                        QStringLiteral("tablecells"), accent, this);
    m_table = new ScaleTable(accent, tablePanel);
    tablePanel->addContent(m_table);
    addSection(tablePanel);
    addSection(new FormulaStrip(
        QStringLiteral("f(k) = f₀ × 2^(k/N)   ·   step = 1200/N ¢   ·   equal intervals are equal "
                       "ratios, not equal Hz   ·   click a row to hear it"),
        this));

    CalculatorState* const context = &state;
    connect(m_lab, &TuningLab::divisionsRequested, context,
            [this](int divisions) { changeDivisions(divisions); });
    connect(m_lab, &TuningLab::playToggled, context, [this] {
        if (m_state.tetPlaying())
            stopPlayback();
        else
            startPlayback();
    });
    // A row click plays its step; it neither moves the highlight nor stops
    // a running scale.
    connect(m_table, &ScaleTable::stepClicked, context,
            [this](int index) { playStep(index, Synthesiser::kAsap); });
    connect(this, &ToolScreen::disappearing, context, [this] {
        m_lab->commitReferenceText();
        stopPlayback();
    });

    connect(&state, &CalculatorState::tetDivisionsChanged, this, &TemperamentView::refresh);
    connect(&state, &CalculatorState::tetReferenceChanged, this, &TemperamentView::refresh);
    connect(&state, &CalculatorState::a4Changed, this, &TemperamentView::refresh);
    connect(&state, &CalculatorState::tetStepChanged, this,
            [this] { m_table->setPlayingStep(m_state.tetStep()); });
    refresh();
    m_table->setPlayingStep(state.tetStep());
}

// The timer dies with the screen; the shared flags must not say otherwise.
TemperamentView::~TemperamentView() {
    if (m_steps->isRunning())
        stopPlayback();
}

bool TemperamentView::isTimerRunning() const { return m_steps->isRunning(); }

void TemperamentView::refresh() {
    const int n = m_state.tetDivisions();
    const double stepCents = 1200.0 / n;
    const double stepRatio = std::pow(2.0, 1.0 / n);
    header()->setMetrics({
        {QStringLiteral("Scale"), QStringLiteral("%1-TET").arg(n), accent(), QString::number(n)},
        {QStringLiteral("Step"), formatted("%.1f ¢", stepCents), QuorlenTheme::saffron(),
         formatted("%.1f", stepCents)},
        {QStringLiteral("Step ratio"), formatted("×%.5f", stepRatio), QuorlenTheme::teal(),
         formatted("%.5f", stepRatio)},
    });
    m_table->setSteps(pitch::tetScale(m_state.tetReference(), n, m_state.a4()));
}

// Stepper and presets alike: stop, change N, and if the scale was playing,
// start it again from the reference with the new N.
void TemperamentView::changeDivisions(int divisions) {
    const bool wasPlaying = m_state.tetPlaying();
    stopPlayback();
    m_state.setTetDivisions(
        std::clamp(divisions, pitch::kMinTetDivisions, pitch::kMaxTetDivisions));
    if (wasPlaying)
        startPlayback();
}

void TemperamentView::startPlayback() {
    m_state.setTetPlaying(true);
    m_state.setTetStep(0);
    // Each step's tone is due on the audio clock; its row lights as it sounds.
    m_steps->start(
        kStepSeconds,
        [this](std::int64_t step, std::int64_t dueFrame) {
            playStep(step == 0 ? 0 : m_state.tetStep().value_or(0) + 1, dueFrame);
        },
        [this](std::int64_t) { advancePlayback(); });
}

void TemperamentView::advancePlayback() {
    const int next = m_state.tetStep().value_or(0) + 1;
    if (next > m_state.tetDivisions()) {
        stopPlayback();
        return;
    }
    m_state.setTetStep(next);
}

void TemperamentView::stopPlayback() {
    m_steps->stop();
    m_state.setTetPlaying(false);
    m_state.setTetStep(std::nullopt);
}

// Each tick recomputes the scale, so a reference changed mid-scale sounds
// from the next step on; an index past the end (N just shrank, or the
// octave has sounded) is silent.
void TemperamentView::playStep(int index, std::int64_t dueFrame) {
    const auto steps =
        pitch::tetScale(m_state.tetReference(), m_state.tetDivisions(), m_state.a4());
    if (index < 0 || index >= static_cast<int>(steps.size()))
        return;
    const synth::Partial tone{steps[static_cast<size_t>(index)].frequency, 1.0f};
    m_synthesiser.playPartials({&tone, 1}, dueFrame);
}

} // namespace quorlen
