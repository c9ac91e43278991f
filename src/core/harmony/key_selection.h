#pragma once

#include "harmony/circle_of_fifths.h"
#include "synth/triad.h"

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace quorlen::harmony {

using TriadQuality = synth::TriadQuality;

// A key picked on the circle: the major key of a slot, or its relative
// minor (natural minor). Degrees run 0…6 with 0 the tonic; callers keep
// `index` in 0…11 and degrees in 0…6, and out-of-range values are wrapped.
struct KeySelection {
    int index = 0;
    bool isMinor = false;

    bool operator==(const KeySelection&) const = default;

    const KeySlot& slot() const;
    // The name the wheel shows: "C", "F♯m".
    std::string_view shortName() const;
    // "F♯ major", "D♯ minor".
    std::string longName() const;
    // The seven notes from the tonic up; the minor scale is the relative
    // major's rotated to start on its sixth note.
    std::array<std::string_view, 7> scale() const;
    // Scale note + the mode's suffix: C major gives C Dm Em F G Am B°.
    std::array<std::string, 7> chords() const;
    // I ii iii IV V vi vii° or i ii° III iv v VI VII.
    std::array<std::string_view, 7> romanNumerals() const;
    TriadQuality triadQuality(int degree) const;
    // The tonic in semitones above C, 0…11: the circle climbs a fifth (7
    // semitones) per slot, and a relative minor lies 9 semitones above its
    // major.
    int tonicPitchClass() const;
    // The root of a degree's triad, always in the octave C3…B3:
    // a4 × 2^((k − 21) / 12) with k the root's pitch class, because C3 lies
    // 21 semitones below A4. The wrap is on the root alone, so in G major
    // the IV chord (C3) sounds below the tonic (G3).
    double rootFrequency(int degree, double a4Hz) const;

    KeySelection relative() const;    // same slot, other mode
    KeySelection dominant() const;    // one slot clockwise, same mode
    KeySelection subdominant() const; // one slot counter-clockwise, same mode
};

// A key typed by a person: a letter A–G (either case), an optional "#",
// "b", "♯" or "♭", and a trailing "m" for minor: "C", "F#", "Db", "Am",
// "Bbm", "F♯m". Spellings the circle does not list (Gb, C#, A#m, Cb) name
// the slot with the same tonic pitch class. Nothing for anything else.
std::optional<KeySelection> parseKeyName(std::string_view text);

} // namespace quorlen::harmony
