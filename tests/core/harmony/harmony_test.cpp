#include "harmony/circle_of_fifths.h"
#include "harmony/key_selection.h"
#include "harmony/progression.h"
#include "harmony/wheel_geometry.h"
#include "support/lines.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <numbers>
#include <tuple>

namespace quorlen::harmony {
namespace {

using Notes = std::vector<std::string>;
using testing::words;

template <typename Range> Notes asStrings(const Range& range) {
    return Notes(range.begin(), range.end());
}

// Each slot's major scale must start on its tonic, climb in whole and half
// steps W W H W W W H, and its signature must list exactly the altered
// notes: an independent check of the whole table against music theory.
TEST(CircleOfFifths, EverySlotIsAConsistentMajorKey) {
    static constexpr int kLetterPitch[] = {9, 11, 0, 2, 4, 5, 7};
    const auto pitchOf = [](std::string_view note) {
        int pc = kLetterPitch[note[0] - 'A'];
        if (note.ends_with("♯"))
            ++pc;
        if (note.ends_with("♭"))
            --pc;
        return (pc + 12) % 12;
    };
    const int steps[] = {2, 2, 1, 2, 2, 2, 1};
    for (int i = 0; i < 12; ++i) {
        const KeySlot& slot = CircleOfFifths::slots[static_cast<size_t>(i)];
        SCOPED_TRACE(std::string(slot.major));
        EXPECT_EQ(slot.majorScale[0], slot.major);
        EXPECT_EQ(pitchOf(slot.major), KeySelection({i, false}).tonicPitchClass());
        int altered = 0;
        for (size_t n = 0; n < 7; ++n) {
            const auto note = slot.majorScale[n];
            const auto next = slot.majorScale[(n + 1) % 7];
            EXPECT_EQ((pitchOf(next) - pitchOf(note) + 12) % 12, steps[n]);
            // Seven different letters: each letter once.
            EXPECT_EQ((next[0] - 'A' + 7) % 7, (note[0] - 'A' + 1) % 7);
            altered += note.size() > 1 ? 1 : 0;
        }
        EXPECT_EQ(altered, std::abs(slot.accidentals));
        EXPECT_EQ(std::string(slot.minor), std::string(slot.majorScale[5]) + "m");
    }
}

TEST(CircleOfFifths, SignatureTextAndNotes) {
    // Worked examples: the sign picks the accidental, the order is fixed;
    // beyond seven, all seven.
    const std::tuple<int, const char*, const char*> cases[] = {{0, "0", ""},
                                                               {6, "6♯", "F♯ C♯ G♯ D♯ A♯ E♯"},
                                                               {-2, "2♭", "B♭ E♭"},
                                                               {9, "9♯", "F♯ C♯ G♯ D♯ A♯ E♯ B♯"},
                                                               {-8, "8♭", "B♭ E♭ A♭ D♭ G♭ C♭ F♭"}};
    for (const auto& [accidentals, text, notes] : cases) {
        SCOPED_TRACE(accidentals);
        EXPECT_EQ(CircleOfFifths::signatureText(accidentals), text);
        EXPECT_EQ(asStrings(CircleOfFifths::signatureNotes(accidentals)), words(notes));
    }
}

TEST(KeySelection, NamesScalesChordsAndQualitiesAtTheEdgesOfTheCircle) {
    // Expected rows written out by hand from the key tables; index 6 is the
    // last sharp key, index 7 the first flat one.
    const struct {
        KeySelection key;
        const char *longName, *scale, *chords;
    } cases[] = {
        {{0, false}, "C major", "C D E F G A B", "C Dm Em F G Am B°"},
        {{0, true}, "A minor", "A B C D E F G", "Am B° C Dm Em F G"},
        {{6, false}, "F♯ major", "F♯ G♯ A♯ B C♯ D♯ E♯", "F♯ G♯m A♯m B C♯ D♯m E♯°"},
        {{6, true}, "D♯ minor", "D♯ E♯ F♯ G♯ A♯ B C♯", "D♯m E♯° F♯ G♯m A♯m B C♯"},
        {{7, false}, "D♭ major", "D♭ E♭ F G♭ A♭ B♭ C", "D♭ E♭m Fm G♭ A♭ B♭m C°"},
        {{7, true}, "B♭ minor", "B♭ C D♭ E♭ F G♭ A♭", "B♭m C° D♭ E♭m Fm G♭ A♭"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.longName);
        EXPECT_EQ(c.key.longName(), c.longName);
        EXPECT_EQ(asStrings(c.key.scale()), words(c.scale));
        EXPECT_EQ(asStrings(c.key.chords()), words(c.chords));
        // The quality each chord's name shows.
        for (int degree = 0; degree < 7; ++degree) {
            const std::string chord = words(c.chords)[size_t(degree)];
            EXPECT_EQ(c.key.triadQuality(degree), chord.ends_with("°")   ? TriadQuality::diminished
                                                  : chord.ends_with("m") ? TriadQuality::minor
                                                                         : TriadQuality::major)
                << chord;
        }
    }
    EXPECT_EQ(asStrings(KeySelection{3, false}.romanNumerals()), words("I ii iii IV V vi vii°"));
    EXPECT_EQ(asStrings(KeySelection{3, true}.romanNumerals()), words("i ii° III iv v VI VII"));
    EXPECT_EQ(KeySelection({6, true}).shortName(), "D♯m");
}

TEST(KeySelection, RootFrequencies) {
    // 440 × 2^((k − 21)/12): C3 = 130.81, A3 = 220 exactly, B3 = 246.94.
    EXPECT_EQ(KeySelection({0, true}).rootFrequency(0, 440), 220.0);
    EXPECT_NEAR(KeySelection({0, false}).rootFrequency(0, 440), 130.8128, 1e-4);
    EXPECT_NEAR(KeySelection({0, false}).rootFrequency(6, 440), 246.9417, 1e-4);
    // The wrap is on the root alone: in G major IV…vii° (C D E F♯) sound
    // below the tonic G3 = 196.00 Hz; in E major vi and vii° below E3.
    const KeySelection g{1, false};
    EXPECT_NEAR(g.rootFrequency(0, 440), 195.9977, 1e-4);
    EXPECT_GT(g.rootFrequency(2, 440), g.rootFrequency(0, 440)); // B3
    for (int degree = 3; degree < 7; ++degree)
        EXPECT_LT(g.rootFrequency(degree, 440), g.rootFrequency(0, 440)) << degree;
    const KeySelection e{4, false};
    EXPECT_NEAR(e.rootFrequency(0, 440), 164.8138, 1e-4);
    EXPECT_NEAR(e.rootFrequency(5, 440), 138.5913, 1e-4); // C♯3
    EXPECT_NEAR(e.rootFrequency(6, 440), 155.5635, 1e-4); // D♯3
    // Every root of every key lies in C3…B3 and scales with A4.
    for (int index = 0; index < 24; ++index) {
        for (int degree = 0; degree < 7; ++degree) {
            const KeySelection key{index % 12, index >= 12};
            const double hz = key.rootFrequency(degree, 440);
            EXPECT_GE(hz, 130.81);
            EXPECT_LE(hz, 246.95);
            EXPECT_NEAR(key.rootFrequency(degree, 432), hz * 432 / 440, 1e-9);
        }
    }
}

TEST(KeySelection, RelatedKeysAcrossTheWrap) {
    // Key, relative, dominant, subdominant: C; Am (C, Em, Dm); F (dominant C).
    const std::array<KeySelection, 4> cases[] = {
        {{{0, false}, {0, true}, {1, false}, {11, false}}},
        {{{0, true}, {0, false}, {1, true}, {11, true}}},
        {{{11, false}, {11, true}, {0, false}, {10, false}}}};
    for (const auto& [key, relative, dominant, subdominant] : cases) {
        SCOPED_TRACE(key.index);
        EXPECT_EQ(key.relative(), relative);
        EXPECT_EQ(key.dominant(), dominant);
        EXPECT_EQ(key.subdominant(), subdominant);
    }
    const std::pair<int, int> wraps[] = {{0, 0}, {13, 1}, {-1, 11}, {-25, 11}};
    for (const auto& [index, wrapped] : wraps)
        EXPECT_EQ(CircleOfFifths::wrappedIndex(index), wrapped) << index;
}

TEST(KeyNames, ParseSpellingsToTheSlotWithTheSamePitchAndCopyThemInAscii) {
    const std::pair<const char*, KeySelection> cases[] = {
        {"C", {0, false}},  {"G", {1, false}},  {"F#", {6, false}},  {"F♯", {6, false}},
        {"Gb", {6, false}}, {"Db", {7, false}}, {"C#", {7, false}},  {"D♭", {7, false}},
        {"Cb", {5, false}}, {"B", {5, false}},  {"bb", {10, false}}, {"Am", {0, true}},
        {"F#m", {3, true}}, {"Bbm", {7, true}}, {"A#m", {7, true}},  {"D#m", {6, true}},
        {"Ebm", {6, true}}, {"e♭m", {6, true}}, {"Dm", {11, true}},  {"bm", {2, true}}};
    for (const auto& [text, key] : cases)
        EXPECT_EQ(parseKeyName(text), key) << text;
    for (const char* bad : {"", "H", "C##", "Cmaj", "Am7", " C", "C ", "m", "#", "Cbb"})
        EXPECT_FALSE(parseKeyName(bad)) << bad;
    // Only the accidentals change on the clipboard.
    EXPECT_EQ(clipboardSpelling("E♯°"), "E#°");
    EXPECT_EQ(clipboardSpelling("D♭ E♭ F♯ ♯♭"), "Db Eb F# #b");
    EXPECT_EQ(clipboardSpelling(""), "");
}

TEST(Progression, StepLengthTempoNoteAndWrap) {
    // Two beats per chord, 120 / BPM s, tempo held to (20, 400].
    const std::pair<double, double> steps[] = {{120, 1.0}, {90, 120.0 / 90},   {15, 6.0},
                                               {20, 6.0},  {20.5, 120 / 20.5}, {400, 0.3},
                                               {500, 0.3}};
    for (const auto& [bpm, seconds] : steps)
        EXPECT_DOUBLE_EQ(progressionStepSeconds(bpm), seconds) << bpm;
    EXPECT_EQ(progressionTempoNote(120), "120 BPM · 2 beats/chord");
    EXPECT_EQ(progressionTempoNote(98.9), "98 BPM · 2 beats/chord"); // truncated
    EXPECT_EQ(nextProgressionStep(std::nullopt, 3), 0);
    EXPECT_EQ(nextProgressionStep(0, 3), 1);
    EXPECT_EQ(nextProgressionStep(2, 3), 0);
    EXPECT_EQ(nextProgressionStep(0, 1), 0); // one chord re-strikes
    EXPECT_EQ(nextProgressionStep(2, 2), 1); // playing step removed: (2 + 1) mod 2
    EXPECT_EQ(nextProgressionStep(5, 4), 2); // preset shorter than the old loop
}

using namespace wheel;

// A point at radius r × R and screen angle `deg` in a 430 × 430 wheel.
std::optional<SegmentID> at(double r, double deg, bool shape = false) {
    const Point p = polarPoint({215, 215}, r * 215, deg);
    return shape ? segmentShapeAt(p.x, p.y, 430, 430) : segmentAt(p.x, p.y, 430, 430);
}

TEST(WheelGeometry, CompassPointsAndRingEdges) {
    // Up is C (0), right A (3), down F♯ (6), left E♭ (9).
    const std::pair<double, int> compass[] = {{-90, 0}, {0, 3},     {90, 6},
                                              {180, 9}, {-120, 11}, {-60, 1}};
    for (const auto& [deg, index] : compass) {
        EXPECT_EQ(at(0.85, deg), (SegmentID{Ring::major, index})) << deg;
        EXPECT_EQ(at(0.6, deg), (SegmentID{Ring::minor, index})) << deg;
    }
    // Band edges are inclusive; the gap, the badge and the rim are empty.
    EXPECT_EQ(at(0.47, -90), (SegmentID{Ring::minor, 0}));
    EXPECT_EQ(at(0.695 - 1e-9, -90), (SegmentID{Ring::minor, 0}));
    EXPECT_EQ(at(0.72 + 1e-9, -90), (SegmentID{Ring::major, 0}));
    EXPECT_EQ(at(0.985 - 1e-9, -90), (SegmentID{Ring::major, 0}));
    for (const double r : {0.0, 0.3, 0.469, 0.70, 0.71, 0.986, 1.2})
        EXPECT_FALSE(at(r, -90)) << r;
}

TEST(WheelGeometry, SectorBoundariesAndNonSquareSizes) {
    // Sector 0 spans [-105, -75): its right edge belongs to G.
    EXPECT_EQ(at(0.85, -105 + 1e-6)->index, 0);
    EXPECT_EQ(at(0.85, -75 + 1e-6)->index, 1);
    EXPECT_EQ(at(0.85, -75 - 1e-6)->index, 0);
    // R is half the smaller side: in 600 × 400, R = 200 around (300, 200).
    EXPECT_EQ(segmentAt(300, 200 - 0.9 * 200, 600, 400), (SegmentID{Ring::major, 0}));
    EXPECT_FALSE(segmentAt(300 + 250, 200, 600, 400));
}

TEST(WheelGeometry, ClicksMissTheMarginsHoverDoesNot) {
    // The drawn segment spans centre ± (15 − 1.4) degrees.
    EXPECT_EQ(at(0.85, -90 + 13.3, true), (SegmentID{Ring::major, 0}));
    EXPECT_FALSE(at(0.85, -90 + 14.0, true));
    EXPECT_EQ(at(0.85, -90 + 14.0), (SegmentID{Ring::major, 0}));
    EXPECT_FALSE(at(0.6, 180 - 14.5, true));
    EXPECT_EQ(at(0.6, 180, true), (SegmentID{Ring::minor, 9}));
    const ArcSpan c = segmentSpan(0);
    EXPECT_DOUBLE_EQ(c.startDeg, -103.6);
    EXPECT_DOUBLE_EQ(c.endDeg, -76.4);
    EXPECT_EQ((SegmentID{Ring::minor, 3}).text(), "min-3");
    EXPECT_EQ((SegmentID{Ring::major, 0}).text(), "maj-0");
}

TEST(WheelGeometry, FillsForCMajorAndAMinor) {
    const auto fills = [](KeySelection key, std::optional<SegmentID> hover) {
        std::string text;
        for (const Ring ring : {Ring::major, Ring::minor}) {
            for (int i = 0; i < 12; ++i) {
                static constexpr char kCode[] = {'S', 'r', 'h', '.'};
                text += kCode[static_cast<int>(segmentFill({ring, i}, key, hover))];
            }
            text += '|';
        }
        return text;
    };
    // C major: C selected, G and F (outer) and Am (inner) related.
    EXPECT_EQ(fills({0, false}, std::nullopt), "Sr.........r|r...........|");
    // A minor: Am selected, Em and Dm (inner) and C (outer) related.
    EXPECT_EQ(fills({0, true}, std::nullopt), "r...........|Sr.........r|");
    // Hover shows only on segments no other rule claims.
    EXPECT_EQ(fills({0, false}, SegmentID{Ring::minor, 6}), "Sr.........r|r.....h.....|");
    EXPECT_EQ(fills({0, false}, SegmentID{Ring::major, 1}), "Sr.........r|r...........|");
    // Across the top of the circle: F major's neighbours are B♭ and C.
    EXPECT_EQ(fills({11, false}, std::nullopt), "r.........rS|...........r|");
}

} // namespace
} // namespace quorlen::harmony
