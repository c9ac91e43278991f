#include "text/typed_number.h"

#include <gtest/gtest.h>

#include <cmath>
#include <optional>
#include <string>

namespace quorlen::text {
namespace {

struct ParseCase {
    const char* text;
    std::optional<double> expected;
};

TEST(ParseTypedNumber, AcceptsWholeDecimalsWithPointOrComma) {
    // Too small for a double: zero, as typing "0" would give; "1e-310"
    // still fits (subnormal) and stays itself.
    const ParseCase cases[] = {
        {"120", 120.0},  {"98,5", 98.5},  {"98.5", 98.5},     {"-3", -3.0},      {"+7", 7.0},
        {"1e3", 1000.0}, {".5", 0.5},     {"5.", 5.0},        {"0,25", 0.25},    {"2.5E-1", 0.25},
        {"007", 7.0},    {"1e-400", 0.0}, {"1,5e-9999", 0.0}, {"1e-310", 1e-310}};
    for (const ParseCase& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(parseTypedNumber(c.text), c.expected);
    }
}

TEST(ParseTypedNumber, RejectsAnythingButOneWholeNumber) {
    // Blanks on either side, words, two separators, signs alone, hex and
    // the non-finite spellings all count as no number.
    const char* rejected[] = {"",      " 5",  "5 ",    "abc",      "12abc",  "1,2,3",
                              "1.2.3", "+",   "-",     "+-5",      "++5",    "inf",
                              "-inf",  "nan", "NaN",   "infinity", "0x10",   "1e999",
                              "5%",    "\t5", "1 000", "-1e999",   "1e-400x"};
    for (const char* text : rejected) {
        SCOPED_TRACE(text);
        EXPECT_EQ(parseTypedNumber(text), std::nullopt);
    }
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
