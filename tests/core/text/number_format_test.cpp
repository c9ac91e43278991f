#include "text/number_format.h"
#include "text/sidebar_summary.h"

#include <gtest/gtest.h>

namespace quorlen::text {
namespace {

TEST(Format, FollowsPrintfRounding) {
    // printf rounds the binary value: 31.25 is exact and ties to even.
    EXPECT_EQ(format("%.1f", 31.25), "31.2");
    EXPECT_EQ(format("%.1f", 31.35), "31.4"); // 31.35 is stored as 31.35000000000000142
    EXPECT_EQ(format("%.2f ms", 500.0), "500.00 ms");
    EXPECT_EQ(format("%.0f", 1e300).size(), 301u); // longer than any fixed buffer
}

TEST(Compact, WholeNumbersLoseTheirDecimals) {
    EXPECT_EQ(compact(440), "440");
    EXPECT_EQ(compact(98.5), "98.5");
    EXPECT_EQ(compact(609.1370558375634), "609.1");
    EXPECT_EQ(compact(0.04), "0.0"); // not whole, so one decimal even if it shows 0
    EXPECT_EQ(compact(-2), "-2");
}

TEST(RoundHalfAway, RoundsTiesAwayFromZero) {
    EXPECT_EQ(roundHalfAway(2.5), 3);
    EXPECT_EQ(roundHalfAway(-2.5), -3);
    EXPECT_EQ(roundHalfAway(0.49999999999999994), 0);
}

TEST(SidebarSummary, ShowsA4AndTheBeatLength) {
    EXPECT_EQ(sidebarSummary(440, 120), "A4 = 440 Hz\n120 BPM = 500 ms");
    // 60000 / 98.5 = 609.137...
    EXPECT_EQ(sidebarSummary(440, 98.5), "A4 = 440 Hz\n98.5 BPM = 609.1 ms");
    // Below 1 BPM the beat is measured at 1 BPM.
    EXPECT_EQ(sidebarSummary(432.5, 0.5), "A4 = 432.5 Hz\n0.5 BPM = 60000 ms");
    EXPECT_EQ(sidebarSummary(440, 90), "A4 = 440 Hz\n90 BPM = 666.7 ms");
}

} // namespace
} // namespace quorlen::text
