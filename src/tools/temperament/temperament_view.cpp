#include "tools/temperament/temperament_view.h"

#include "audio/chord_player.h"
#include "pitch/pitch_fields.h"
#include "pitch/tet_scale.h"
#include "state/calculator_state.h"
#include "text/number_format.h"
#include "tools/temperament/scale_table.h"
#include "tools/temperament/tuning_lab.h"
#include "ui/formula_strip.h"
#include "ui/premium_panel.h"
#include "ui/theme.h"

#include <algorithm>
#include <cmath>

namespace quorlen {
namespace {

QString formatted(const char* pattern, double value) {
    return QString::fromStdString(text::format(pattern, value));
}

} // namespace

TemperamentView::TemperamentView(CalculatorState& state, const QColor& accent, QWidget* parent)
    : ToolScreen(QStringLiteral("Temperament"), QStringLiteral("Octave Divisions"),
                 QStringLiteral("dial.medium"), accent, parent),
      m_state(state) {
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

    m_playTimer.setTimerType(Qt::PreciseTimer);
    m_playTimer.setInterval(kStepIntervalMs);
    connect(&m_playTimer, &QTimer::timeout, this, &TemperamentView::advancePlayback);

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
    connect(m_table, &ScaleTable::stepClicked, context, [this](int index) { playStep(index); });
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
    if (m_playTimer.isActive())
        stopPlayback();
}

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
    m_table->setSteps(tetScale(m_state.tetReference(), n, m_state.a4()));
}

// Stepper and presets alike: stop, change N, and if the scale was playing,
// start it again from the reference with the new N.
void TemperamentView::changeDivisions(int divisions) {
    const bool wasPlaying = m_state.tetPlaying();
    stopPlayback();
    m_state.setTetDivisions(std::clamp(divisions, kMinTetDivisions, kMaxTetDivisions));
    if (wasPlaying)
        startPlayback();
}

void TemperamentView::startPlayback() {
    m_state.setTetPlaying(true);
    m_state.setTetStep(0);
    playStep(0);
    m_playTimer.start();
}

void TemperamentView::advancePlayback() {
    const int next = m_state.tetStep().value_or(0) + 1;
    if (next > m_state.tetDivisions()) {
        stopPlayback();
        return;
    }
    m_state.setTetStep(next);
    playStep(next);
}

void TemperamentView::stopPlayback() {
    m_playTimer.stop();
    m_state.setTetPlaying(false);
    m_state.setTetStep(std::nullopt);
}

// Each tick recomputes the scale, so a reference changed mid-scale sounds
// from the next step on; an index past the end (N just shrank) is silent.
void TemperamentView::playStep(int index) {
    const auto steps = tetScale(m_state.tetReference(), m_state.tetDivisions(), m_state.a4());
    if (index < 0 || index >= static_cast<int>(steps.size()))
        return;
    const synth::Partial tone{steps[static_cast<size_t>(index)].frequency, 1.0f};
    ChordPlayer::shared().playPartials({&tone, 1});
}

} // namespace quorlen
