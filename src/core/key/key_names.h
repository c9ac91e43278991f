#pragma once

#include "harmony/key_selection.h"

#include <optional>
#include <string>
#include <string_view>

namespace quorlen::key {

// The key of the circle whose tonic is `pitchClass` semitones above C (any
// integer, wrapped) in the given mode: 9 minor is Am, 1 major is D♭.
harmony::KeySelection keyWithTonic(int pitchClass, bool minor);

// The name the harmony tool puts on the clipboard: "F#m", "Db", "Bbm".
std::string asciiKeyName(const harmony::KeySelection& key);

// The DJs' wheel code: the number of the circle position counted so that
// C major is 8 (one step per fifth, 1 ... 12), then "B" for major and "A"
// for minor: C is 8B, Am 8A, F#m 11A, B 1B.
std::string camelotCode(const harmony::KeySelection& key);

// A key by its Camelot code ("11A", "8b"; the number 1 ... 12 without a
// leading zero); nothing for anything else.
std::optional<harmony::KeySelection> parseCamelotCode(std::string_view code);

} // namespace quorlen::key
