#pragma once

#include "app/calculator_tool.h"

#include <functional>

class QWidget;

namespace quorlen {

class CalculatorState;
class TempoDetectModel;

// The window's tempo-detection session, made when a screen first asks.
using DetectionSession = std::function<TempoDetectModel&()>;

// The screen of one tool, given the window's state and the tool's tint.
QWidget* createToolView(CalculatorTool tool, CalculatorState& state,
                        const DetectionSession& detection, QWidget* parent = nullptr);

} // namespace quorlen
