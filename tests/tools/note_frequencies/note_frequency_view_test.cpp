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

TEST(NoteFrequencyView, ReturnCommitsWithADecimalComma) {
    PitchScreen s;
    s.type(QStringLiteral("442,5"));
    QTest::keyClick(s.field()->lineEdit(), Qt::Key_Return);
    EXPECT_EQ(s.state.a4(), 442.5);
    EXPECT_EQ(s.field()->text(), QStringLiteral("442.5"));
    EXPECT_EQ(s.state.a4Text(), QStringLiteral("442.5"));
    EXPECT_EQ(s.metric(0), QStringLiteral("442.5"));
    EXPECT_EQ(s.view.matrix()->cell(9, 4)->copyText(), QStringLiteral("442.5"));
}

TEST(NoteFrequencyView, LeavingTheFieldCommitsClampsOrRestores) {
    PitchScreen s;
    s.type(QStringLiteral("300"));
    s.field()->setFocused(false);
    EXPECT_EQ(s.state.a4(), 400);
    EXPECT_EQ(s.field()->text(), QStringLiteral("400"));

    s.type(QStringLiteral("abc"));
    s.field()->setFocused(false);
    EXPECT_EQ(s.state.a4(), 400);
    EXPECT_EQ(s.field()->text(), QStringLiteral("400"));

    // Typed but never committed: switching tools commits it.
    s.type(QStringLiteral("432"));
    s.view.hide();
    EXPECT_EQ(s.state.a4(), 432);
}

TEST(NoteFrequencyView, StepperMovesByOneHertzAndResetRestores440) {
    PitchScreen s;
    s.state.setA4(441.5);
    EXPECT_EQ(s.field()->text(), QStringLiteral("441.5"));
    s.view.controls()->stepper()->stepUp();
    EXPECT_EQ(s.state.a4(), 442.5);
    s.state.setA4(480);
    s.view.controls()->stepper()->stepUp();
    EXPECT_EQ(s.state.a4(), 480) << "the top of the range offers no step";

    auto* reset = s.view.findChild<QAbstractButton*>(QStringLiteral("resetA4"));
    ASSERT_NE(reset, nullptr);
    QTest::mouseClick(reset, Qt::LeftButton);
    EXPECT_EQ(s.state.a4(), 440);
    EXPECT_EQ(s.state.a4Text(), QStringLiteral("440"));
}

TEST(NoteFrequencyView, MatrixFollowsA4AndCellsCopyWhatTheyShow) {
    PitchScreen s;
    s.state.setA4(432);
    EXPECT_EQ(s.view.matrix()->cell(9, 4)->copyText(), QStringLiteral("432.0"));
    EXPECT_TRUE(s.view.matrix()->cell(9, 4)->isReference());
    EXPECT_EQ(s.view.matrix()->cell(0, 4)->copyText(), QStringLiteral("256.9"));
    EXPECT_EQ(s.metric(1), QStringLiteral("256.9"));
    EXPECT_EQ(s.metric(2), QStringLiteral("216.0"));

    s.state.setA4(440);
    FrequencyCell* c4 = s.view.matrix()->cell(0, 4);
    QTest::mouseClick(c4, Qt::LeftButton);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), QStringLiteral("261.6"));
    EXPECT_TRUE(c4->isCopied());
    EXPECT_EQ(s.view.matrix()->cell(11, 8)->copyText(), QStringLiteral("7902.1"));
    EXPECT_EQ(s.view.matrix()->cell(0, 0)->copyText(), QStringLiteral("16.4"));
}

} // namespace
} // namespace quorlen
