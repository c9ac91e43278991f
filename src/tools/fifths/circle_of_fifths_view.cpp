#include "tools/fifths/circle_of_fifths_view.h"

#include "audio/step_timer.h"
#include "audio/synthesiser.h"
#include "harmony/progression.h"
#include "state/calculator_state.h"
#include "tools/common/formatted.h"
#include "tools/fifths/fifths_wheel.h"
#include "tools/fifths/key_detail_panel.h"
#include "tools/fifths/progression_panel.h"
#include "ui/formula_strip.h"
#include "ui/premium_panel.h"
#include "ui/theme.h"

#include <QHBoxLayout>

namespace quorlen {

using harmony::clipboardSpelling;
using harmony::KeySelection;
using harmony::KeySlot;
using harmony::nextProgressionStep;
using harmony::progressionStepSeconds;
using harmony::TriadQuality;

namespace {

QString spelled(std::string_view text) { return QString::fromStdString(clipboardSpelling(text)); }

} // namespace

CircleOfFifthsView::CircleOfFifthsView(CalculatorState& state, const QColor& accent,
                                       KeySelection selection, Synthesiser& synthesiser,
                                       QWidget* parent)
    : ToolScreen(QStringLiteral("Harmony"), QStringLiteral("Circle of Fifths"),
                 QStringLiteral("smallcircle.filled.circle"), accent, parent),
      m_state(state), m_selection{harmony::CircleOfFifths::wrappedIndex(selection.index),
                                  selection.isMinor},
      m_synthesiser(synthesiser), m_steps(new StepTimer(synthesiser, this)) {
    auto* wheelPanel =
        new PremiumPanel(QStringLiteral("Key Wheel"), QStringLiteral("dial.medium"), accent, this);
    m_wheel = new FifthsWheel(accent, wheelPanel);
    wheelPanel->contentLayout()->addWidget(m_wheel, 0, Qt::AlignHCenter);
    m_details = new KeyDetailPanel(accent, this);
    auto* row = new QWidget(this);
    auto* rowLayout = new QHBoxLayout(row);
    rowLayout->setContentsMargins(0, 0, 0, 0);
    rowLayout->setSpacing(14);
    // The wheel's card takes the width the details leave, so the row is as
    // wide as the panels below it; the wheel shrinks with narrow windows
    // and stays centred in its card.
    rowLayout->addWidget(wheelPanel, 1, Qt::AlignTop);
    rowLayout->addWidget(m_details, 0, Qt::AlignTop);
    addSection(row);

    m_progression = new ProgressionPanel(accent, this);
    addSection(m_progression);
    addSection(new FormulaStrip(
        QStringLiteral("Clockwise = +1♯ (dominant)   ·   Counter-clockwise = +1♭ (subdominant)   "
                       "·   Inner ring = relative minor"),
        this));

    CalculatorState* const context = &state;
    connect(m_wheel, &FifthsWheel::segmentClicked, context,
            [this](int index, bool minor) { selectKey(index, minor); });
    connect(m_details, &KeyDetailPanel::chordTapped, context,
            [this](int degree) { tapDegree(degree); });
    connect(m_progression, &ProgressionPanel::degreeTapped, context,
            [this](int degree) { tapDegree(degree); });
    connect(m_progression, &ProgressionPanel::stepRemoved, context,
            [this](int step) { removeStep(step); });
    connect(m_progression, &ProgressionPanel::toggleRequested, context,
            [this] { togglePlayback(); });
    connect(m_progression, &ProgressionPanel::clearRequested, context,
            [this] { clearProgression(); });
    // A preset replaces the loop and leaves the player as it is.
    connect(m_progression, &ProgressionPanel::presetChosen, context,
            [this](const std::vector<int>& degrees) { m_state.setProgression(degrees); });
    connect(this, &ToolScreen::disappearing, context, [this] { stopPlayback(); });

    connect(&state, &CalculatorState::progressionChanged, this,
            &CircleOfFifthsView::showProgression);
    connect(&state, &CalculatorState::progressionPlayingChanged, this,
            &CircleOfFifthsView::showProgression);
    connect(&state, &CalculatorState::playingStepChanged, this,
            &CircleOfFifthsView::showProgression);
    connect(&state, &CalculatorState::bpmChanged, this,
            [this] { m_progression->setBpm(m_state.bpm()); });
    showSelection();
    showProgression();
    m_progression->setBpm(state.bpm());
}

// The timer dies with the screen; the shared flags must not say otherwise.
CircleOfFifthsView::~CircleOfFifthsView() {
    if (m_steps->isRunning())
        stopPlayback();
}

bool CircleOfFifthsView::isTimerRunning() const { return m_steps->isRunning(); }

double CircleOfFifthsView::stepSeconds() const { return m_steps->stepSeconds(); }

void CircleOfFifthsView::selectKey(int index, bool minor) {
    const KeySelection selection{harmony::CircleOfFifths::wrappedIndex(index), minor};
    if (selection != m_selection) {
        m_selection = selection;
        showSelection();
        emit selectionChanged(selection.index, selection.isMinor);
    }
    playTonic(selection.index, selection.isMinor);
}

void CircleOfFifthsView::playTonic(int index, bool minor) {
    const KeySelection key{harmony::CircleOfFifths::wrappedIndex(index), minor};
    m_synthesiser.playTriad(key.rootFrequency(0, m_state.a4()),
                            minor ? TriadQuality::minor : TriadQuality::major);
}

// The root comes from the key selected now, so a key change mid-loop
// sounds from the next chord on.
void CircleOfFifthsView::playDegree(int degree, std::int64_t dueFrame) {
    m_synthesiser.playTriad(m_selection.rootFrequency(degree, m_state.a4()),
                            m_selection.triadQuality(degree), dueFrame);
}

void CircleOfFifthsView::playDegree(int degree) { playDegree(degree, Synthesiser::kAsap); }

void CircleOfFifthsView::tapDegree(int degree) {
    std::vector<int> progression = m_state.progression();
    progression.push_back(degree);
    m_state.setProgression(progression);
    playDegree(degree);
}

void CircleOfFifthsView::startPlayback() {
    const std::vector<int>& progression = m_state.progression();
    if (progression.empty())
        return;
    m_state.setProgressionPlaying(true);
    m_state.setPlayingStep(0);
    // Fixed at the start: a tempo change takes effect at the next start.
    // Each chord is due on the audio clock; the chip lights as it sounds.
    m_steps->start(
        progressionStepSeconds(m_state.bpm()),
        [this](std::int64_t step, std::int64_t dueFrame) {
            const std::vector<int>& loop = m_state.progression();
            if (loop.empty())
                return;
            const int next = step == 0 ? 0
                                       : nextProgressionStep(m_state.playingStep(),
                                                             static_cast<int>(loop.size()));
            playDegree(loop[static_cast<size_t>(next)], dueFrame);
        },
        [this](std::int64_t) { advancePlayback(); });
}

void CircleOfFifthsView::advancePlayback() {
    const std::vector<int>& progression = m_state.progression();
    if (progression.empty()) {
        stopPlayback();
        return;
    }
    const int next =
        nextProgressionStep(m_state.playingStep(), static_cast<int>(progression.size()));
    m_state.setPlayingStep(next);
}

void CircleOfFifthsView::stopPlayback() {
    m_steps->stop();
    m_state.setProgressionPlaying(false);
    m_state.setPlayingStep(std::nullopt);
}

// The playing step is left as it is: the next firing continues from it
// modulo the new length.
void CircleOfFifthsView::removeStep(int step) {
    std::vector<int> progression = m_state.progression();
    if (step < 0 || step >= static_cast<int>(progression.size()))
        return;
    progression.erase(progression.begin() + step);
    m_state.setProgression(progression);
    if (progression.empty())
        stopPlayback();
}

void CircleOfFifthsView::togglePlayback() {
    if (m_state.progressionPlaying())
        stopPlayback();
    else
        startPlayback();
}

void CircleOfFifthsView::clearProgression() {
    stopPlayback();
    m_state.setProgression({});
}

void CircleOfFifthsView::showSelection() {
    const KeySlot& slot = m_selection.slot();
    const std::string_view name = m_selection.shortName();
    const std::string signature = harmony::CircleOfFifths::signatureText(slot.accidentals);
    const std::string_view relative = m_selection.relative().shortName();
    header()->setMetrics({
        {QStringLiteral("Key"), qs(name), accent(), spelled(name)},
        {QStringLiteral("Signature"), QString::fromStdString(signature), QuorlenTheme::saffron(),
         spelled(signature)},
        {QStringLiteral("Relative"), qs(relative), QuorlenTheme::teal(), spelled(relative)},
    });
    m_wheel->setSelection(m_selection);
    m_details->setSelection(m_selection);
    m_progression->setSelection(m_selection);
}

void CircleOfFifthsView::showProgression() {
    m_progression->setProgression(m_state.progression(), m_state.playingStep(),
                                  m_state.progressionPlaying());
}

} // namespace quorlen
