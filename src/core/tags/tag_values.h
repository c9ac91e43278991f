#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quorlen::tags {

// How each tag family stores a tempo. ID3v2 (TBPM) and MP4 (tmpo) hold a
// whole number; Vorbis comments hold text, so they keep two decimals.

// The whole number of beats per minute, halves rounded away from zero:
// 127.5 -> 128. Used for TBPM (the ID3 standard asks for an integer) and tmpo.
int wholeBpm(double bpm);

// At most two decimals with trailing zeros dropped: 127.934 -> "127.93",
// 120 -> "120", 127.5 -> "127.5".
std::string decimalBpmText(double bpm);

// Whether `key` is spelled as the key tags expect: a note letter A to G, an
// optional "#" or "b", and "m" for minor ("F#m", "Db", "C"); at most three
// characters.
bool isKeySpelling(std::string_view key);

// The tempo in a tag's text as a number of beats per minute, when it reads
// as one above 0 ("120", " 127.5 ", "120,5" with a decimal comma); nullopt
// for empty or other text.
std::optional<double> bpmFromTagText(std::string_view text);

} // namespace quorlen::tags
