#pragma once

#include <QColor>
#include <QString>

#include <array>
#include <optional>

namespace quorlen {

// The seven tools, in sidebar order. Raw values are what the window stores.
enum class CalculatorTool { bpm, rhythm, space, frequency, temperament, overtones, harmony };

struct ToolInfo {
    CalculatorTool tool;
    const char* rawValue;
    const char* title;
    const char* subtitle;
    const char* symbol;
    QColor tint;
};

const std::array<ToolInfo, 7>& allTools();
const ToolInfo& toolInfo(CalculatorTool tool);

// Nothing for a raw value that names no tool.
std::optional<CalculatorTool> toolFromRawValue(const QString& rawValue);

} // namespace quorlen
