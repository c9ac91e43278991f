#include "cli_run.h"
#include "support/json_reader.h"

#include <gtest/gtest.h>

#include <cmath>

namespace quorlen::cli {
namespace {

using Words = std::vector<std::string>;
using quorlen::testing::readJson;

TEST(KeyCommand, TextShowsTheKeyAsTheHarmonyToolDoes) {
    const Outcome result = run({"key", "F#"});
    ASSERT_EQ(result.status, kExitOk) << result.err;
    EXPECT_EQ(wordsOfLine(result.out, "F♯"),
              (Words{"F♯", "major", "·", "signature", "6♯", "(F♯", "C♯", "G♯", "D♯", "A♯", "E♯)",
                     "·", "A4", "=", "440", "Hz"}));
    EXPECT_EQ(wordsOfLine(result.out, "Scale:"),
              (Words{"Scale:", "F♯", "G♯", "A♯", "B", "C♯", "D♯", "E♯"}));
    // F♯ is pitch class 6: 440 × 2^(−15/12) = 185.00 Hz. E♯ (F) wraps below
    // it to F3 = 174.61 Hz.
    EXPECT_EQ(wordsOfLine(result.out, "0"), (Words{"0", "F♯", "I", "major", "185.00", "Hz"}));
    EXPECT_EQ(wordsOfLine(result.out, "6"),
              (Words{"6", "E♯°", "vii°", "diminished", "174.61", "Hz"}));
    EXPECT_EQ(wordsOfLine(result.out, "Relative"),
              (Words{"Relative", "D♯m", "·", "Dominant", "D♭", "·", "Subdominant", "B"}));

    const Outcome c = run({"key", "C"});
    EXPECT_NE(c.out.find("signature 0 (no accidentals)"), std::string::npos) << c.out;
}

TEST(KeyCommand, EnharmonicAndUnicodeSpellingsGiveTheCircleSlot) {
    // The circle lists D♭ and B♭m, not C♯ and A♯m; ♯/♭ and #/b are the same.
    const struct {
        const char* typed;
        const char* same;
    } cases[] = {{"C#", "Db"},   {"D♭", "Db"}, {"A#m", "Bbm"},
                 {"B♭m", "Bbm"}, {"Gb", "F#"}, {"F♯m", "F#m"}};
    for (const auto& c : cases) {
        const Outcome typed = run({"key", c.typed, "--json"});
        const Outcome same = run({"key", c.same, "--json"});
        ASSERT_EQ(typed.status, kExitOk) << typed.err;
        EXPECT_EQ(typed.out, same.out) << c.typed;
    }
}

TEST(KeyCommand, JsonForAMinorAt432) {
    const Outcome result = run({"key", "Am", "--a4", "432", "--json"});
    ASSERT_EQ(result.status, kExitOk) << result.err;
    const auto json = readJson(result.out);
    ASSERT_TRUE(json) << result.out;
    EXPECT_EQ((*json)["key"].string(), "Am");
    EXPECT_EQ((*json)["longName"].string(), "A minor");
    EXPECT_EQ((*json)["signature"].string(), "0");
    EXPECT_TRUE((*json)["signatureNotes"].array().empty());
    ASSERT_EQ((*json)["scale"].array().size(), 7u);
    EXPECT_EQ((*json)["scale"][2].string(), "C");
    const auto& chords = (*json)["chords"].array();
    ASSERT_EQ(chords.size(), 7u);
    // The tonic A3 is A4 / 2 exactly; ii° is B3 = 432 × 2^(−10/12).
    EXPECT_EQ(chords[0]["rootHz"].number(), 216);
    EXPECT_EQ(chords[1]["degree"].number(), 1);
    EXPECT_EQ(chords[1]["name"].string(), "B°");
    EXPECT_EQ(chords[1]["numeral"].string(), "ii°");
    EXPECT_EQ(chords[1]["quality"].string(), "diminished");
    EXPECT_DOUBLE_EQ(chords[1]["rootHz"].number(), 432 * std::exp2(-10 / 12.0));
    EXPECT_EQ(chords[2]["quality"].string(), "major");
    EXPECT_EQ((*json)["relative"].string(), "C");
    EXPECT_EQ((*json)["dominant"].string(), "Em");
    EXPECT_EQ((*json)["subdominant"].string(), "Dm");
}

TEST(KeyCommand, BadArgumentsGiveOneLineAndStatus2) {
    const std::vector<std::vector<std::string_view>> bad = {
        {"key"},
        {"key", "H"},
        {"key", "C", "G"},
        {"key", "Cmaj"},
        {"key", "C", "--a4", "x"},
        {"key", "C", "--bpm", "120"},
    };
    for (const auto& args : bad) {
        const Outcome result = run(args);
        EXPECT_EQ(result.status, kExitUsage) << args.size();
        EXPECT_TRUE(result.out.empty());
        ASSERT_FALSE(result.err.empty());
        EXPECT_EQ(result.err.find('\n'), result.err.size() - 1) << result.err;
        EXPECT_TRUE(result.err.starts_with("quorlen key: ")) << result.err;
    }
}

} // namespace
} // namespace quorlen::cli
