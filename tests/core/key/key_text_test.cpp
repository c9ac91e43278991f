#include "key/key_text.h"

#include <gtest/gtest.h>

namespace quorlen::key {
namespace {

TEST(KeyText, TuningFiguresAgreeAndRoundHalvesAway) {
    struct Case {
        double cents;
        const char* shown;
        const char* a4;
    };
    // a4 = 440 × 2^(c / 1200) of the shown cents, to two decimals.
    const Case cases[] = {
        {-14.0, "-14.0", "436.46"}, {25.0, "+25.0", "446.40"},  {0.0, "0.0", "440.00"},
        {-0.04, "0.0", "440.00"},   {0.05, "+0.1", "440.03"},   {-31.77, "-31.8", "431.99"},
        {50.0, "+50.0", "452.89"},  {-50.0, "-50.0", "427.47"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(centsText(c.cents), c.shown) << c.cents;
        EXPECT_EQ(a4Text(c.cents), c.a4) << c.cents;
    }
    EXPECT_DOUBLE_EQ(shownA4(-14.0), 436.46);
}

TEST(KeyText, SummaryNamesKeyCodeConfidenceAndTuning) {
    KeyEstimate estimate;
    EXPECT_EQ(summaryText(estimate), "key none · no tonal content");
    estimate.key = KeySelection{3, true};
    estimate.confidence = 0.815;
    estimate.tuningCents = -13.96;
    EXPECT_EQ(summaryText(estimate), "key F#m (11A) · 82% · tuning -14.0 cents (A4 436.46 Hz)");
    estimate.key = KeySelection{9, false};
    estimate.confidence = 1.0;
    estimate.tuningCents = 25.0;
    EXPECT_EQ(summaryText(estimate), "key Eb (5B) · 100% · tuning +25.0 cents (A4 446.40 Hz)");
}

} // namespace
} // namespace quorlen::key
