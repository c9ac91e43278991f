#include "app/content_view.h"
#include "app/sidebar.h"
#include "app/sidebar_tool_row.h"
#include "support/print_qstring.h"
#include "tools/tempo/subdivision_matrix.h"
#include "tools/tempo/tempo_controls.h"
#include "tools/tempo/tempo_view.h"
#include "ui/copyable_value.h"
#include "ui/formula_strip.h"
#include "ui/kit_slider.h"
#include "ui/premium_input_field.h"
#include "ui/stepper.h"

#include <QAbstractButton>
#include <QApplication>
#include <QClipboard>
#include <QLineEdit>
#include <QTest>

#include <gtest/gtest.h>

namespace quorlen {
namespace {

// The window's content showing the tempo tool, with a clock the test sets.
// Parsing, clamping and tap maths are the core's; these tests drive the
// controls and check that the state, the table and the sidebar follow.
class TempoViewTest : public ::testing::Test {
protected:
    void SetUp() override {
        content.resize(1100, 1000);
        content.show();
        // Clicks give keyboard focus only in the active window.
        QApplication::setActiveWindow(&content);
        ASSERT_TRUE(QTest::qWaitForWindowActive(&content));
        view = qobject_cast<TempoView*>(content.toolView());
        ASSERT_NE(view, nullptr);
        view->controls()->setClock([this] { return nowSeconds; });
        field = view->findChild<PremiumInputField*>(QStringLiteral("bpmField"));
        ASSERT_NE(field, nullptr);
    }

    QString quarter() const {
        return view->matrix()->row(QStringLiteral("1/4"))->straightCell()->display();
    }
    QString summary() const { return content.sidebar()->summaryStrip()->text(); }
    void typeInField(const QString& text) {
        QTest::mouseClick(field->lineEdit(), Qt::LeftButton);
        field->lineEdit()->selectAll();
        QTest::keyClicks(field->lineEdit(), text);
    }
    // Presses `key` on `target` (a click without one) at each time.
    void tapAt(QWidget* target, std::initializer_list<double> times,
               Qt::Key key = Qt::Key_unknown) {
        for (const double seconds : times) {
            nowSeconds = seconds;
            if (key == Qt::Key_unknown)
                QTest::mouseClick(target, Qt::LeftButton);
            else
                QTest::keyClick(target, key);
        }
    }
    void clickOutside() { QTest::mouseClick(view->matrix(), Qt::LeftButton, {}, QPoint(5, 5)); }
    void commitTyped(const QString& text) {
        typeInField(text);
        QTest::keyClick(field->lineEdit(), Qt::Key_Return);
        clickOutside();
    }

    ContentView content{QStringLiteral("bpm")};
    TempoView* view = nullptr;
    PremiumInputField* field = nullptr;
    double nowSeconds = 0;
};

TEST_F(TempoViewTest, TypingFollowsLiveAndCommitsOnAClickOutsideOrReturn) {
    typeInField(QStringLiteral("140"));
    EXPECT_EQ(content.state().bpm(), 140);
    EXPECT_EQ(quarter(), "428.57 ms"); // 60000 / 140
    EXPECT_EQ(summary(), "A4 = 440 Hz\n140 BPM = 428.6 ms");

    // Half-typed decimals stay as typed while focused, then commit.
    QTest::keyClicks(field->lineEdit(), ",5");
    EXPECT_EQ(content.state().bpm(), 140.5);
    EXPECT_EQ(field->text(), "140,5");
    clickOutside();
    EXPECT_FALSE(field->isFocused());
    EXPECT_EQ(field->text(), "140.50");

    // Nonsense committed with Return puts back the text.
    typeInField(QStringLiteral("abc"));
    QTest::keyClick(field->lineEdit(), Qt::Key_Return);
    EXPECT_EQ(content.state().bpm(), 140.5);
    EXPECT_EQ(field->text(), "140.50");
}

TEST_F(TempoViewTest, TapsAndSpaceSetTheTempoUnlessTheFieldIsTyping) {
    tapAt(view->findChild<QAbstractButton*>(QStringLiteral("tapButton")), {10.0, 10.4}); // 150
    EXPECT_EQ(field->text(), "150");
    EXPECT_EQ(quarter(), "400.00 ms");

    tapAt(&content, {20.0, 20.25}, Qt::Key_Space); // after a pause, 60 / 0.25
    EXPECT_EQ(content.state().bpm(), 240);
    QTest::mouseClick(field->lineEdit(), Qt::LeftButton);
    field->lineEdit()->end(false);
    tapAt(field->lineEdit(), {20.5}, Qt::Key_Space);
    EXPECT_EQ(field->text(), "240 ");
    EXPECT_EQ(content.state().bpm(), 240);
}

TEST_F(TempoViewTest, SpaceTapsWhicheverControlHasFocusButAField) {
    // A focused sidebar row would switch tools on Space, a focused cell copy.
    QWidget* const focused[] = {content.sidebar()->row(CalculatorTool::rhythm),
                                view->matrix()->currentCell()};
    QGuiApplication::clipboard()->setText(QStringLiteral("untouched"));
    double at = 30;
    for (QWidget* widget : focused) {
        widget->setFocus(Qt::TabFocusReason);
        at += 10;
        tapAt(widget, {at, at + 0.5}, Qt::Key_Space); // 60 / 0.5, after a pause
        EXPECT_EQ(content.state().bpm(), 120) << widget->objectName().toStdString();
        content.state().setBpm(90);
    }
    EXPECT_EQ(content.shownTool(), CalculatorTool::bpm);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), "untouched") << "Space taps, never copies";

