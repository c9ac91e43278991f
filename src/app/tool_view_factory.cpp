#include "app/tool_view_factory.h"

#include "app/calculator_state.h"
#include "app/preferences.h"
#include "tools/fifths/circle_of_fifths_view.h"
#include "tools/harmonics/harmonic_series_view.h"
#include "tools/note_frequencies/note_frequency_view.h"
#include "tools/temperament/temperament_view.h"
#include "tools/tool_screen.h"

namespace quorlen {
namespace {

struct Headline {
    const char* eyebrow;
    const char* title;
};

// Indexed by CalculatorTool.
constexpr Headline kHeadlines[] = {
    {"Tempo", "BPM to Milliseconds"},      {"Rhythm", "Euclidean Rhythms"},
    {"Space", "Reverb & Delay Times"},     {"Pitch", "Note Frequencies"},
    {"Temperament", "Octave Divisions"},   {"Overtones", "Harmonic Series"},
    {"Harmony", "Circle of Fifths"},
};

// The harmony screen is rebuilt on every visit; the key it shows is kept
// with the window's other restored state, read here and written on change.
QWidget* createHarmonyView(CalculatorState& state, const QColor& tint, QWidget* parent) {
    const Preferences stored;
    auto* view = new CircleOfFifthsView(
        state, tint, KeySelection{stored.fifthsSelectedIndex(), stored.fifthsMinorSelected()},
        parent);
    QObject::connect(view, &CircleOfFifthsView::selectionChanged, view, [](int index, bool minor) {
        Preferences preferences;
        preferences.setFifthsSelectedIndex(index);
        preferences.setFifthsMinorSelected(minor);
    });
    return view;
}

} // namespace

QWidget* createToolView(CalculatorTool tool, CalculatorState& state, QWidget* parent) {
    const ToolInfo& info = toolInfo(tool);
    switch (tool) {
    case CalculatorTool::frequency:
        return new NoteFrequencyView(state, info.tint, parent);
    case CalculatorTool::overtones:
        return new HarmonicSeriesView(state, info.tint, parent);
    case CalculatorTool::temperament:
        return new TemperamentView(state, info.tint, parent);
    case CalculatorTool::harmony:
        return createHarmonyView(state, info.tint, parent);
    default:
        break;
    }
    const Headline& headline = kHeadlines[static_cast<size_t>(tool)];
    // Tools without their own screen yet show their header alone.
    return new ToolScreen(QString::fromUtf8(headline.eyebrow), QString::fromUtf8(headline.title),
                          QString::fromUtf8(info.symbol), info.tint, parent);
}

} // namespace quorlen
