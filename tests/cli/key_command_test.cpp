#include "cli_run.h"
#include "key/key_names.h"
#include "support/json.h"

#include <gtest/gtest.h>

#include <cmath>

namespace quorlen::cli {
namespace {

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
    EXPECT_NE(run({"key", "C"}).out.find("signature 0 (no accidentals)"), std::string::npos);
}

TEST(KeyCommand, EnharmonicAndUnicodeSpellingsGiveTheCircleSlot) {
    // The circle lists D♭ and B♭m, not C♯ and A♯m; ♯/♭ and #/b are the same.
    const std::pair<const char*, const char*> cases[] = {
        {"C#", "Db"}, {"B♭m", "Bbm"}, {"Gb", "F#"}};
    for (const auto& [typed, same] : cases) {
        const Outcome result = run({"key", typed, "--json"});
        ASSERT_EQ(result.status, kExitOk) << result.err;
        EXPECT_EQ(result.out, run({"key", same, "--json"}).out) << typed;
    }
}

// Every name `detect --key` prints, and its Camelot code, names the key.
TEST(KeyCommand, TakesDetectedNamesAndCamelotCodes) {
    for (int i = 0; i < 24; ++i) {
        const KeySelection key{i % 12, i >= 12};
        const std::string name = key::asciiKeyName(key);
        const std::string code = key::camelotCode(key);
        const Outcome byName = run({"key", name, "--json"});
        ASSERT_EQ(byName.status, kExitOk) << name << ": " << byName.err;
        const auto json = readJson(byName.out);
        ASSERT_TRUE(json) << name;
        EXPECT_EQ(clipboardSpelling(json->value("key").toString().toStdString()), name);
        EXPECT_EQ(run({"key", code, "--json"}).out, byName.out) << code;
    }
    const Outcome refused = run({"key", "13A"});
    EXPECT_EQ(refused.status, kExitUsage);
    EXPECT_NE(refused.err.find("Camelot code such as 8B or 11A"), std::string::npos) << refused.err;
}

TEST(KeyCommand, JsonForAMinorAt432) {
    const auto json = readJson(run({"key", "Am", "--a4", "432", "--json"}).out);
    ASSERT_TRUE(json);
    EXPECT_EQ(json->keys(), (QStringList{"chords", "dominant", "key", "longName", "relative",
                                         "scale", "signature", "signatureNotes", "subdominant"}));
    EXPECT_EQ((*json)["longName"], "A minor");
    EXPECT_EQ((*json)["signature"], "0");
    EXPECT_TRUE((*json)["signatureNotes"].toArray().isEmpty());
    EXPECT_EQ((*json)["scale"][2], "C");
    const QJsonArray chords = (*json)["chords"].toArray();
    ASSERT_EQ(chords.size(), 7);
    const QJsonObject second = chords[1].toObject();
    EXPECT_EQ(second.keys(), (QStringList{"degree", "name", "numeral", "quality", "rootHz"}));
    EXPECT_EQ(second["degree"].toDouble(), 1);
    EXPECT_EQ(second["name"], "B°");
    EXPECT_EQ(second["numeral"], "ii°");
    EXPECT_EQ(second["quality"], "diminished");
    // The tonic A3 is A4 / 2 exactly; ii° is B3 = 432 × 2^(−10/12).
    EXPECT_EQ(chords[0]["rootHz"].toDouble(), 216);
    EXPECT_DOUBLE_EQ(second["rootHz"].toDouble(), 432 * std::exp2(-10 / 12.0));
    EXPECT_EQ((*json)["dominant"], "Em");
}

} // namespace
} // namespace quorlen::cli
