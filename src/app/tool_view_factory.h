#pragma once

#include "app/calculator_tool.h"

class QWidget;

namespace quorlen {

class CalculatorState;

// The screen of one tool, given the window's state and the tool's tint.
QWidget* createToolView(CalculatorTool tool, CalculatorState& state, QWidget* parent = nullptr);

} // namespace quorlen
