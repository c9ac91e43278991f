#pragma once

#include "text/typed_number.h"

#include <string>

namespace quorlen::pitch {

// What the pitch tools' typed fields accept, and how they show a value.
inline constexpr text::NumberRange kA4Range{400, 480};
inline constexpr text::NumberRange kTetReferenceRange{20, 2000};
inline constexpr int kMinTetDivisions = 1;
inline constexpr int kMaxTetDivisions = 53;

// 440 -> "440", 440.5 -> "440.5".
std::string a4FieldText(double a4Hz);

// 440 -> "440", 261.63 -> "261.63".
std::string tetReferenceFieldText(double referenceHz);

} // namespace quorlen::pitch
