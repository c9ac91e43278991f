#include "pitch/harmonic_series.h"
#include "pitch/note_names.h"
#include "pitch/pitch_fields.h"
#include "pitch/tet_scale.h"
#include "text/number_format.h"

#include <gtest/gtest.h>

#include <cmath>
#include <tuple>

namespace quorlen::pitch {
namespace {

using text::format;

TEST(NoteFrequency, MatrixCornersReferenceAndNearestNotes) {
    // Worked values of the frequency matrix, "%.1f".
    const std::tuple<int, int, double, const char*> cases[] = {
        {9, 4, 440, "440.0"},   {0, 0, 440, "16.4"},  {0, 4, 440, "261.6"},
        {11, 8, 440, "7902.1"}, {9, 4, 432, "432.0"}, {0, 4, 432, "256.9"}};
    for (const auto& [pitchClass, octave, a4, hz] : cases)
        EXPECT_EQ(format("%.1f", noteFrequencyHz(midiNote(pitchClass, octave), a4)), hz);
    EXPECT_EQ(nearestNote(440, 440).name, "A4");
    EXPECT_EQ(nearestNote(261.6255653005986, 440).name, "C4");
    EXPECT_EQ(nearestNote(16.351597831287414, 440).name, "C0");
    // m = 69.5 exactly rounds away from zero: the note above, 50 cents flat of it.
    const NearestNote half = nearestNote(440 * std::pow(2.0, 0.5 / 12), 440);
    EXPECT_EQ(half.midi, 70);
    EXPECT_EQ(half.name, "A#4");
    EXPECT_DOUBLE_EQ(half.cents, -50);
    const std::pair<double, CentsBand> bands[] = {
        {-4.9, CentsBand::inTune},     {4.99, CentsBand::inTune}, {5, CentsBand::noticeable},
        {19.9, CentsBand::noticeable}, {-20, CentsBand::farOff},  {37, CentsBand::farOff}};
    for (const auto& [cents, band] : bands)
        EXPECT_EQ(centsBand(cents), band) << cents;
}

// Steps from the first on: "%.2f" Hz, "%.4f" ratio (when given), note, "%+.0f" cents.
using StepRow = std::tuple<const char*, const char*, const char*, const char*>;
void expectSteps(const std::vector<TetStep>& steps, const std::vector<StepRow>& rows) {
    ASSERT_GE(steps.size(), rows.size() + 1);
    for (size_t i = 0; i < rows.size(); ++i) {
        const auto& [hz, ratio, note, cents] = rows[i];
        const TetStep& step = steps[i + 1];
        SCOPED_TRACE(i + 1);
        EXPECT_EQ(format("%.2f", step.frequency), hz);
        EXPECT_TRUE(!*ratio || format("%.4f", step.ratio) == ratio) << step.ratio;
        EXPECT_EQ(step.nearestNote, note);
        EXPECT_EQ(format("%+.0f", step.nearestCents), cents);
    }
}

TEST(TetScale, WorkedScalesAndExtremeDivisions) {
    // 19-TET from 440: steps of 63.2 cents.
    const auto nineteen = tetScale(440, 19, 440);
    EXPECT_EQ(format("%.1f", nineteen[1].centsFromRoot), "63.2");
    expectSteps(nineteen, {{"456.35", "1.0372", "A#4", "-37"},
                           {"473.30", "", "A#4", "+26"},
                           {"490.89", "", "B4", "-11"},
                           {"509.13", "", "C5", "-47"}});
    // 5-TET from 261.63: steps of 240 cents.
    expectSteps(tetScale(261.63, 5, 440), {{"300.53", "", "D4", "+40"},
                                           {"345.22", "", "F4", "-20"},
                                           {"396.56", "", "G4", "+20"},
                                           {"455.52", "", "A#4", "-40"},
                                           {"523.26", "", "C5", "+0"}});
    const auto one = tetScale(440, 1, 440);
    ASSERT_EQ(one.size(), 2u);
    EXPECT_DOUBLE_EQ(one[1].frequency, 880);
    const auto most = tetScale(440, 53, 440);
    ASSERT_EQ(most.size(), 54u);
    EXPECT_EQ(format("%.1f", most[1].centsFromRoot), "22.6");
}

TEST(TetScale, TwelveToneIsTheGridItself) {
    const auto steps = tetScale(440, 12, 440);
    ASSERT_EQ(steps.size(), 13u);
    for (const TetStep& step : steps)
        EXPECT_EQ(centsBand(step.nearestCents), CentsBand::inTune) << step.index;
    EXPECT_EQ(format("%.2f", steps[1].frequency), "466.16");
    EXPECT_EQ(steps[1].nearestNote, "A#4");
    EXPECT_EQ(steps[12].nearestNote, "A5");
}

TEST(HarmonicSeries, HarmonicsOfA1AndTheFundamentalRange) {
    const double a1 = overtoneFundamentalHz(9, 1, 440);
    EXPECT_DOUBLE_EQ(a1, 55.0);
    const auto harmonics = harmonicSeries(a1, 440, 16);
    ASSERT_EQ(harmonics.size(), 16u);
    const std::tuple<int, const char*, const char*, const char*> rows[] = {
        {1, "55.0", "A1", "+0"},    {2, "110.0", "A2", "+0"},  {3, "165.0", "E3", "+2"},
        {5, "275.0", "C#4", "-14"}, {7, "385.0", "G4", "-31"}, {16, "880.0", "A5", "+0"}};
    for (const auto& [number, hz, note, cents] : rows) {
        const Harmonic& h = harmonics[static_cast<size_t>(number - 1)];
        SCOPED_TRACE(number);
        EXPECT_EQ(h.number, number);
        EXPECT_EQ(format("%.1f", h.frequency), hz);
        EXPECT_EQ(h.noteName, note);
        EXPECT_EQ(format("%+.0f", h.cents), cents);
    }
    EXPECT_EQ(format("%.3f", overtoneFundamentalHz(0, 0, 440)), "16.352");
    EXPECT_EQ(format("%.3f", overtoneFundamentalHz(11, 4, 440)), "493.883");
    // Harmonic 1 carries the fundamental's own name, whatever the tuning.
    const auto first = harmonicSeries(overtoneFundamentalHz(4, 2, 432), 432, 1);
    EXPECT_EQ(first[0].noteName, "E2");
    EXPECT_NEAR(first[0].cents, 0, 1e-9);
}

TEST(ParsePitchName, SharpsFlatsAndOctaveCrossings) {
    const std::tuple<const char*, int, int> cases[] = {
        {"A1", 9, 1},   {"C0", 0, 0},  {"C#3", 1, 3}, {"Bb2", 10, 2},
        {"Cb2", 11, 1}, {"B#1", 0, 2}, {"E4", 4, 4},  {"G10", 7, 10}};
    for (const auto& [text, pitchClass, octave] : cases) {
        const auto parsed = parsePitchName(text);
        ASSERT_TRUE(parsed) << text;
        EXPECT_EQ(std::pair(parsed->pitchClass, parsed->octave), std::pair(pitchClass, octave))
            << text;
    }
    for (const char* bad : {"", "H2", "a1", "A", "A#", "A##1", "Ab-1", "A1 ", " A1", "A100"})
        EXPECT_FALSE(parsePitchName(bad)) << bad;
}

TEST(PitchFields, TextsOfTheTypedFields) {
    EXPECT_EQ(a4FieldText(440), "440");
    EXPECT_EQ(a4FieldText(441.5), "441.5");
    EXPECT_EQ(tetReferenceFieldText(440), "440");
    EXPECT_EQ(tetReferenceFieldText(261.63), "261.63");
    EXPECT_EQ(tetReferenceFieldText(300.4), "300.40");
    // The commit rule with these ranges: 441,50 -> 441.5; 1000 -> 480; 10 -> 20.
    EXPECT_EQ(a4FieldText(text::commitTypedNumber("441,50", 440, kA4Range)), "441.5");
    EXPECT_EQ(a4FieldText(text::commitTypedNumber("1000", 440, kA4Range)), "480");
    EXPECT_EQ(tetReferenceFieldText(text::commitTypedNumber("10", 440, kTetReferenceRange)), "20");
    EXPECT_EQ(tetReferenceFieldText(text::commitTypedNumber("261,63", 440, kTetReferenceRange)),
              "261.63");
}

} // namespace
} // namespace quorlen::pitch
