#include "state/calculator_state.h"
#include "tools/note_frequencies/frequency_cell.h"
#include "tools/note_frequencies/frequency_matrix.h"
#include "tools/note_frequencies/note_frequency_view.h"
#include "tools/note_frequencies/tuning_controls.h"
#include "ui/metric_tile.h"
#include "ui/premium_input_field.h"
#include "ui/stepper.h"

#include <QApplication>
#include <QClipboard>
#include <QLineEdit>
#include <QTest>

#include <gtest/gtest.h>

namespace quorlen {
namespace {

struct PitchScreen {
    CalculatorState state;
    NoteFrequencyView view{state, QColor(40, 140, 140)};

    PitchScreen() {
        view.resize(900, 900);
        view.show();
        QApplication::setActiveWindow(&view);
    }
    PremiumInputField* field() { return view.controls()->field(); }
    QString metric(int index) { return view.header()->tiles()[index]->metric().value; }

    void type(const QString& text) {
        field()->setFocused(true);
        field()->lineEdit()->selectAll();
        QTest::keyClicks(field()->lineEdit(), text);
    }
};

// Parsing and clamping are the core's; the screen must commit on Return,
// on leaving the field and on leaving the tool, and show what it stored.
TEST(NoteFrequencyView, TypedPitchCommitsOnReturnLeavingOrSwitchingTools) {
    PitchScreen s;
    s.type(QStringLiteral("442,5"));
    QTest::keyClick(s.field()->lineEdit(), Qt::Key_Return);
    EXPECT_EQ(s.state.a4(), 442.5);
    EXPECT_EQ(s.field()->text(), QStringLiteral("442.5"));
    EXPECT_EQ(s.metric(0), QStringLiteral("442.5"));
    EXPECT_EQ(s.view.matrix()->cell(9, 4)->copyText(), QStringLiteral("442.5"));

    s.type(QStringLiteral("300"));
    s.field()->setFocused(false);
    EXPECT_EQ(s.state.a4(), 400);
    EXPECT_EQ(s.field()->text(), QStringLiteral("400"));

    // Typed but never committed: switching tools commits it.
    s.type(QStringLiteral("432"));
    s.view.hide();
    EXPECT_EQ(s.state.a4(), 432);
}

TEST(NoteFrequencyView, StepperAndResetMoveA4AndTheMatrixFollows) {
    PitchScreen s;
    s.state.setA4(441.5);
    s.view.controls()->stepper()->stepUp();
    EXPECT_EQ(s.state.a4(), 442.5);
    // C4 at A4 = 442.5 Hz: 442.5 × 2^(−9/12) = 263.1 Hz.
    EXPECT_EQ(s.metric(1), QStringLiteral("263.1"));
    FrequencyCell* c4 = s.view.matrix()->cell(0, 4);
    QTest::mouseClick(c4, Qt::LeftButton);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), QStringLiteral("263.1"));

    auto* reset = s.view.findChild<QAbstractButton*>(QStringLiteral("resetA4"));
    ASSERT_NE(reset, nullptr);
    QTest::mouseClick(reset, Qt::LeftButton);
    EXPECT_EQ(s.state.a4(), 440);
    EXPECT_EQ(c4->copyText(), QStringLiteral("261.6"));
}

} // namespace
} // namespace quorlen
