#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace quorlen::pitch {

// The twelve pitch classes (C = 0 … B = 11, sharps written "#") and the nine
// octaves of scientific pitch notation, in which C4 is middle C.
namespace NoteFrequency {
inline constexpr std::array<std::string_view, 12> names = {"C",  "C#", "D",  "D#", "E",  "F",
                                                           "F#", "G",  "G#", "A",  "A#", "B"};
inline constexpr std::array<int, 9> octaves = {0, 1, 2, 3, 4, 5, 6, 7, 8};
} // namespace NoteFrequency

// MIDI-style note number: C4 = 60, A4 = 69, C0 = 12.
constexpr int midiNote(int pitchClass, int octave) { return (octave + 1) * 12 + pitchClass; }

// Equal-tempered frequency of a note number for a given A4, in Hz.
double noteFrequencyHz(int midi, double a4Hz);

// The 12-TET note nearest a frequency and how far the frequency lies from it.
struct NearestNote {
    int midi;         // rounded note number, halves away from zero
    std::string name; // pitch-class name and octave, such as "A4" or "C#5"
    double cents;     // signed distance from that note, in [-50, +50]; positive = sharp
};

// m = 12 log2(f / a4) + 69 is the real-valued note number; its rounding
// names the note and its remainder gives the cents.
NearestNote nearestNote(double frequencyHz, double a4Hz);

} // namespace quorlen::pitch

namespace quorlen::pitch {

// How far off the 12-TET grid a pitch sounds: below 5 cents in tune, below
// 20 noticeable, otherwise far off. The tools colour these green, amber, red.
enum class CentsBand { inTune, noticeable, farOff };
CentsBand centsBand(double cents);

} // namespace quorlen::pitch

namespace quorlen::pitch {

struct PitchName {
    int pitchClass; // 0 = C … 11 = B
    int octave;
};

// "A1", "C#3", "Bb2" (= A#2), "Cb2" (= B1): a letter A-G, an optional "#" or
// "b", and an octave number. Nothing for anything else.
std::optional<PitchName> parsePitchName(std::string_view text);

} // namespace quorlen::pitch
