#include "app/tool_view_factory.h"

#include "app/calculator_state.h"
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
    if (tool == CalculatorTool::rhythm)
        return new EuclideanRhythmView(state, info.tint, ChordPlayer::shared(), parent);
    const Headline& headline = kHeadlines[static_cast<size_t>(tool)];
    // Tools without their own screen yet show their header alone.
    return new ToolScreen(QString::fromUtf8(headline.eyebrow), QString::fromUtf8(headline.title),
                          QString::fromUtf8(info.symbol), info.tint, parent);
}

} // namespace quorlen