    // Opening a tool by its shortcut puts the focus in it, off the sidebar.
    content.sidebar()->row(CalculatorTool::rhythm)->setFocus(Qt::TabFocusReason);
    content.showTool(CalculatorTool::rhythm);
    content.showTool(CalculatorTool::bpm);
    content.focusTool();
    EXPECT_TRUE(content.toolView()->isAncestorOf(QApplication::focusWidget()) ||
                content.toolView() == QApplication::focusWidget());
}

TEST_F(TempoViewTest, TheTableIsOneTabStopWalkedWithTheArrows) {
    SubdivisionMatrix* matrix = view->matrix();
    int stops = 0;
    for (QWidget* cell : matrix->findChildren<CopyableText*>())
        stops += cell->focusPolicy() & Qt::TabFocus ? 1 : 0;
    EXPECT_EQ(stops, 1);

    CopyableText* cell = matrix->currentCell();
    EXPECT_EQ(cell, matrix->row(QStringLiteral("32/1"))->straightCell());
    EXPECT_EQ(cell->accessibleName(), "32 bars, straight: 64000.00 ms");
    cell->setFocus(Qt::TabFocusReason);
    // Down to 1/4 (the eighth row), right to its dotted.
    for (int i = 0; i < 7; ++i)
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Down);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Right);
    EXPECT_EQ(QApplication::focusWidget()->accessibleName(), "quarter note, dotted: 750.00 ms");
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), "750.00");
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_End);
    EXPECT_EQ(QApplication::focusWidget()->accessibleName(), "128th note, rate: 64.00 Hz");
    // Tab leaves the table and comes back where it left.
    EXPECT_EQ(matrix->currentCell(), QApplication::focusWidget());
    // Values copy without their unit, Hz with the decimals they need.
    QTest::mouseClick(matrix->row(QStringLiteral("8/1"))->hzCell(), Qt::LeftButton);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), "0.0625");
    QTest::mouseClick(view->header()->tiles().at(2), Qt::LeftButton); // "1/16 Hz"
    EXPECT_EQ(QGuiApplication::clipboard()->text(), "8.00");
}

// The stepper steps the shared tempo. A typed tempo outside the slider's
// range shows the knob at its end; a press there writes it (the slider's
// own rule, tested with the kit), and until then the typed value stands.
TEST_F(TempoViewTest, StepperAndSliderWriteTheSharedTempo) {
    auto* stepper = view->findChild<Stepper*>(QStringLiteral("bpmStepper"));
    auto* slider = view->findChild<KitSlider*>(QStringLiteral("bpmSlider"));
    ASSERT_TRUE(stepper && slider);
    QTest::mouseClick(stepper, Qt::LeftButton, {},
                      QPoint(stepper->width() * 3 / 4, stepper->height() / 2));
    EXPECT_EQ(field->text(), "121");
    commitTyped(QStringLiteral("10"));
    EXPECT_EQ(content.state().bpm(), 10);
    QTest::mouseClick(slider, Qt::LeftButton, {}, QPoint(0, 5));
    EXPECT_EQ(content.state().bpm(), 20);
    QTest::mouseClick(slider, Qt::LeftButton, {}, QPoint(slider->width() - 1, 5));
    EXPECT_EQ(content.state().bpm(), 400);
    EXPECT_EQ(quarter(), "150.00 ms");
}

TEST(TempoView, ShowsATempoSetWhileItWasNotShown) {
    ContentView content{QStringLiteral("space")};
    content.state().setBpm(90);
    content.selectTool(CalculatorTool::bpm);
    auto* view = qobject_cast<TempoView*>(content.toolView());
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(view->controls()->field()->text(), "90");
}

} // namespace
} // namespace quorlen
