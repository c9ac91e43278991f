#include "cli_run.h"
#include "support/json.h"

#include <gtest/gtest.h>

#include <cmath>

namespace quorlen::cli {
namespace {

using quorlen::testing::readJson;

TEST(NotesCommand, MatrixRowsAsTheAppShowsThem) {
    const Outcome result = run({"notes", "--a4", "432"});
    ASSERT_EQ(result.status, kExitOk) << result.err;
    EXPECT_EQ(wordsOfLine(result.out, "Note"),
              (Words{"Note", "0", "1", "2", "3", "4", "5", "6", "7", "8"}));
    // 432 × 2^(-9/12) = 256.87 for C4; the A row holds 432.0 in octave 4.
    EXPECT_EQ(wordsOfLine(result.out, "C")[5], "256.9");
    EXPECT_EQ(wordsOfLine(result.out, "A")[5], "432.0");
}

TEST(NotesCommand, JsonListsAll108NotesUnrounded) {
    const auto json = readJson(run({"notes", "--json", "--a4=441,5"}).out);
    ASSERT_TRUE(json);
    EXPECT_EQ((*json)["a4"].toDouble(), 441.5);
    const QJsonArray notes = (*json)["notes"].toArray();
    ASSERT_EQ(notes.size(), 108);
    const QJsonObject a4 = notes[57].toObject(); // octave 4, pitch class 9
    EXPECT_EQ(a4.keys(), (QStringList{"hz", "midi", "name", "octave"}));
    EXPECT_EQ(a4["name"], "A");
    EXPECT_EQ(a4["octave"].toDouble(), 4);
    EXPECT_EQ(a4["midi"].toDouble(), 69);
    EXPECT_EQ(a4["hz"].toDouble(), 441.5);
    EXPECT_DOUBLE_EQ(notes[107]["hz"].toDouble(), 441.5 * std::pow(2.0, 50 / 12.0));
}

TEST(TetCommand, StepsAsTheTableShowsThem) {
    const Outcome result = run({"tet", "19"});
    ASSERT_EQ(result.status, kExitOk) << result.err;
    EXPECT_EQ(wordsOfLine(result.out, "1"),
              (Words{"1", "456.35", "Hz", "×1.0372", "63.2", "¢", "A#4", "-37¢"}));
    EXPECT_EQ(wordsOfLine(result.out, "octave"),
              (Words{"octave", "880.00", "Hz", "×2.0000", "1200.0", "¢", "A5", "+0¢"}));
}

TEST(TetCommand, JsonAndClamps) {
    const auto json = readJson(run({"tet", "99", "--ref", "5000", "--a4", "300", "--json"}).out);
    ASSERT_TRUE(json);
    EXPECT_EQ((*json)["divisions"].toDouble(), 53);
    EXPECT_EQ((*json)["reference"].toDouble(), 2000);
    EXPECT_EQ((*json)["a4"].toDouble(), 400);
    const QJsonArray steps = (*json)["steps"].toArray();
    ASSERT_EQ(steps.size(), 54);
    EXPECT_EQ(steps[53].toObject().keys(), (QStringList{"centsFromRoot", "frequency", "index",
                                                        "nearestCents", "nearestNote", "ratio"}));
    EXPECT_EQ(steps[53]["frequency"].toDouble(), 4000);
    EXPECT_EQ(steps[53]["centsFromRoot"].toDouble(), 1200);
}

TEST(HarmonicsCommand, DefaultsToA1AndSpellsFlatsAsSharps) {
    const Outcome a1 = run({"harmonics"});
    ASSERT_EQ(a1.status, kExitOk) << a1.err;
    EXPECT_EQ(wordsOfLine(a1.out, "7×"), (Words{"7×", "385.0", "Hz", "G4", "-31¢"}));

    const Outcome bb2 = run({"harmonics", "Bb2", "--count", "2", "--json"});
    EXPECT_EQ(bb2.out, run({"harmonics", "A#2", "--count", "2", "--json"}).out);
    const auto json = readJson(bb2.out);
    ASSERT_TRUE(json) << bb2.out;
    ASSERT_EQ((*json)["harmonics"].toArray().size(), 2);
    EXPECT_EQ((*json)["harmonics"][0]["noteName"], "A#2");
    EXPECT_EQ((*json)["harmonics"][1]["number"].toDouble(), 2);
}

} // namespace
} // namespace quorlen::cli
