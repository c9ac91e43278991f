#include "tempo/note_division.h"
#include "tempo/tempo_field.h"

#include <gtest/gtest.h>

#include <string>

namespace quorlen::tempo {
namespace {

struct RowCase {
    const char* note;
    const char* straight;
    const char* dotted;
    const char* triplet;
    const char* hz;
};

TEST(NoteDivision, SpokenNamesReadAsMusiciansSayThem) {
    const struct {
        NoteDivision division;
        const char* name;
    } cases[] = {
        {{32, 1}, "32 bars"},     {{2, 1}, "2 bars"},       {{1, 1}, "whole note"},
        {{1, 2}, "half note"},    {{1, 4}, "quarter note"}, {{1, 8}, "eighth note"},
        {{1, 16}, "16th note"},   {{1, 32}, "32nd note"},   {{1, 64}, "64th note"},
        {{1, 128}, "128th note"}, {{1, 3}, "3rd note"},     {{1, 112}, "112th note"},
        {{3, 8}, "3/8 note"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.division.spokenName(), c.name) << c.division.id();
}

TEST(NoteLengths, TableAt120BpmAsShown) {
    // At 120 BPM a beat is 500 ms and A/B lasts 500 x 4A/B ms; dotted x 1.5,
    // triplet x 2/3, Hz = 1000 / straight. Worked by hand; ties such as
    // 46.875 and 0.015625 are exact in binary and printf rounds them to even.
    const RowCase expected[] = {
        {"32/1", "64000.00", "96000.00", "42666.67", "0.0156"},
        {"16/1", "32000.00", "48000.00", "21333.33", "0.0312"},
        {"8/1", "16000.00", "24000.00", "10666.67", "0.0625"},
        {"4/1", "8000.00", "12000.00", "5333.33", "0.125"},
        {"2/1", "4000.00", "6000.00", "2666.67", "0.250"},
        {"1/1", "2000.00", "3000.00", "1333.33", "0.500"},
        {"1/2", "1000.00", "1500.00", "666.67", "1.00"},
        {"1/4", "500.00", "750.00", "333.33", "2.00"},
        {"1/8", "250.00", "375.00", "166.67", "4.00"},
        {"1/16", "125.00", "187.50", "83.33", "8.00"},
        {"1/32", "62.50", "93.75", "41.67", "16.00"},
        {"1/64", "31.25", "46.88", "20.83", "32.00"},
        {"1/128", "15.62", "23.44", "10.42", "64.00"},
    };
    const auto all = NoteDivisions::all();
    ASSERT_EQ(all.size(), std::size(expected));
    for (size_t i = 0; i < all.size(); ++i) {
        SCOPED_TRACE(expected[i].note);
        const NoteLengths lengths = noteLengths(120, all[i]);
        EXPECT_EQ(all[i].id(), expected[i].note);
        EXPECT_EQ(msText(lengths.straightMs), expected[i].straight);
        EXPECT_EQ(msText(lengths.dottedMs), expected[i].dotted);
        EXPECT_EQ(msText(lengths.tripletMs), expected[i].triplet);
        EXPECT_EQ(hzText(lengths.hz), expected[i].hz);
    }
}

TEST(NoteDivisions, MultiplesThenSubdivisionsLongestFirst) {
    // The table above fixes the order; the groups split it before 1/1.
    EXPECT_EQ(NoteDivisions::multiples().size(), 5u);
    EXPECT_EQ(NoteDivisions::subdivisions().front(), (NoteDivision{1, 1}));
}

struct MetricCase {
    double bpm;
    const char* quarter;
    const char* eighthDotted;
    const char* sixteenthHz;
};

TEST(TempoMetrics, HeaderFiguresFollowTheTypedTempoUnclamped) {
    // Quarter 60000/b, dotted eighth 0.75 of it, sixteenth rate b/15 Hz.
    // The table itself never clamps: 10 and 999 are legal typed tempos.
    const MetricCase cases[] = {
        {120, "500.00", "375.00", "8.00"},  {10, "6000.00", "4500.00", "0.67"}, // 10/15 = 0.666...
        {999, "60.06", "45.05", "66.60"},   // 60000/999 = 60.0600...
        {98.5, "609.14", "456.85", "6.57"}, // 60000/98.5 = 609.137...
        {0, "0.00", "0.00", "0.00"},        // a tempo <= 0 shows zeros
        {-5, "0.00", "0.00", "0.00"},
    };
    for (const MetricCase& c : cases) {
        SCOPED_TRACE(c.bpm);
        const TempoMetrics metrics = tempoMetrics(c.bpm);
        EXPECT_EQ(msText(metrics.quarterMs), c.quarter);
        EXPECT_EQ(msText(metrics.eighthDottedMs), c.eighthDotted);
        EXPECT_EQ(msText(metrics.sixteenthHz), c.sixteenthHz);
    }
    // The rows too give zeros, not infinities, at a zero tempo.
    const NoteLengths zero = noteLengths(0, {1, 4});
    for (const double value : {zero.straightMs, zero.dottedMs, zero.tripletMs, zero.hz})
        EXPECT_EQ(value, 0);
}

} // namespace
} // namespace quorlen::tempo
