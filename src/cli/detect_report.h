#pragma once

#include "detection/tempo_detector.h"
#include "tags/tag_writer.h"

#include <string>

namespace quorlen::cli {

// One line (with its newline) per analysed file, for people (control bytes
// and bytes that are no UTF-8 in the name or message shown escaped):
//   loop.wav: 120 BPM · High · 82% · first beat 0.035 s · downbeat 1 · 4 bars
//   · also plausible: 60, 240 BPM · 8.0 s
// ending in " · parts of the file could not be decoded" when `damaged`.
std::string textLine(const std::string& file, const detection::Estimate& estimate, bool damaged);
// ... and for a file that could not be analysed: "notes.wav: Not an audio file".
std::string textFailureLine(const std::string& file, const std::string& message);

// The same as JSON Lines, numbers unrounded (shortest text that reads back
// as the same double), names that are no UTF-8 made valid with U+FFFD,
// "damaged" true when the decoder skipped damage. A mode other than classic
// is named in "octave", and its "candidates" follow: up to 4 tempos with
// the probability of each ({"bpm":…,"p":…}), most likely first.
std::string jsonLine(const std::string& file, const detection::Estimate& estimate, bool damaged,
                     const detection::OctaveMode& octave = detection::OctaveMode::classic());
std::string jsonFailureLine(const std::string& file, const std::string& message);

// `line` (from textLine or jsonLine) with what became of the file's tags:
// text ends in " · tags written", " · tags written, replacing 124 BPM",
// " · tags kept: the file says 124 BPM" or " · tags not written"; JSON gets
// "tags" ("written", "kept" or "failed") and, when the file had a BPM tag,
// "taggedBpm" (a number when it reads as one, else its text).
std::string withTagOutcome(std::string line, const tags::TagOutcome& outcome, bool json);
// The stderr line of a file whose tags could not be written:
// "song.mp3: could not write tags: REASON".
std::string tagFailureLine(const std::string& file, const std::string& reason);

} // namespace quorlen::cli
