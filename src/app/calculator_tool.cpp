#include "app/calculator_tool.h"

#include "ui/theme.h"

namespace quorlen {

const std::array<ToolInfo, 7>& allTools() {
    using T = CalculatorTool;
    static const std::array<ToolInfo, 7> tools{{
        {T::bpm, "bpm", "Tempo", "BPM, ms, Hz", "metronome", QuorlenTheme::saffron()},
        {T::rhythm, "rhythm", "Rhythm", "Euclidean patterns", "circle.dotted",
         QuorlenTheme::fern()},
        {T::space, "space", "Space", "Reverb & delay times", "water.waves", QuorlenTheme::dusk()},
        {T::frequency, "frequency", "Pitch", "Notes, octaves, tuning", "pianokeys",
         QuorlenTheme::teal()},
        {T::temperament, "temperament", "Temperament", "N-TET experiments", "dial.medium",
         QuorlenTheme::lake()},
        {T::overtones, "overtones", "Overtones", "Harmonic series", "waveform.path",
         QuorlenTheme::copper()},
        {T::harmony, "harmony", "Harmony", "Circle of fifths", "smallcircle.filled.circle",
         QuorlenTheme::lacquer()},
    }};
    return tools;
}

const ToolInfo& toolInfo(CalculatorTool tool) { return allTools()[static_cast<size_t>(tool)]; }

std::optional<CalculatorTool> toolFromRawValue(const QString& rawValue) {
    for (const ToolInfo& info : allTools()) {
        if (rawValue == QLatin1String(info.rawValue))
            return info.tool;
    }
    return std::nullopt;
}

} // namespace quorlen
