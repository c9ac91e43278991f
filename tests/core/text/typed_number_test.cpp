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
    const ParseCase cases[] = {
        {"120", 120.0},
        {"98,5", 98.5},
        {"98.5", 98.5},
        {"-3", -3.0},
        {"+7", 7.0},
        {"1e3", 1000.0},
        {".5", 0.5},
        {"5.", 5.0},
        {"0,25", 0.25},
        {"2.5E-1", 0.25},
        {"007", 7.0},
        // Too small for a double: zero, as typing "0" would give; "1e-310"
        // still fits (subnormal) and stays itself.
        {"1e-400", 0.0},
        {"1,5e-9999", 0.0},
        {"1e-310", 1e-310},
    };
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
    const NumberRange bpmRange{1, 999};
    EXPECT_DOUBLE_EQ(commitTypedNumber("98,5", 120, bpmRange), 98.5);
    EXPECT_DOUBLE_EQ(commitTypedNumber("1e3", 120, bpmRange), 999);
    EXPECT_DOUBLE_EQ(commitTypedNumber("0", 120, bpmRange), 1);
    EXPECT_DOUBLE_EQ(commitTypedNumber("-40", 120, bpmRange), 1);
    EXPECT_DOUBLE_EQ(commitTypedNumber("", 120, bpmRange), 120);
    EXPECT_DOUBLE_EQ(commitTypedNumber("abc", 97.25, bpmRange), 97.25);
    EXPECT_DOUBLE_EQ(commitTypedNumber("nan", 120, bpmRange), 120);
    EXPECT_DOUBLE_EQ(commitTypedNumber("inf", 120, bpmRange), 120);
    EXPECT_DOUBLE_EQ(commitTypedNumber("1e-400", 120, bpmRange), 1);
    EXPECT_DOUBLE_EQ(commitTypedNumber("-1e-400", 120, bpmRange), 1);
    EXPECT_DOUBLE_EQ(commitTypedNumber("1e308", 120, bpmRange), 999);

    const NumberRange a4Range{400, 480};
    EXPECT_DOUBLE_EQ(commitTypedNumber("432", 440, a4Range), 432);
    EXPECT_DOUBLE_EQ(commitTypedNumber("500", 440, a4Range), 480);
}

} // namespace
} // namespace quorlen::text
