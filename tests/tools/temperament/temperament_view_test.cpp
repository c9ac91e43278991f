#include "state/calculator_state.h"
#include "support/recording_synthesiser.h"
#include "support/wait.h"
#include "tools/temperament/scale_table.h"
#include "tools/temperament/step_row.h"
#include "tools/temperament/temperament_view.h"
#include "tools/temperament/tuning_lab.h"
#include "ui/copyable_value.h"
#include "ui/kit_button.h"
#include "ui/metric_tile.h"
#include "ui/premium_input_field.h"
#include "ui/stepper.h"

#include <QApplication>
#include <QClipboard>
#include <QLineEdit>
#include <QMenu>
#include <QTest>

#include <gtest/gtest.h>

namespace quorlen {
namespace {

struct TemperamentScreen {
    CalculatorState state;
    testing::RecordingSynthesiser synthesiser;
    TemperamentView view{state, QColor(77, 117, 163), synthesiser};

    TemperamentScreen() {
        view.resize(900, 900);
        view.show();
        QApplication::setActiveWindow(&view);
    }
};

TEST(TemperamentView, TheTableFollowsDivisionsAndReferenceAndItsRowsAuditionAndCopy) {
    TemperamentScreen s;
    ASSERT_EQ(s.view.table()->rowCount(), 13);
    EXPECT_EQ(s.view.table()->row(12)->frequencyCell()->display(), QStringLiteral("880.00 Hz"));
    const auto tiles = s.view.header()->tiles();
    EXPECT_EQ(tiles[2]->copyText(), QStringLiteral("1.05946"));
    // A click on a row auditions its step without moving the highlight,
    // and one on its frequency copies it.
    StepRow* row = s.view.table()->row(4);
    QTest::mouseClick(row, Qt::LeftButton, {}, QPoint(20, row->height() / 2));
    EXPECT_FALSE(s.state.tetStep());
    ASSERT_EQ(s.synthesiser.sounds.size(), 1u);
    EXPECT_NEAR(s.synthesiser.sounds[0].frequenciesHz.at(0), 554.365, 1e-3);
    QTest::mouseClick(row->frequencyCell(), Qt::LeftButton);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), QStringLiteral("554.37"));
    s.state.setTetDivisions(53);
    EXPECT_EQ(s.view.table()->rowCount(), 54);
    EXPECT_EQ(tiles[1]->metric().value, QStringLiteral("22.6 ¢"));

    // The reference commits on Return, and the stepper steps from what is
    // typed, not from what was stored.
    PremiumInputField* field = s.view.lab()->referenceField();
    const auto type = [&](const char* text) {
        field->setFocused(true);
        field->lineEdit()->selectAll();
        QTest::keyClicks(field->lineEdit(), QString::fromLatin1(text));
    };
    type("261,63");
    QTest::keyClick(field->lineEdit(), Qt::Key_Return);
    EXPECT_EQ(s.state.tetReference(), 261.63);
    type("300.4");
    s.view.lab()->referenceStepper()->stepUp();
    EXPECT_DOUBLE_EQ(s.state.tetReference(), 301.4);
}

TEST(TemperamentView, TheScaleSoundsEachStepOnItsGridTimeAndRestartsOnNewDivisions) {
    // 3-TET on 440 Hz: 440, 554.37, 698.46, 880, each 0.3 s = 13230 frames
    // after the one before, and the highlight has walked the table.
    TemperamentScreen s;
    s.state.setTetDivisions(3);
    QTest::mouseClick(s.view.lab()->playButton(), Qt::LeftButton);
    EXPECT_EQ(s.state.tetStep(), 0);
    ASSERT_TRUE(testing::waitUntil([&] { return !s.state.tetPlaying(); }));
    EXPECT_FALSE(s.state.tetStep());
    EXPECT_EQ(s.view.lab()->playButton()->text(), QStringLiteral("Play scale"));
    const auto& sounds = s.synthesiser.sounds;
    ASSERT_EQ(sounds.size(), 4u);
    const double expectedHz[] = {440.0, 554.365, 698.456, 880.0};
    for (size_t i = 0; i < sounds.size(); ++i) {
        EXPECT_NEAR(sounds[i].frequenciesHz.at(0), expectedHz[i], 1e-3) << i;
        EXPECT_EQ(sounds[i].dueFrame - sounds[0].dueFrame, static_cast<long>(i) * 13230) << i;
    }

    // New divisions, stepped or from a preset, restart a running scale.
    s.view.startPlayback();
    s.view.advancePlayback();
    s.view.lab()->divisionsStepper()->stepUp();
    EXPECT_EQ(s.state.tetDivisions(), 4);
    EXPECT_EQ(s.state.tetStep(), 0);
    s.view.advancePlayback();
    s.view.findChild<KitButton*>(QStringLiteral("presets"))->menu()->actions().at(2)->trigger();
    EXPECT_EQ(s.state.tetDivisions(), 19); // "19 — near just thirds"
    EXPECT_EQ(s.state.tetStep(), 0);
    s.view.hide(); // leaving the tool stops the player
    EXPECT_FALSE(s.state.tetPlaying());
    EXPECT_FALSE(s.view.isTimerRunning());
}

} // namespace
} // namespace quorlen
