#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace quorlen::harmony {

// One position of the circle of fifths: a major key and its relative minor,
// which share a signature.
struct KeySlot {
    std::string_view major;                     // "C", "F♯", "D♭" …
    std::string_view minor;                     // tonic name + "m": "Am", "F♯m" …
    int accidentals;                            // n > 0: n sharps; n < 0: -n flats
    std::array<std::string_view, 7> majorScale; // from the major tonic upwards
};

// The twelve keys clockwise from C at the top: each step adds a sharp (or
// drops a flat). Position 6 is F♯ with six sharps and position 7 D♭ with
// five flats; there is no G♭ or C♯ major entry, so every key is spelled
// with at most six accidentals.
namespace CircleOfFifths {

inline constexpr int kKeyCount = 12;

// Qt defines "slots" as a macro; the table keeps its name here, and code
// compiled beside Qt reads it through slotAt().
#pragma push_macro("slots")
#undef slots

inline constexpr std::array<KeySlot, kKeyCount> slots = {{
    {"C", "Am", 0, {"C", "D", "E", "F", "G", "A", "B"}},
    {"G", "Em", 1, {"G", "A", "B", "C", "D", "E", "F♯"}},
    {"D", "Bm", 2, {"D", "E", "F♯", "G", "A", "B", "C♯"}},
    {"A", "F♯m", 3, {"A", "B", "C♯", "D", "E", "F♯", "G♯"}},
    {"E", "C♯m", 4, {"E", "F♯", "G♯", "A", "B", "C♯", "D♯"}},
    {"B", "G♯m", 5, {"B", "C♯", "D♯", "E", "F♯", "G♯", "A♯"}},
    {"F♯", "D♯m", 6, {"F♯", "G♯", "A♯", "B", "C♯", "D♯", "E♯"}},
    {"D♭", "B♭m", -5, {"D♭", "E♭", "F", "G♭", "A♭", "B♭", "C"}},
    {"A♭", "Fm", -4, {"A♭", "B♭", "C", "D♭", "E♭", "F", "G"}},
    {"E♭", "Cm", -3, {"E♭", "F", "G", "A♭", "B♭", "C", "D"}},
    {"B♭", "Gm", -2, {"B♭", "C", "D", "E♭", "F", "G", "A"}},
    {"F", "Dm", -1, {"F", "G", "A", "B♭", "C", "D", "E"}},
}};

// The slot at a circle position; the index is wrapped into 0…11.
inline const KeySlot& slotAt(int index) {
    return slots[static_cast<size_t>(((index % kKeyCount) + kKeyCount) % kKeyCount)];
}
#pragma pop_macro("slots")

// The order in which sharps and flats enter a signature.
inline constexpr std::array<std::string_view, 7> sharpOrder = {"F♯", "C♯", "G♯", "D♯",
                                                               "A♯", "E♯", "B♯"};
inline constexpr std::array<std::string_view, 7> flatOrder = {"B♭", "E♭", "A♭", "D♭",
                                                              "G♭", "C♭", "F♭"};

// "0", "3♯", "5♭".
std::string signatureText(int accidentals);

// The sharps or flats of a signature in the order they are written: 3 gives
// F♯ C♯ G♯, -2 gives B♭ E♭; counts beyond ±7 give all seven.
std::vector<std::string_view> signatureNotes(int accidentals);

// Any integer as a circle position 0…11 (13 → 1, -1 → 11), for indices
// that come from outside, such as a stored selection.
int wrappedIndex(int index);

} // namespace CircleOfFifths

// Clipboard text is plain ASCII for accidentals: "♯" becomes "#" and "♭"
// becomes "b"; everything else, the "°" of a diminished chord included,
// stays as it is.
std::string clipboardSpelling(std::string_view text);

} // namespace quorlen::harmony
