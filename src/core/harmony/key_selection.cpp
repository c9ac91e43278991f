#include "harmony/key_selection.h"

#include <cmath>
#include <utility>

namespace quorlen::harmony {
namespace {

struct ModeTable {
    std::array<std::string_view, 7> numerals;
    std::array<std::string_view, 7> chordSuffix;
    std::array<TriadQuality, 7> qualities;
    std::array<int, 7> semitones; // above the tonic
};

constexpr TriadQuality M = TriadQuality::major;
constexpr TriadQuality m = TriadQuality::minor;
constexpr TriadQuality d = TriadQuality::diminished;

constexpr ModeTable kMajor = {
    {"I", "ii", "iii", "IV", "V", "vi", "vii°"},
    {"", "m", "m", "", "", "m", "°"},
    {M, m, m, M, M, m, d},
    {0, 2, 4, 5, 7, 9, 11},
};

// Natural minor.
constexpr ModeTable kMinor = {
    {"i", "ii°", "III", "iv", "v", "VI", "VII"},
    {"m", "°", "", "m", "m", "", ""},
    {m, d, M, m, m, M, M},
    {0, 2, 3, 5, 7, 8, 10},
};

const ModeTable& modeOf(const KeySelection& key) { return key.isMinor ? kMinor : kMajor; }

size_t degreeIndex(int degree) { return static_cast<size_t>(((degree % 7) + 7) % 7); }

} // namespace

const KeySlot& KeySelection::slot() const { return CircleOfFifths::slotAt(index); }

std::string_view KeySelection::shortName() const { return isMinor ? slot().minor : slot().major; }

std::string KeySelection::longName() const {
    if (!isMinor)
        return std::string(slot().major) + " major";
    const std::string_view minor = slot().minor;
    return std::string(minor.substr(0, minor.size() - 1)) + " minor";
}

std::array<std::string_view, 7> KeySelection::scale() const {
    const auto& major = slot().majorScale;
    if (!isMinor)
        return major;
    return {major[5], major[6], major[0], major[1], major[2], major[3], major[4]};
}

std::array<std::string, 7> KeySelection::chords() const {
    const auto notes = scale();
    const ModeTable& mode = modeOf(*this);
    std::array<std::string, 7> names;
    for (size_t i = 0; i < names.size(); ++i)
        names[i] = std::string(notes[i]) + std::string(mode.chordSuffix[i]);
    return names;
}

std::array<std::string_view, 7> KeySelection::romanNumerals() const {
    return modeOf(*this).numerals;
}

TriadQuality KeySelection::triadQuality(int degree) const {
    return modeOf(*this).qualities[degreeIndex(degree)];
}

int KeySelection::tonicPitchClass() const {
    return (CircleOfFifths::wrappedIndex(index) * 7 + (isMinor ? 9 : 0)) % 12;
}

double KeySelection::rootFrequency(int degree, double a4Hz) const {
    const int n = tonicPitchClass() + modeOf(*this).semitones[degreeIndex(degree)];
    const int k = n % 12;
    return a4Hz * std::exp2((k - 21) / 12.0);
}

KeySelection KeySelection::relative() const { return {index, !isMinor}; }

KeySelection KeySelection::dominant() const {
    return {CircleOfFifths::wrappedIndex(index + 1), isMinor};
}

KeySelection KeySelection::subdominant() const {
    return {CircleOfFifths::wrappedIndex(index + 11), isMinor};
}

std::optional<KeySelection> parseKeyName(std::string_view text) {
    static constexpr int kLetterPitch[] = {9, 11, 0, 2, 4, 5, 7}; // A … G
    if (text.empty())
        return std::nullopt;
    const char letter = static_cast<char>(text.front() | 0x20); // ASCII lower case
    if (letter < 'a' || letter > 'g')
        return std::nullopt;
    int pitchClass = kLetterPitch[letter - 'a'];
    text.remove_prefix(1);

    for (const auto& [spelling, shift] :
         {std::pair<std::string_view, int>{"#", 1}, {"♯", 1}, {"b", -1}, {"♭", -1}}) {
        if (text.starts_with(spelling)) {
            pitchClass += shift;
            text.remove_prefix(spelling.size());
            break;
        }
    }
    bool minor = false;
    if (text == "m") {
        minor = true;
        text.remove_prefix(1);
    }
    if (!text.empty())
        return std::nullopt;

    // tonicPitchClass inverted: 7 × 7 = 49 ≡ 1 (mod 12), so multiplying by 7
    // undoes the circle's climb in fifths.
    const int fromC = ((pitchClass - (minor ? 9 : 0)) % 12 + 12) % 12;
    return KeySelection{(fromC * 7) % 12, minor};
}

} // namespace quorlen::harmony
