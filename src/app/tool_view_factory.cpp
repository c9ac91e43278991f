#include "app/tool_view_factory.h"

#include "app/preferences.h"
#include "audio/chord_player.h"
#include "state/calculator_state.h"
#include "tempo_detection/tempo_detect_panel.h"
#include "tools/euclidean/euclidean_rhythm_view.h"
#include "tools/fifths/circle_of_fifths_view.h"
#include "tools/harmonics/harmonic_series_view.h"
#include "tools/note_frequencies/note_frequency_view.h"
#include "tools/reverb_delay/reverb_delay_view.h"
#include "tools/temperament/temperament_view.h"
#include "tools/tempo/tempo_view.h"

namespace quorlen {
namespace {

// The harmony screen is rebuilt on every visit; the key it shows is kept
// with the window's other restored state, read here and written on change.
QWidget* createFifthsView(CalculatorState& state, const QColor& tint, Synthesiser& synthesiser,
                          QWidget* parent) {
    const Preferences stored;
    auto* view = new CircleOfFifthsView(
        state, tint,
        harmony::KeySelection{stored.fifthsSelectedIndex(), stored.fifthsMinorSelected()},
        synthesiser, parent);
    QObject::connect(view, &CircleOfFifthsView::selectionChanged, view, [](int index, bool minor) {
        Preferences preferences;
        preferences.setFifthsSelectedIndex(index);
        preferences.setFifthsMinorSelected(minor);
    });
    return view;
}

// "Use this key" in the detection panel selects the key the harmony screen
// shows on its next visit, in the same store as a click on its wheel.
QWidget* createTempoView(CalculatorState& state, TempoDetectModel& detection, const QColor& tint,
                         QWidget* parent) {
    auto* view = new TempoView(state, detection, tint, parent);
    QObject::connect(view->detectPanel(), &TempoDetectPanel::keyChosen, view,
                     [](int index, bool minor) {
                         Preferences preferences;
                         preferences.setFifthsSelectedIndex(index);
                         preferences.setFifthsMinorSelected(minor);
                     });
    return view;
}

} // namespace

QWidget* createToolView(CalculatorTool tool, CalculatorState& state,
                        const DetectionSession& detection, QWidget* parent) {
    const QColor tint = toolInfo(tool).tint;
    // The one synthesiser, handed to every tool that sounds.
    Synthesiser& synthesiser = ChordPlayer::shared();
    switch (tool) {
    case CalculatorTool::bpm:
        return createTempoView(state, detection(), tint, parent);
    case CalculatorTool::rhythm:
        return new EuclideanRhythmView(state, tint, synthesiser, parent);
    case CalculatorTool::space:
        return new ReverbDelayView(state, tint, parent);
    case CalculatorTool::frequency:
        return new NoteFrequencyView(state, tint, parent);
    case CalculatorTool::temperament:
        return new TemperamentView(state, tint, synthesiser, parent);
    case CalculatorTool::overtones:
        return new HarmonicSeriesView(state, tint, synthesiser, parent);
    case CalculatorTool::harmony:
        break;
    }
    return createFifthsView(state, tint, synthesiser, parent);
}

} // namespace quorlen
