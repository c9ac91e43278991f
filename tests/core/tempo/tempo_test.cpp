#include "tempo/delay_pick.h"
#include "tempo/note_division.h"
#include "tempo/reverb_times.h"
#include "tempo/tap_tempo.h"
#include "tempo/tempo_field.h"
#include "text/number_format.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <tuple>
#include <vector>

namespace quorlen::tempo {
namespace {

TEST(NoteDivision, SpokenNamesReadAsMusiciansSayThem) {
    const std::pair<NoteDivision, const char*> cases[] = {
        {{32, 1}, "32 bars"},     {{2, 1}, "2 bars"},       {{1, 1}, "whole note"},
        {{1, 2}, "half note"},    {{1, 4}, "quarter note"}, {{1, 8}, "eighth note"},
        {{1, 16}, "16th note"},   {{1, 32}, "32nd note"},   {{1, 64}, "64th note"},
        {{1, 128}, "128th note"}, {{1, 3}, "3rd note"},     {{1, 112}, "112th note"},
        {{3, 8}, "3/8 note"}};
    for (const auto& [division, name] : cases)
        EXPECT_EQ(division.spokenName(), name) << division.id();
}

TEST(NoteLengths, TableAt120BpmAsShownMultiplesFirst) {
    // At 120 BPM a beat is 500 ms and A/B lasts 500 x 4A/B ms; dotted x 1.5,
    // triplet x 2/3, Hz = 1000 / straight. Worked by hand; ties such as
    // 46.875 and 0.015625 are exact in binary and printf rounds them to even.
    const std::tuple<const char*, const char*, const char*, const char*, const char*> rows[] = {
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
    ASSERT_EQ(all.size(), std::size(rows));
    for (size_t i = 0; i < all.size(); ++i) {
        const auto& [note, straight, dotted, triplet, hz] = rows[i];
        SCOPED_TRACE(note);
        const NoteLengths lengths = noteLengths(120, all[i]);
        EXPECT_EQ(all[i].id(), note);
        EXPECT_EQ(msText(lengths.straightMs), straight);
        EXPECT_EQ(msText(lengths.dottedMs), dotted);
        EXPECT_EQ(msText(lengths.tripletMs), triplet);
        EXPECT_EQ(hzText(lengths.hz), hz);
    }
    // The groups split the table before 1/1.
    EXPECT_EQ(NoteDivisions::multiples().size(), 5u);
    EXPECT_EQ(NoteDivisions::subdivisions().front(), (NoteDivision{1, 1}));
}

TEST(TempoMetrics, HeaderFiguresFollowTheTypedTempoUnclampedAndZeroBelowOne) {
    // Quarter 60000/b, dotted eighth 0.75 of it, sixteenth rate b/15 Hz.
    // The table itself never clamps: 10 and 999 are legal typed tempos.
    const std::tuple<double, const char*, const char*, const char*> cases[] = {
        {120, "500.00", "375.00", "8.00"},  {10, "6000.00", "4500.00", "0.67"}, // 10/15 = 0.666...
        {999, "60.06", "45.05", "66.60"},   // 60000/999 = 60.0600...
        {98.5, "609.14", "456.85", "6.57"}, // 60000/98.5 = 609.137...
        {0, "0.00", "0.00", "0.00"},        // a tempo <= 0 shows zeros
        {-5, "0.00", "0.00", "0.00"},
    };
    for (const auto& [bpm, quarter, eighthDotted, sixteenthHz] : cases) {
        const TempoMetrics metrics = tempoMetrics(bpm);
        EXPECT_EQ(msText(metrics.quarterMs), quarter) << bpm;
        EXPECT_EQ(msText(metrics.eighthDottedMs), eighthDotted) << bpm;
        EXPECT_EQ(msText(metrics.sixteenthHz), sixteenthHz) << bpm;
    }
    // The rows too give zeros, not infinities, at a zero tempo.
    const NoteLengths zero = noteLengths(0, {1, 4});
    EXPECT_EQ(std::tuple(zero.straightMs, zero.dottedMs, zero.tripletMs, zero.hz),
              std::tuple(0.0, 0.0, 0.0, 0.0));
}

std::string ms1(double ms) { return text::format("%.1f", ms); }

TEST(ReverbTimes, PresetsAt120BpmAndTheClampedBar) {
    // Bar 2000 ms; pre-delay bar / N, total bar x bars, decay the rest.
    // 1968.75 is a binary tie, which printf rounds to even (1968.8).
    const std::tuple<const char*, const char*, const char*, const char*, const char*> expected[] = {
        {"Tight Ambience", "7.8", "492.2", "500.0", "\u00bc bar"},
        {"Small Room", "15.6", "984.4", "1000.0", "\u00bd bar"},
        {"Medium Room", "31.2", "1968.8", "2000.0", "1 bar"},
        {"Large Hall", "62.5", "3937.5", "4000.0", "2 bars"},
        {"Epic Wash", "125.0", "7875.0", "8000.0", "4 bars"},
    };
    const auto presets = reverbPresets();
    ASSERT_EQ(presets.size(), std::size(expected));
    for (size_t i = 0; i < presets.size(); ++i) {
        const auto& [name, preDelay, decay, total, label] = expected[i];
        SCOPED_TRACE(name);
        const ReverbTimes times =
            reverbTimes(barMs(120), presets[i].totalBars, presets[i].preDivision);
        EXPECT_STREQ(presets[i].name, name);
        EXPECT_EQ(ms1(times.preDelayMs), preDelay);
        EXPECT_EQ(ms1(times.decayMs), decay);
        EXPECT_EQ(ms1(times.totalMs), total);
        EXPECT_EQ(lengthLabel(presets[i].totalBars), label);
    }
    EXPECT_EQ(lengthLabel(8), "8 bars");
    // bar 240000 / clamp(b, 20, 400): 10 and 0 count as 20, 1000 as 400.
    const std::pair<double, const char*> bars[] = {
        {120, "2000.0"}, {10, "12000.0"}, {1000, "600.0"}, {0, "12000.0"}};
    for (const auto& [bpm, bar] : bars)
        EXPECT_EQ(ms1(barMs(bpm)), bar) << bpm;
}

TEST(ReverbTimes, CustomSpaceAndItsFloorAndDelayPicks) {
    // A quarter bar with a 1/16 pre-delay at 120 BPM.
    const ReverbTimes quarterBar = customReverbTimes(barMs(120), 0.25, 16);
    EXPECT_EQ(ms1(quarterBar.preDelayMs), "125.0");
    EXPECT_EQ(ms1(quarterBar.decayMs), "375.0");
    EXPECT_EQ(ms1(quarterBar.totalMs), "500.0");
    // A pre-delay longer than the whole tail leaves no decay, never less.
    EXPECT_EQ(customReverbTimes(2000, 0.25, 2).decayMs, 0);
    EXPECT_LT(reverbTimes(2000, 0.25, 2).decayMs, 0);
    // Delays: bar 2000 ms x fraction; 1/8T is 2000 / 12 = 166.67.
    const std::pair<const char*, const char*> picks[] = {
        {"1/4", "500.0"},   {"1/8D", "375.0"}, {"1/8", "250.0"}, {"1/8T", "166.7"},
        {"1/16D", "187.5"}, {"1/16", "125.0"}, {"1/32", "62.5"},
    };
    ASSERT_EQ(delayPicks().size(), std::size(picks));
    for (size_t i = 0; i < std::size(picks); ++i) {
        EXPECT_STREQ(delayPicks()[i].label, picks[i].first);
        EXPECT_EQ(ms1(delayMs(barMs(120), delayPicks()[i])), picks[i].second) << picks[i].first;
    }
}

// Feeds taps one by one, as the button would, and records what each tap
// sets (nothing when it sets no tempo).
using Results = std::vector<std::optional<double>>;
Results tapAll(const std::vector<double>& timesSeconds) {
    std::vector<double> sequence;
    Results results;
    for (double now : timesSeconds) {
        TapOutcome outcome = tap(sequence, now);
        sequence = std::move(outcome.tapTimesSeconds);
        results.push_back(outcome.bpm);
    }
    return results;
}

std::vector<double> evenTaps(int count, double startSeconds, double intervalSeconds) {
    std::vector<double> times;
    for (int i = 0; i < count; ++i)
        times.push_back(startSeconds + i * intervalSeconds);
    return times;
}

TEST(TapTempo, TapsFromTheSecondOnSetTheirTempoClampedAndAPauseStartsOver) {
    constexpr std::nullopt_t none = std::nullopt;
    const std::pair<std::vector<double>, Results> cases[] = {
        // 60 / interval: 0.5 s -> 120, 0.25 s -> 240, 0.47 s -> 127.66 -> 128.
        {evenTaps(4, 10, 0.5), {none, 120.0, 120.0, 120.0}},
        {evenTaps(3, 0, 0.25), {none, 240.0, 240.0}},
        {evenTaps(2, 0, 0.47), {none, 128.0}},
        // 100 ms apart is 600 BPM; two taps at one instant are infinitely fast.
        {evenTaps(3, 0, 0.1), {none, 400.0, 400.0}},
        {{5, 5}, {none, 400.0}},
        // Over 2.5 s apart every tap is the first of a new sequence; exactly
        // 2.5 s still belongs to it (24 BPM).
        {evenTaps(4, 0, 4), {none, none, none, none}},
        {{0, 2.5}, {none, 24.0}},
        {{0, 2.50001}, {none, none}},
        // After a pause the old taps no longer count.
        {{0, 0.5, 1.0, 4.0, 4.25}, {none, 120.0, 120.0, none, 240.0}},
    };
    for (const auto& [times, results] : cases)
        EXPECT_EQ(tapAll(times), results) << times.size() << " taps from " << times.front();
}

TEST(TapTempo, OnlyTheLastNineTapsCount) {
    // One 1.0 s interval then eight of 0.5 s: the oldest tap drops out of
    // the last nine, leaving 8 x 0.5 s -> 120. All ten would give
    // 60 / (5.0 / 9) = 108.
    std::vector<double> times = evenTaps(9, 1.0, 0.5);
    times.insert(times.begin(), 0.0);
    EXPECT_EQ(tapAll(times).back(), 120.0);
    // The sequence keeps every tap; only the average looks at nine.
    EXPECT_EQ(tap(evenTaps(12, 0, 0.5), 6.0).tapTimesSeconds.size(), 13u);
}

TEST(TempoField, CommitClampsToTypedRangeAndRewritesTheText) {
    // From 120 BPM. A typed 10 or 600 is stored as typed: only the controls
    // keep to 20...400. 97.125 is exact in binary: printf's tie goes to even.
    const std::tuple<const char*, double, const char*> cases[] = {
        {"98,5", 98.5, "98.50"},    {"128", 128, "128"}, {"0", 1, "1"},
        {"5000", 999, "999"},       {"10", 10, "10"},    {"600", 600, "600"},
        {"abc", 120, "120"},        {"", 120, "120"},    {" 90", 120, "120"},
        {"97.125", 97.125, "97.12"}};
    for (const auto& [text, bpm, shown] : cases) {
        EXPECT_DOUBLE_EQ(commitBpmText(text, 120), bpm) << text;
        EXPECT_EQ(bpmFieldText(commitBpmText(text, 120)), shown) << text;
    }
}

TEST(TempoField, LiveEditStepperAndHzDecimals) {
    // Each keystroke counts; half numbers are skipped.
    const std::pair<const char*, std::optional<double>> live[] = {
        {"1", 1.0},          {"14", 14.0},  {"140", 140.0}, {"1400", 999.0}, {"", std::nullopt},
        {"-", std::nullopt}, {"12,", 12.0}, {"12,5", 12.5}, {"0", 1.0}};
    for (const auto& [text, expected] : live)
        EXPECT_EQ(liveBpm(text), expected) << text;
    // +-1 BPM, but never outside 20...400, even from a typed 10 or 600.
    const std::tuple<double, int, double> steps[] = {
        {120, +1, 121}, {120, -1, 119}, {98.5, +1, 99.5}, {20, -1, 20},
        {400, +1, 400}, {10, +1, 20},   {600, -1, 400},   {399.5, +1, 400}};
    for (const auto& [bpm, direction, expected] : steps)
        EXPECT_EQ(steppedBpm(bpm, direction), expected) << bpm << " " << direction;
    // Hz decimals grow below one and below a tenth.
    const std::pair<double, const char*> hz[] = {
        {0, "0.0000"},  {0.0625, "0.0625"}, {0.09999, "0.1000"}, {0.1, "0.100"},
        {0.5, "0.500"}, {0.9999, "1.000"},  {1, "1.00"},         {32, "32.00"}};
    for (const auto& [value, expected] : hz)
        EXPECT_EQ(hzText(value), expected) << value;
}

} // namespace
} // namespace quorlen::tempo
