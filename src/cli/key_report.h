#pragma once

#include "key/key_detector.h"

#include <string>

namespace quorlen::cli {

// The key of one file for `quorlen detect --key`, as members to add to its
// JSON object: "key" (a harmony-tool name in ASCII, or null), "camelot",
// "keyConfidence", "keyAlternatives", "tuningCents" (one decimal) and
// "a4" (Hz, two decimals); each starts with ",".
std::string keyJsonMembers(const key::KeyEstimate& estimate);

// `line` (one JSON object and its newline) with `members` added at the end
// of the object.
std::string withJsonMembers(std::string line, const std::string& members);

// The line for people under the tempo's (with its newline):
//   "  key F#m (11A) · 82% · tuning -14.0 cents (A4 436.46 Hz)".
std::string keyTextLine(const key::KeyEstimate& estimate);

} // namespace quorlen::cli
