#include "state/calculator_state.h"

#include <QSignalSpy>

#include <gtest/gtest.h>

namespace quorlen {
namespace {

TEST(CalculatorState, StartsFromTheDefaultSession) {
    const CalculatorState state;
    EXPECT_EQ(state.bpm(), 120.0);
    EXPECT_EQ(state.bpmText(), QStringLiteral("120"));
    EXPECT_EQ(state.a4(), 440.0);
    EXPECT_EQ(state.a4Text(), QStringLiteral("440"));
    EXPECT_TRUE(state.progression().empty());
    EXPECT_FALSE(state.progressionPlaying());
    EXPECT_FALSE(state.playingStep());
    EXPECT_EQ(state.customTotalBars(), 1.0);
    EXPECT_EQ(state.customPreDivision(), 64);
    EXPECT_EQ(state.overtonePitchClass(), 9); // A
    EXPECT_EQ(state.overtoneOctave(), 1);
    EXPECT_EQ(state.overtonesEnabled(), (std::set<int>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13,
                                                       14, 15, 16}));
    EXPECT_FALSE(state.overtoneStep());
    EXPECT_FALSE(state.overtoneSweeping());
    EXPECT_EQ(state.euclidSteps(), 8);
    EXPECT_EQ(state.euclidPulses(), 3);
    EXPECT_EQ(state.euclidRotation(), 0);
    EXPECT_EQ(state.euclidNote(), 16);
    EXPECT_FALSE(state.euclidPlaying());
    EXPECT_FALSE(state.euclidStep());
    EXPECT_EQ(state.tetDivisions(), 12);
    EXPECT_EQ(state.tetReference(), 440.0);
    EXPECT_EQ(state.tetReferenceText(), QStringLiteral("440"));
    EXPECT_FALSE(state.tetPlaying());
    EXPECT_FALSE(state.tetStep());
}

TEST(CalculatorState, AChangeNotifiesWithTheNewValueReadable) {
    CalculatorState state;
    QSignalSpy any(&state, &CalculatorState::changed);
    QSignalSpy bpm(&state, &CalculatorState::bpmChanged);
    double seen = 0;
    QObject::connect(&state, &CalculatorState::bpmChanged, [&] { seen = state.bpm(); });

    state.setBpm(98.5);
    EXPECT_EQ(seen, 98.5);
    EXPECT_EQ(bpm.count(), 1);
    EXPECT_EQ(any.count(), 1);

    state.setBpm(98.5); // the same value is no change
    state.setEuclidStep(std::nullopt);
    EXPECT_EQ(any.count(), 1);

    state.setEuclidStep(0); // 0 differs from none
    state.setOvertonesEnabled({4, 5, 6});
    EXPECT_EQ(any.count(), 3);
}

} // namespace
} // namespace quorlen
