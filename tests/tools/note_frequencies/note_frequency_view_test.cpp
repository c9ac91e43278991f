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

// Parsing and clamping are the core's; the screen must commit on Return,
// on leaving the field and on leaving the tool, step and reset, and show
// what it stored in the header and the matrix.
TEST(NoteFrequencyView, TypedSteppedAndResetPitchReachesTheStateHeaderAndMatrix) {
    CalculatorState state;
    NoteFrequencyView view{state, QColor(40, 140, 140)};
    view.show();
    QApplication::setActiveWindow(&view);
    PremiumInputField* field = view.controls()->field();
    const auto type = [&](const char* text) {
        field->setFocused(true);
        field->lineEdit()->selectAll();
        QTest::keyClicks(field->lineEdit(), QString::fromLatin1(text));
    };
    const auto metric = [&](int tile) { return view.header()->tiles()[tile]->metric().value; };
    type("442,5");
    QTest::keyClick(field->lineEdit(), Qt::Key_Return);
    EXPECT_EQ(state.a4(), 442.5);
    EXPECT_EQ(field->text(), QStringLiteral("442.5"));
    EXPECT_EQ(metric(0), QStringLiteral("442.5"));
    EXPECT_EQ(view.matrix()->cell(9, 4)->copyText(), QStringLiteral("442.5"));
    type("300");
    field->setFocused(false);
    EXPECT_EQ(state.a4(), 400);
    EXPECT_EQ(field->text(), QStringLiteral("400"));

    state.setA4(441.5);
    view.controls()->stepper()->stepUp();
    EXPECT_EQ(state.a4(), 442.5);
    // C4 at A4 = 442.5 Hz: 442.5 × 2^(−9/12) = 263.1 Hz.
    EXPECT_EQ(metric(1), QStringLiteral("263.1"));
    FrequencyCell* c4 = view.matrix()->cell(0, 4);
    QTest::mouseClick(c4, Qt::LeftButton);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), QStringLiteral("263.1"));
    QTest::mouseClick(view.findChild<QAbstractButton*>(QStringLiteral("resetA4")), Qt::LeftButton);
    EXPECT_EQ(state.a4(), 440);
    EXPECT_EQ(c4->copyText(), QStringLiteral("261.6"));
    state.setA4(480);
    view.controls()->stepper()->stepUp();
    EXPECT_EQ(state.a4(), 480) << "the top of the range offers no step";

    // Typed but never committed: switching tools commits it.
    type("432");
    view.hide();
    EXPECT_EQ(state.a4(), 432);
}

} // namespace
} // namespace quorlen
