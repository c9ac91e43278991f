#include "text/number_format.h"
#include "text/sidebar_summary.h"
#include "text/typed_number.h"

#include <gtest/gtest.h>

#include <optional>

namespace quorlen::text {
namespace {

TEST(Format, FollowsPrintfRoundingAndCompactDropsWholeDecimals) {
    // printf rounds the binary value: 31.25 is exact and ties to even.
    EXPECT_EQ(format("%.1f", 31.25), "31.2");
    EXPECT_EQ(format("%.1f", 31.35), "31.4"); // 31.35 is stored as 31.35000000000000142
    EXPECT_EQ(format("%.2f ms", 500.0), "500.00 ms");
    EXPECT_EQ(format("%.0f", 1e300).size(), 301u); // longer than any fixed buffer
    EXPECT_EQ(compact(440), "440");
    EXPECT_EQ(compact(98.5), "98.5");
    EXPECT_EQ(compact(609.1370558375634), "609.1");
    EXPECT_EQ(compact(0.04), "0.0"); // not whole, so one decimal even if it shows 0
    EXPECT_EQ(compact(-2), "-2");
    EXPECT_EQ(roundHalfAway(2.5), 3);
    EXPECT_EQ(roundHalfAway(-2.5), -3);
    EXPECT_EQ(roundHalfAway(0.49999999999999994), 0);
}

TEST(SidebarSummary, ShowsA4AndTheBeatLength) {
    // 60000 / 98.5 = 609.137...; below 1 BPM the beat is measured at 1 BPM.
    EXPECT_EQ(sidebarSummary(440, 120), "A4 = 440 Hz\n120 BPM = 500 ms");
    EXPECT_EQ(sidebarSummary(440, 98.5), "A4 = 440 Hz\n98.5 BPM = 609.1 ms");
    EXPECT_EQ(sidebarSummary(432.5, 0.5), "A4 = 432.5 Hz\n0.5 BPM = 60000 ms");
    EXPECT_EQ(sidebarSummary(440, 90), "A4 = 440 Hz\n90 BPM = 666.7 ms");
}

TEST(ParseTypedNumber, AcceptsOneWholeOrDecimalNumberWithPointOrCommaAndNothingElse) {
    // Too small for a double: zero, as typing "0" would give; "1e-310"
    // still fits (subnormal) and stays itself.
    const std::pair<const char*, double> accepted[] = {
        {"120", 120.0},  {"98,5", 98.5},  {"98.5", 98.5},     {"-3", -3.0},      {"+7", 7.0},
        {"1e3", 1000.0}, {".5", 0.5},     {"5.", 5.0},        {"0,25", 0.25},    {"2.5E-1", 0.25},
        {"007", 7.0},    {"1e-400", 0.0}, {"1,5e-9999", 0.0}, {"1e-310", 1e-310}};
    for (const auto& [text, value] : accepted)
        EXPECT_EQ(parseTypedNumber(text), value) << text;
    // Blanks on either side, words, two separators, signs alone, hex and
    // the non-finite spellings all count as no number.
    for (const char* text : {"",     " 5",    "5 ",  "abc", "12abc", "1,2,3",  "1.2.3",  "+",
                             "-",    "+-5",   "++5", "inf", "-inf",  "nan",    "NaN",    "infinity",
                             "0x10", "1e999", "5%",  "\t5", "1 000", "-1e999", "1e-400x"})
        EXPECT_EQ(parseTypedNumber(text), std::nullopt) << text;
}

TEST(CommitTypedNumber, ClampsParsedValuesAndKeepsTheOldOneOtherwise) {
    const NumberRange bpm{1, 999};
    const NumberRange a4{400, 480};
    const struct {
        const char* text;
        double old;
        NumberRange range;
        double committed;
    } cases[] = {{"98,5", 120, bpm, 98.5}, {"1e3", 120, bpm, 999},   {"0", 120, bpm, 1},
                 {"-40", 120, bpm, 1},     {"", 120, bpm, 120},      {"abc", 97.25, bpm, 97.25},
                 {"nan", 120, bpm, 120},   {"inf", 120, bpm, 120},   {"1e-400", 120, bpm, 1},
                 {"-1e-400", 120, bpm, 1}, {"1e308", 120, bpm, 999}, {"432", 440, a4, 432},
                 {"500", 440, a4, 480}};
    for (const auto& c : cases)
        EXPECT_DOUBLE_EQ(commitTypedNumber(c.text, c.old, c.range), c.committed) << c.text;
}

} // namespace
} // namespace quorlen::text
