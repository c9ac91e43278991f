#include "key/key_names.h"

#include <charconv>

namespace quorlen::key {

using harmony::clipboardSpelling;
using harmony::KeySelection;

namespace {

// C major sits at position 0 of the circle and at 8 on the Camelot wheel.
constexpr int kCamelotOfC = 8;

} // namespace

KeySelection keyWithTonic(int pitchClass, bool minor) {
    // tonicPitchClass() = 7 × index (+ 9 for minor) mod 12; 7 is its own
    // inverse mod 12 (49 ≡ 1), so the index is 7 × (tonic − 9 for minor).
    const int fromC = ((pitchClass - (minor ? 9 : 0)) % 12 + 12) % 12;
    return KeySelection{(fromC * 7) % 12, minor};
}

std::string asciiKeyName(const KeySelection& key) { return clipboardSpelling(key.shortName()); }

std::string camelotCode(const KeySelection& key) {
    const int number =
        (harmony::CircleOfFifths::wrappedIndex(key.index) + kCamelotOfC - 1) % 12 + 1;
    return std::to_string(number) + (key.isMinor ? "A" : "B");
}

std::optional<KeySelection> parseCamelotCode(std::string_view code) {
    if (code.size() < 2 || code.front() == '0')
        return std::nullopt;
    const char letter = static_cast<char>(code.back() | 0x20); // ASCII lower case
    if (letter != 'a' && letter != 'b')
        return std::nullopt;
    int number = 0;
    const char* const end = code.data() + code.size() - 1;
    const auto [stop, error] = std::from_chars(code.data(), end, number);
    if (error != std::errc() || stop != end || number < 1 || number > 12)
        return std::nullopt;
    return KeySelection{(number - kCamelotOfC + 12) % 12, letter == 'a'};
}

} // namespace quorlen::key
