#include "tools/harmonics/harmonic_series_view.h"

#include "audio/step_timer.h"
#include "audio/synthesiser.h"
#include "pitch/harmonic_series.h"
#include "state/calculator_state.h"
#include "text/number_format.h"
#include "tools/common/formatted.h"
#include "tools/harmonics/fundamental_panel.h"
#include "tools/harmonics/harmonic_bar.h"
#include "ui/fonts.h"
#include "ui/formula_strip.h"
#include "ui/premium_panel.h"
#include "ui/theme.h"

#include <QHBoxLayout>
#include <QLabel>

namespace quorlen {

HarmonicSeriesView::HarmonicSeriesView(CalculatorState& state, const QColor& accent,
                                       Synthesiser& synthesiser, QWidget* parent)
    : ToolScreen(QStringLiteral("Overtones"), QStringLiteral("Harmonic Series"),
                 QStringLiteral("waveform.path"), accent, parent),
      m_state(state), m_synthesiser(synthesiser), m_sweep(new StepTimer(synthesiser, this)) {
    m_panel = new FundamentalPanel(state, accent, this);
    addSection(m_panel);

    auto* spectrum = new PremiumPanel(QStringLiteral("Spectrum · click a bar to toggle & audition"),
                                      QStringLiteral("chart.bar.fill"), accent, this);
    auto* bars = new QHBoxLayout;
    bars->setSpacing(5);
    for (int n = 1; n <= kCount; ++n) {
        auto* bar = new HarmonicBar(accent, spectrum);
        bar->setObjectName(QStringLiteral("harmonic_%1").arg(n));
        connect(bar, &QAbstractButton::clicked, &state, [this, bar] { toggle(bar->harmonic()); });
        bars->addWidget(bar);
        m_bars.append(bar);
    }
    spectrum->contentLayout()->addLayout(bars);
    // A QLabel for the wrapping; its colour role follows the scheme's palette.
    auto* caption = new QLabel(
        QStringLiteral("Bar height = 1/n (sawtooth amplitude) · cents show the drift from 12-TET: "
                       "green = in tune, amber = noticeable, red = far off the grid · right-click "
                       "a bar to copy its Hz"),
        spectrum);
    caption->setFont(uiFont(11));
    caption->setForegroundRole(QPalette::PlaceholderText);
    caption->setWordWrap(true);
    spectrum->addContent(caption);
    addSection(spectrum);
    addSection(new FormulaStrip(QStringLiteral("fₙ = n × f₀   ·   4:5:6 = major triad   ·   7× "
                                               "lands 31¢ flat of the grid — the “blue” seventh"),
                                this));

    CalculatorState* const context = &state;
    connect(m_panel, &FundamentalPanel::sweepToggled, context, [this] {
        if (m_state.overtoneSweeping())
            stopSweep();
        else
            startSweep();
    });
    connect(m_panel, &FundamentalPanel::playRequested, context, [this] { playChord(); });
    connect(this, &ToolScreen::disappearing, context, [this] { stopSweep(); });

    connect(&state, &CalculatorState::a4Changed, this, &HarmonicSeriesView::refresh);
    connect(&state, &CalculatorState::overtonePitchClassChanged, this,
            &HarmonicSeriesView::refresh);
    connect(&state, &CalculatorState::overtoneOctaveChanged, this, &HarmonicSeriesView::refresh);
    connect(&state, &CalculatorState::overtonesEnabledChanged, this,
            &HarmonicSeriesView::refreshBarStates);
    connect(&state, &CalculatorState::overtoneStepChanged, this,
            &HarmonicSeriesView::refreshBarStates);
    refresh();
}

// The timer dies with the screen; the shared flags must not say otherwise.
HarmonicSeriesView::~HarmonicSeriesView() {
    if (m_sweep->isRunning())
        stopSweep();
}

bool HarmonicSeriesView::isTimerRunning() const { return m_sweep->isRunning(); }

void HarmonicSeriesView::playTone(double hz, std::int64_t dueFrame) {
    const synth::Partial tone{hz, 1.0f};
    m_synthesiser.playPartials({&tone, 1}, dueFrame);
}

double HarmonicSeriesView::fundamental() const {
    return pitch::overtoneFundamentalHz(m_state.overtonePitchClass(), m_state.overtoneOctave(),
                                        m_state.a4());
}

void HarmonicSeriesView::refresh() {
    const double f0 = fundamental();
    const auto harmonics = pitch::harmonicSeries(f0, m_state.a4(), kCount);
    const auto noteOf = [&](int n) {
        return QString::fromStdString(harmonics[static_cast<size_t>(n - 1)].noteName);
    };
    const auto hzOf = [&](int n) { return harmonics[static_cast<size_t>(n - 1)].frequency; };
    header()->setMetrics({
        {QStringLiteral("f₀ · ") + noteOf(1), formatted("%.2f Hz", f0), accent(),
         formatted("%.2f", f0)},
        {QStringLiteral("3× · ") + noteOf(3), formatted("%.1f Hz", hzOf(3)), QuorlenTheme::teal(),
         formatted("%.1f", hzOf(3))},
        {QStringLiteral("5× · ") + noteOf(5), formatted("%.1f Hz", hzOf(5)),
         QuorlenTheme::saffron(), formatted("%.1f", hzOf(5))},
    });
    m_panel->setFundamental(f0);
    for (int n = 1; n <= kCount; ++n)
        m_bars[n - 1]->setHarmonic(harmonics[static_cast<size_t>(n - 1)]);
    refreshBarStates();
}

void HarmonicSeriesView::refreshBarStates() {
    const std::set<int>& enabled = m_state.overtonesEnabled();
    for (HarmonicBar* bar : m_bars) {
        const int n = bar->harmonic().number;
        bar->setState(enabled.contains(n), m_state.overtoneStep() == n);
    }
}

void HarmonicSeriesView::startSweep() {
    m_state.setOvertoneSweeping(true);
    m_state.setOvertoneStep(1);
    // Harmonic n sounds at step n − 1 of the grid; past 16× nothing sounds.
    m_sweep->start(
        kSweepStepSeconds,
        [this](std::int64_t step, std::int64_t dueFrame) {
            const int n = step == 0 ? 1 : m_state.overtoneStep().value_or(0) + 1;
            if (n <= kCount)
                playTone(fundamental() * n, dueFrame);
        },
        [this](std::int64_t) { advanceSweep(); });
}

// The sweep plays all sixteen at full amplitude, whichever are enabled; a
// fundamental changed mid-sweep sounds from the next step on.
void HarmonicSeriesView::advanceSweep() {
    const int next = m_state.overtoneStep().value_or(0) + 1;
    if (next > kCount) {
        stopSweep();
        return;
    }
    m_state.setOvertoneStep(next);
}

void HarmonicSeriesView::stopSweep() {
    m_sweep->stop();
    m_state.setOvertoneSweeping(false);
    m_state.setOvertoneStep(std::nullopt);
}

// The sum of the enabled harmonics at sawtooth amplitudes 1/n.
void HarmonicSeriesView::playChord() {
    std::vector<synth::Partial> partials;
    for (const int n : m_state.overtonesEnabled())
        partials.push_back({fundamental() * n, 1.0f / static_cast<float>(n)});
    if (!partials.empty())
        m_synthesiser.playPartials(partials);
}

void HarmonicSeriesView::toggle(const pitch::Harmonic& harmonic) {
    std::set<int> enabled = m_state.overtonesEnabled();
    if (!enabled.erase(harmonic.number))
        enabled.insert(harmonic.number);
    m_state.setOvertonesEnabled(enabled);
    playTone(harmonic.frequency, Synthesiser::kAsap);
}

} // namespace quorlen
