#include "cli_run.h"
#include "support/json.h"

#include <gtest/gtest.h>

namespace quorlen::cli {
namespace {

using quorlen::testing::readJson;

TEST(TempoCommand, TextShowsTheAppsFormatsAt120Bpm) {
    const Outcome result = run({"tempo"});
    ASSERT_EQ(result.status, kExitOk);
    EXPECT_TRUE(result.err.empty());
    EXPECT_EQ(result.out.rfind("Tempo 120 BPM\n", 0), 0u);
    // Header figures "%.2f"; rows ms "%.2f", Hz by size (see the core table).
    EXPECT_EQ(wordsOfLine(result.out, "Quarter"), (Words{"Quarter", "500.00", "ms"}));
    EXPECT_EQ(wordsOfLine(result.out, "Note"),
              (Words{"Note", "Straight", "Dotted", "Triplet", "Hz"}));
    EXPECT_EQ(wordsOfLine(result.out, "1/64"),
              (Words{"1/64", "31.25", "ms", "46.88", "ms", "20.83", "ms", "32.00"}));
}

TEST(TempoCommand, JsonHasTheListedKeysAndUnroundedValues) {
    const auto json = readJson(run({"tempo", "--json"}).out);
    ASSERT_TRUE(json);
    EXPECT_EQ(json->keys(), (QStringList{"bpm", "metrics", "rows"}));
    EXPECT_EQ((*json)["bpm"].toDouble(), 120);
    const QJsonObject metrics = (*json)["metrics"].toObject();
    EXPECT_EQ(metrics.keys(), (QStringList{"eighthDottedMs", "quarterMs", "sixteenthHz"}));
    EXPECT_EQ(metrics["sixteenthHz"].toDouble(), 8);

    const QJsonArray rows = (*json)["rows"].toArray();
    ASSERT_EQ(rows.size(), 13);
    EXPECT_EQ(rows.first()["note"], "32/1");
    const QJsonObject quarter = rows[7].toObject();
    EXPECT_EQ(quarter.keys(), (QStringList{"dottedMs", "hz", "note", "straightMs", "tripletMs"}));
    EXPECT_EQ(quarter["note"], "1/4");
    // Unrounded: the text shows 333.33, the JSON the double itself.
    EXPECT_DOUBLE_EQ(quarter["tripletMs"].toDouble(), 1000.0 / 3.0);
}

TEST(TempoCommand, TempoIsReadAndClampedLikeTheAppsField) {
    // The field's commit rule: "," for ".", clamp to 1...999; "-40" is a
    // number, not an option.
    const std::pair<const char*, double> cases[] = {{"98,5", 98.5}, {"5000", 999}, {"-40", 1}};
    for (const auto& [argument, bpm] : cases) {
        SCOPED_TRACE(argument);
        const auto json = readJson(run({"tempo", argument, "--json"}).out);
        ASSERT_TRUE(json);
        EXPECT_EQ((*json)["bpm"].toDouble(), bpm);
        EXPECT_DOUBLE_EQ((*json)["metrics"]["quarterMs"].toDouble(), 60000 / bpm);
    }
    EXPECT_EQ(run({"tempo", "98,5"}).out.rfind("Tempo 98.50 BPM\n", 0), 0u);
    // The same numbers as detect's reports: 98.1, not 98.099999999999994.
    EXPECT_EQ(run({"tempo", "98.1", "--json"}).out.rfind("{\"bpm\":98.1,", 0), 0u);
}

TEST(TempoCommand, CommandsTakingOneTempoRefuseTwoAlike) {
    for (const char* command : {"tempo", "space"}) {
        SCOPED_TRACE(command);
        const Outcome result = run({command, "90", "100"});
        EXPECT_EQ(result.status, kExitUsage);
        EXPECT_NE(result.err.find("expected one tempo, got 2"), std::string::npos);
    }
}

} // namespace
} // namespace quorlen::cli
