#include "cli/json_writer.h"
#include "cli_run.h"
#include "support/json.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace quorlen::cli {
namespace {

using quorlen::testing::readJson;

QJsonObject spaceJson(std::vector<std::string_view> args) {
    args.insert(args.begin(), "space");
    args.push_back("--json");
    const Outcome result = run(args);
    EXPECT_EQ(result.status, kExitOk) << result.err;
    const auto json = readJson(result.out);
    EXPECT_TRUE(json) << result.out;
    return json.value_or(QJsonObject{});
}

TEST(SpaceCommand, JsonAt120BpmWithDefaults) {
    const QJsonObject json = spaceJson({});
    EXPECT_EQ(json.keys(),
              (QStringList{"barMs", "beatMs", "bpm", "custom", "delays", "pre64Ms", "presets"}));
    EXPECT_EQ(json["beatMs"].toDouble(), 500);
    EXPECT_EQ(json["pre64Ms"].toDouble(), 31.25);

    // Bar 2000: pre-delay 2000/N, total 2000 x bars, decay the difference.
    const QJsonArray presets = json["presets"].toArray();
    ASSERT_EQ(presets.size(), 5);
    EXPECT_EQ(presets[0].toObject().keys(),
              (QStringList{"decayMs", "detail", "name", "preDelayMs", "totalMs"}));
    EXPECT_EQ(presets[0]["name"], "Tight Ambience");
    EXPECT_EQ(presets[0]["detail"], "drums, percussion");
    EXPECT_EQ(presets[0]["decayMs"].toDouble(), 492.1875);

    const QJsonObject custom = json["custom"].toObject();
    EXPECT_EQ(custom.keys(),
              (QStringList{"decayMs", "preDelayMs", "preDivision", "totalBars", "totalMs"}));
    EXPECT_EQ(custom["decayMs"].toDouble(), 1968.75);

    const QJsonArray delays = json["delays"].toArray();
    ASSERT_EQ(delays.size(), 7);
    EXPECT_EQ(delays[3]["label"], "1/8T");
    EXPECT_DOUBLE_EQ(delays[3]["ms"].toDouble(), 2000.0 / 12);
}

TEST(SpaceCommand, CustomChoicesAndTheTempoClamp) {
    // Quarter bar with a 1/16 pre-delay at 120: 125, 375, 500. "0,25" is
    // read by the typed-number rule.
    const QJsonObject custom = spaceJson({"--total", "0,25", "--pre=16"})["custom"].toObject();
    EXPECT_EQ(custom["totalBars"].toDouble(), 0.25);
    EXPECT_EQ(custom["preDelayMs"].toDouble(), 125);
    EXPECT_EQ(custom["decayMs"].toDouble(), 375);

    // The bar uses the tempo clamped to 20...400: 10 -> 12000 ms, 1000 -> 600.
    const std::tuple<const char*, double, double> clamps[] = {
        {"10", 20, 12000}, {"1000", 400, 600}, {"98,5", 98.5, 240000 / 98.5}};
    for (const auto& [argument, bpm, barMs] : clamps) {
        SCOPED_TRACE(argument);
        const QJsonObject json = spaceJson({argument});
        EXPECT_EQ(json["bpm"].toDouble(), bpm);
        EXPECT_DOUBLE_EQ(json["barMs"].toDouble(), barMs);
    }
}

TEST(SpaceCommand, TextUsesOneDecimalLikeTheApp) {
    const Outcome result = run({"space", "1000", "--total", "8", "--pre", "256"});
    ASSERT_EQ(result.status, kExitOk);
    EXPECT_EQ(result.out.rfind("Tempo 400 BPM (999 given; times use 20 to 400)\n", 0), 0u);
    EXPECT_EQ(wordsOfLine(result.out, "Pre"), (Words{"Pre", "1/64", "9.4", "ms"}));
    // 600 / 256 = 2.34375; 600 x 8 = 4800.
    EXPECT_EQ(wordsOfLine(result.out, "Pre-delay"), (Words{"Pre-delay", "2.3", "ms"}));
    EXPECT_EQ(wordsOfLine(result.out, "Decay"), (Words{"Decay", "4797.7", "ms"}));
    EXPECT_NE(result.out.find("Custom Space: 8 bars, pre-delay 1/256 of a bar\n"),
              std::string::npos);

    const Outcome plain = run({"space"});
    EXPECT_EQ(wordsOfLine(plain.out, "Medium"),
              (Words{"Medium", "Room", "31.2", "ms", "1968.8", "ms", "2000.0", "ms", "vocals,",
                     "snare", "\u00b7", "1", "bar", "\u00b7", "pre", "1/64"}));
    EXPECT_EQ(wordsOfLine(plain.out, "1/8T"), (Words{"1/8T", "166.7", "ms"}));
}

TEST(JsonWriter, EscapesAndNumbersStayValidJson) {
    EXPECT_EQ(jsonString("a\"b\\c\nd\x01\u00bc"), "\"a\\\"b\\\\c\\nd\\u0001\u00bc\"");
    EXPECT_EQ(shortestJsonNumber(std::numeric_limits<double>::infinity()), "null");
    EXPECT_EQ(shortestJsonNumber(std::nan("")), "null");
    // The shortest text still reads back as the very same double.
    const double third = 1.0 / 3.0;
    EXPECT_EQ(std::strtod(shortestJsonNumber(third).c_str(), nullptr), third);

    std::ostringstream out;
    JsonWriter json(out);
    json.beginObject().key("a").beginArray().value(1).value("x").beginObject().endObject();
    json.endArray().member("b", std::nan("")).member("c", 98.1).endObject();
    // 98.1, not 98.099999999999994: the writer's numbers are the reports'.
    EXPECT_EQ(out.str(), "{\"a\":[1,\"x\",{}],\"b\":null,\"c\":98.1}");
}

} // namespace
} // namespace quorlen::cli
