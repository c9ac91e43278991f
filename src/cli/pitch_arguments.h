#pragma once

#include "cli/arguments.h"

namespace quorlen::cli {

// The commit ranges of the pitch tools' fields.
inline constexpr text::NumberRange kA4Range{400, 480};
inline constexpr text::NumberRange kTetReferenceRange{20, 2000};

// --a4 HZ as the A4 field takes it; 440 when absent.
std::variant<double, UsageError> a4Option(const ParsedArguments& arguments);

} // namespace quorlen::cli
