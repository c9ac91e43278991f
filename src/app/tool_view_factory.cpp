#include "app/tool_view_factory.h"

#include "app/calculator_state.h"
#include "tools/harmonics/harmonic_series_view.h"
#include "tools/note_frequencies/note_frequency_view.h"
#include "tools/temperament/temperament_view.h"
#include "tools/reverb_delay/reverb_delay_view.h"
#include "tools/tempo/tempo_view.h"
#include "audio/chord_player.h"
#include "tools/euclidean/euclidean_rhythm_view.h"
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
    case CalculatorTool::bpm:
        return new TempoView(state, info.tint, parent);
    case CalculatorTool::space:
        return new ReverbDelayView(state, info.tint, parent);
    case CalculatorTool::rhythm:
        return new EuclideanRhythmView(state, info.tint, ChordPlayer::shared(), parent);
    default:
        break;
    }
    const Headline& headline = kHeadlines[static_cast<size_t>(tool)];
    // Tools without their own screen yet show their header alone.
    return new ToolScreen(QString::fromUtf8(headline.eyebrow), QString::fromUtf8(headline.title),
                          QString::fromUtf8(info.symbol), info.tint, parent);
}

} // namespace quorlen
