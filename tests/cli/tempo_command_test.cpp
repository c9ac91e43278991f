#include "cli_run.h"
#include "support/json_reader.h"

#include <gtest/gtest.h>

namespace quorlen::cli {
namespace {

using Words = std::vector<std::string>;
using quorlen::testing::readJson;

TEST(TempoCommand, TextShowsTheAppsFormatsAt120Bpm) {
    const Outcome result = run({"tempo"});
    ASSERT_EQ(result.status, kExitOk);
    EXPECT_TRUE(result.err.empty());
    EXPECT_EQ(result.out.rfind("Tempo 120 BPM\n", 0), 0u);
    // Header figures "%.2f"; rows ms "%.2f", Hz by size (see the core table).
    EXPECT_EQ(wordsOfLine(result.out, "Quarter"), (Words{"Quarter", "500.00", "ms"}));
    EXPECT_EQ(wordsOfLine(result.out, "1/32"),
              (Words{"1/32", "62.50", "ms", "93.75", "ms", "41.67", "ms", "16.00"}));
    EXPECT_EQ(wordsOfLine(result.out, "1/64"),
              (Words{"1/64", "31.25", "ms", "46.88", "ms", "20.83", "ms", "32.00"}));
    EXPECT_EQ(wordsOfLine(result.out, "8/1"),
              (Words{"8/1", "16000.00", "ms", "24000.00", "ms", "10666.67", "ms", "0.0625"}));
    EXPECT_EQ(wordsOfLine(result.out, "Note"),
              (Words{"Note", "Straight", "Dotted", "Triplet", "Hz"}));
}

TEST(TempoCommand, JsonHasTheListedKeysAndUnroundedValues) {
    const Outcome result = run({"tempo", "--json"});
    ASSERT_EQ(result.status, kExitOk);
    const auto json = readJson(result.out);
    ASSERT_TRUE(json) << result.out;
    EXPECT_EQ((*json).object().size(), 3u);
    EXPECT_EQ((*json)["bpm"].number(), 120);
    EXPECT_EQ((*json)["metrics"]["quarterMs"].number(), 500);
    EXPECT_EQ((*json)["metrics"]["eighthDottedMs"].number(), 375);
    EXPECT_EQ((*json)["metrics"]["sixteenthHz"].number(), 8);

    const auto& rows = (*json)["rows"].array();
    ASSERT_EQ(rows.size(), 13u);
    EXPECT_EQ(rows.front()["note"].string(), "32/1");
    EXPECT_EQ(rows.back()["note"].string(), "1/128");
    const auto& quarter = rows[7];
    EXPECT_EQ(quarter.object().size(), 5u);
    EXPECT_EQ(quarter["note"].string(), "1/4");
    EXPECT_EQ(quarter["straightMs"].number(), 500);
    EXPECT_EQ(quarter["dottedMs"].number(), 750);
    // Unrounded: the text shows 333.33, the JSON the double itself.
    EXPECT_DOUBLE_EQ(quarter["tripletMs"].number(), 1000.0 / 3.0);
    EXPECT_EQ(quarter["hz"].number(), 2);
}

TEST(TempoCommand, TempoIsReadAndClampedLikeTheAppsField) {
    // The field's commit rule: "," for ".", clamp to 1...999; the table
    // itself does not clamp further (10 BPM: quarter 6000 ms).
    const std::tuple<const char*, double, double> cases[] = {
        {"98,5", 98.5, 60000 / 98.5},
        {"5000", 999, 60000.0 / 999},
        {"0", 1, 60000},
        {"-40", 1, 60000},
        {"10", 10, 6000},
        {"1e2", 100, 600},
    };
    for (const auto& [argument, bpm, quarterMs] : cases) {
        SCOPED_TRACE(argument);
        const Outcome result = run({"tempo", argument, "--json"});
        ASSERT_EQ(result.status, kExitOk) << result.err;
        const auto json = readJson(result.out);
        ASSERT_TRUE(json);
        EXPECT_EQ((*json)["bpm"].number(), bpm);
        EXPECT_DOUBLE_EQ((*json)["metrics"]["quarterMs"].number(), quarterMs);
    }
    EXPECT_EQ(run({"tempo", "98,5"}).out.rfind("Tempo 98.50 BPM\n", 0), 0u);
}

TEST(CommandRefusals, OneLineOnStderrAndStatusTwo) {
    const std::vector<std::vector<std::string_view>> refused = {
        {"tempo", "abc"},          {"tempo", " 90"},
        {"tempo", "inf"},          {"tempo", "120", "130"},
        {"tempo", "--frob"},       {"tempo", "--json", "--json"},
        {"tempo", "--json=yes"},   {"space", "x"},
        {"space", "--pre", "100"}, {"space", "--pre"},
        {"space", "--total", "3"}, {"space", "--total", "bars"},
        {"space", "--total=0.3"},  {"space", "120", "-q"},
        {"tempo", "--bars", "2"},  {"tempo", "--click", "--bars", "x"},
        {"tempo", "--click=1"},
    };
    for (const auto& args : refused) {
        SCOPED_TRACE(std::string(args[0]) + " " + std::string(args[1]));
        const Outcome result = run(args);
        EXPECT_EQ(result.status, kExitUsage);
        EXPECT_TRUE(result.out.empty());
        EXPECT_EQ(result.err.rfind("quorlen " + std::string(args[0]) + ": ", 0), 0u) << result.err;
        EXPECT_EQ(result.err.find('\n'), result.err.size() - 1) << result.err;
    }
}

} // namespace
} // namespace quorlen::cli
