#include "state/calculator_state.h"

#include <QSignalSpy>

#include <gtest/gtest.h>

namespace quorlen {
namespace {

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
