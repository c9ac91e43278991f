#pragma once

#include "cli/arguments.h"
#include "pitch/pitch_fields.h"

namespace quorlen::cli {

// --a4 HZ as the A4 field takes it; 440 when absent.
std::variant<double, UsageError> a4Option(const ParsedArguments& arguments);

} // namespace quorlen::cli
