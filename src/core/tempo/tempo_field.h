#pragma once

#include "text/typed_number.h"

#include <optional>
#include <string>
#include <string_view>

namespace quorlen::tempo {

// A typed tempo may be anything from 1 to 999 BPM; the stepper, the slider
// and tap tempo keep to the musical 20 to 400.
inline constexpr text::NumberRange kTypedBpmRange{1, 999};
inline constexpr text::NumberRange kControlBpmRange{20, 400};

// The tempo stored when the field's text is committed (Return or end of
// editing): the text as a typed number clamped to 1...999, or `currentBpm`
// when it is no number. The field then shows bpmFieldText() of the result.
double commitBpmText(std::string_view text, double currentBpm);

// The tempo to store while the user is still typing, so the tables follow
// each keystroke; nothing for text that is not (yet) a number.
std::optional<double> liveBpm(std::string_view text);

// One press of the stepper: `direction` (+1 or -1) BPM, kept within
// 20...400, so a typed 10 steps up to 20 and a typed 600 down to 400.
double steppedBpm(double bpm, int direction);

// The field's text for a tempo: "128" for whole tempos, "98.50" otherwise.
std::string bpmFieldText(double bpm);

// Table formats: "%.2f" for milliseconds; a rate gets more decimals the
// slower it is, so 8-bar notes still show a figure: 0.0625, 0.125, 2.00.
std::string msText(double ms);
std::string hzText(double hz);

} // namespace quorlen::tempo
