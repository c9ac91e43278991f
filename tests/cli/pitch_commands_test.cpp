#include "cli_run.h"
#include "support/json_reader.h"

#include <gtest/gtest.h>

#include <cmath>

namespace quorlen::cli {
namespace {

using Words = std::vector<std::string>;
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
    const Outcome result = run({"notes", "--json", "--a4=441,5"});
    ASSERT_EQ(result.status, kExitOk) << result.err;
    const auto json = readJson(result.out);
    ASSERT_TRUE(json) << result.out;
    EXPECT_EQ((*json)["a4"].number(), 441.5);
    const auto& notes = (*json)["notes"].array();
    ASSERT_EQ(notes.size(), 108u);
    EXPECT_EQ(notes[0]["name"].string(), "C");
    EXPECT_EQ(notes[0]["octave"].number(), 0);
    EXPECT_EQ(notes[0]["midi"].number(), 12);
    const auto& a4 = notes[57]; // octave 4, pitch class 9
    EXPECT_EQ(a4["name"].string(), "A");
    EXPECT_EQ(a4["midi"].number(), 69);
    EXPECT_EQ(a4["hz"].number(), 441.5);
    EXPECT_DOUBLE_EQ(notes[107]["hz"].number(), 441.5 * std::pow(2.0, 50 / 12.0));
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
    const Outcome result = run({"tet", "99", "--ref", "5000", "--a4", "300", "--json"});
    ASSERT_EQ(result.status, kExitOk) << result.err;
    const auto json = readJson(result.out);
    ASSERT_TRUE(json) << result.out;
    EXPECT_EQ((*json)["divisions"].number(), 53);
    EXPECT_EQ((*json)["reference"].number(), 2000);
    EXPECT_EQ((*json)["a4"].number(), 400);
    const auto& steps = (*json)["steps"].array();
    ASSERT_EQ(steps.size(), 54u);
    EXPECT_EQ(steps[53]["index"].number(), 53);
    EXPECT_EQ(steps[53]["ratio"].number(), 2);
    EXPECT_EQ(steps[53]["frequency"].number(), 4000);
    EXPECT_EQ(steps[53]["centsFromRoot"].number(), 1200);
    EXPECT_FALSE(steps[1]["nearestNote"].string().empty());
    EXPECT_LE(std::abs(steps[1]["nearestCents"].number()), 50);
}

TEST(HarmonicsCommand, DefaultsToA1AndSpellsFlatsAsSharps) {
    const Outcome a1 = run({"harmonics"});
    ASSERT_EQ(a1.status, kExitOk) << a1.err;
    EXPECT_EQ(wordsOfLine(a1.out, "7×"), (Words{"7×", "385.0", "Hz", "G4", "-31¢"}));

    const Outcome bb2 = run({"harmonics", "Bb2", "--count", "2", "--json"});
    const Outcome as2 = run({"harmonics", "A#2", "--count", "2", "--json"});
    ASSERT_EQ(bb2.status, kExitOk) << bb2.err;
    EXPECT_EQ(bb2.out, as2.out);
    const auto json = readJson(bb2.out);
    ASSERT_TRUE(json) << bb2.out;
    ASSERT_EQ((*json)["harmonics"].array().size(), 2u);
    EXPECT_EQ((*json)["harmonics"][0]["noteName"].string(), "A#2");
    EXPECT_EQ((*json)["harmonics"][1]["number"].number(), 2);
}

TEST(PitchCommands, RefuseBadArgumentsWithOneLineAndStatus2) {
    const std::vector<std::vector<std::string_view>> refused = {
        {"notes", "extra"},        {"notes", "--a4"},
        {"notes", "--a4", "inf"},  {"tet"},
        {"tet", "12.5"},           {"tet", "x"},
        {"tet", "12", "--ref"},    {"tet", "12", "--wobble"},
        {"harmonics", "C5"},       {"harmonics", "H2"},
        {"harmonics", "a1"},       {"harmonics", "--count", "1.5"},
        {"harmonics", "A1", "B1"},
    };
    for (const auto& args : refused) {
        const Outcome result = run(args);
        EXPECT_EQ(result.status, kExitUsage) << args[0] << ' ' << args.size();
        EXPECT_TRUE(result.out.empty());
        EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
    }
}

} // namespace
} // namespace quorlen::cli
