#include "app/content_view.h"
#include "app/sidebar.h"
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

#include <cmath>
#include <ostream>
#include <tuple>

// Failures show the text, not its UTF-16 units.
QT_BEGIN_NAMESPACE
inline void PrintTo(const QString& text, std::ostream* out) { *out << text.toStdString(); }
QT_END_NAMESPACE

namespace quorlen {
namespace {

// The window's content showing the tempo tool, with a clock the test sets.
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

    QString straight(const char* id) const {
        return view->matrix()->row(QString::fromLatin1(id))->straightCell()->display();
    }
    QString summary() const { return content.sidebar()->summaryStrip()->text(); }

    void typeInField(const QString& text) {
        QTest::mouseClick(field->lineEdit(), Qt::LeftButton);
        field->lineEdit()->selectAll();
        QTest::keyClicks(field->lineEdit(), text);
    }
    void clickOutside() { QTest::mouseClick(view->matrix(), Qt::LeftButton, {}, QPoint(5, 5)); }
    void tapAt(double seconds) {
        nowSeconds = seconds;
        QTest::mouseClick(view->findChild<QAbstractButton*>(QStringLiteral("tapButton")),
                          Qt::LeftButton);
    }

    ContentView content{QStringLiteral("bpm")};
    TempoView* view = nullptr;
    PremiumInputField* field = nullptr;
    double nowSeconds = 0;
};

TEST_F(TempoViewTest, TypingFollowsLiveAndAClickOutsideCommits) {
    EXPECT_EQ(straight("1/4"), "500.00 ms");
    QTest::mouseClick(field->lineEdit(), Qt::LeftButton);
    ASSERT_TRUE(field->isFocused());
    field->lineEdit()->selectAll();

    // Each keystroke that makes a number sets the tempo; the text stays.
    // 1/4 at b BPM lasts 60000 / b ms.
    const std::tuple<char, double, const char*> keystrokes[] = {
        {'1', 1, "60000.00 ms"}, {'4', 14, "4285.71 ms"}, {'0', 140, "428.57 ms"}};
    for (const auto& [key, bpm, quarter] : keystrokes) {
        QTest::keyClick(field->lineEdit(), key);
        EXPECT_EQ(content.state().bpm(), bpm);
        EXPECT_EQ(straight("1/4"), quarter);
    }
    EXPECT_EQ(content.state().bpmText(), "140");
    EXPECT_EQ(summary(), "A4 = 440 Hz\n140 BPM = 428.6 ms");

    // Half-typed decimals stay as typed while focused, then commit.
    QTest::keyClicks(field->lineEdit(), ",5");
    EXPECT_EQ(content.state().bpm(), 140.5);
    EXPECT_EQ(field->text(), "140,5");
    clickOutside();
    EXPECT_FALSE(field->isFocused());
    EXPECT_EQ(field->text(), "140.50");
    EXPECT_EQ(content.state().bpmText(), "140.50");
    EXPECT_EQ(summary(), "A4 = 440 Hz\n140.5 BPM = 427.0 ms");
}

TEST_F(TempoViewTest, ReturnCommitsWithTheTypedRangeAndRestoresNonsense) {
    // Typed commits clamp to 1...999 and rewrite the text from the value.
    const std::tuple<const char*, double, const char*> cases[] = {
        {"98,5", 98.5, "98.50"}, {"128", 128, "128"}, {"5000", 999, "999"},
        {"0", 1, "1"},           {"abc", 1, "1"},     {"", 1, "1"},
    };
    for (const auto& [typed, bpm, shown] : cases) {
        SCOPED_TRACE(typed);
        typeInField(QString::fromLatin1(typed));
        QTest::keyClick(field->lineEdit(), Qt::Key_Return);
        EXPECT_EQ(content.state().bpm(), bpm);
        EXPECT_EQ(field->text(), shown);
    }
}

TEST_F(TempoViewTest, TapsSetTheTempoAndTheFieldFollows) {
    tapAt(10.0);
    EXPECT_EQ(content.state().bpm(), 120);
    tapAt(10.4); // 60 / 0.4 = 150
    EXPECT_EQ(content.state().bpm(), 150);
    EXPECT_EQ(field->text(), "150");
    EXPECT_EQ(straight("1/4"), "400.00 ms");
    tapAt(20.0); // after a pause: a new sequence, no tempo yet
    EXPECT_EQ(content.state().bpm(), 150);
    tapAt(20.1); // 600 BPM, clamped
    EXPECT_EQ(content.state().bpm(), 400);
}

TEST_F(TempoViewTest, SpaceTapsUnlessTheFieldIsTyping) {
    nowSeconds = 1.0;
    QTest::keyClick(&content, Qt::Key_Space);
    nowSeconds = 1.25;
    QTest::keyClick(&content, Qt::Key_Space);
    EXPECT_EQ(content.state().bpm(), 240);

    QTest::mouseClick(field->lineEdit(), Qt::LeftButton);
    field->lineEdit()->end(false);
    nowSeconds = 1.5;
    QTest::keyClick(field->lineEdit(), Qt::Key_Space);
    EXPECT_EQ(field->text(), "240 ");
    EXPECT_EQ(content.state().bpm(), 240);
}

TEST_F(TempoViewTest, StepperAndSliderKeepTo20Through400) {
    auto* stepper = view->findChild<Stepper*>(QStringLiteral("bpmStepper"));
    auto* slider = view->findChild<KitSlider*>(QStringLiteral("bpmSlider"));
    ASSERT_TRUE(stepper && slider);
    const QPoint up(stepper->width() * 3 / 4, stepper->height() / 2);
    const QPoint down(stepper->width() / 4, stepper->height() / 2);

    QTest::mouseClick(stepper, Qt::LeftButton, {}, up);
    EXPECT_EQ(content.state().bpm(), 121);
    EXPECT_EQ(field->text(), "121");
    QTest::mouseClick(slider, Qt::LeftButton, {}, QPoint(slider->width() - 1, 5));
    EXPECT_EQ(content.state().bpm(), 400);
    QTest::mouseClick(stepper, Qt::LeftButton, {}, up);
    EXPECT_EQ(content.state().bpm(), 400);
    QTest::mouseClick(slider, Qt::LeftButton, {}, QPoint(0, 5));
    EXPECT_EQ(content.state().bpm(), 20);
    QTest::mouseClick(stepper, Qt::LeftButton, {}, down);
    EXPECT_EQ(content.state().bpm(), 20);

    // From a typed 10 the stepper's first step up lands on 20.
    typeInField(QStringLiteral("10"));
    QTest::keyClick(field->lineEdit(), Qt::Key_Return);
    clickOutside();
    QTest::mouseClick(stepper, Qt::LeftButton, {}, up);
    EXPECT_EQ(content.state().bpm(), 20);
}

// A typed tempo outside the slider's range or between its whole positions
// shows the knob at the nearest end or position; a press there writes it,
// and until then the typed value stands.
TEST_F(TempoViewTest, APressOnTheSliderAlwaysWritesItsValue) {
    auto* slider = view->findChild<KitSlider*>(QStringLiteral("bpmSlider"));
    ASSERT_NE(slider, nullptr);
    const std::tuple<const char*, double, QPoint> cases[] = {
        {"10", 20, QPoint(0, 5)},
        {"600", 400, QPoint(slider->width() - 1, 5)},
    };
    for (const auto& [typed, pressed, at] : cases) {
        typeInField(QString::fromLatin1(typed));
        QTest::keyClick(field->lineEdit(), Qt::Key_Return);
        clickOutside();
        EXPECT_EQ(content.state().bpm(), QString::fromLatin1(typed).toDouble());
        QTest::mouseClick(slider, Qt::LeftButton, {}, at);
        EXPECT_EQ(content.state().bpm(), pressed) << typed;
    }

    typeInField(QStringLiteral("98.5"));
    QTest::keyClick(field->lineEdit(), Qt::Key_Return);
    clickOutside();
    EXPECT_EQ(slider->value(), 99);
    EXPECT_EQ(content.state().bpm(), 98.5) << "shown at 99, not written";
    // The knob's own position: 99 of 20...400 along the track.
    const double knobX = 8 + (99.0 - 20) / 380 * (slider->width() - 16);
    QTest::mouseClick(slider, Qt::LeftButton, {}, QPoint(static_cast<int>(std::lround(knobX)), 5));
    EXPECT_EQ(content.state().bpm(), 99);
}

TEST_F(TempoViewTest, ValuesCopyWithoutUnit) {
    MatrixRow* eightBars = view->matrix()->row(QStringLiteral("8/1"));
    QTest::mouseClick(eightBars->straightCell(), Qt::LeftButton);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), "16000.00");
    EXPECT_TRUE(eightBars->straightCell()->isCopied());
    QTest::mouseClick(eightBars->hzCell(), Qt::LeftButton);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), "0.0625");

    // Header tiles: "Quarter" copies the bare number, "1/16 Hz" its value.
    const auto tiles = view->header()->tiles();
    ASSERT_EQ(tiles.size(), 3);
    QTest::mouseClick(tiles[0], Qt::LeftButton);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), "500.00");
    QTest::mouseClick(tiles[1], Qt::LeftButton);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), "375.00");
    QTest::mouseClick(tiles[2], Qt::LeftButton);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), "8.00");
}

TEST(TempoView, ShowsATempoSetWhileItWasNotShown) {
    ContentView content{QStringLiteral("space")};
    content.state().setBpm(90);
    content.selectTool(CalculatorTool::bpm);
    auto* view = qobject_cast<TempoView*>(content.toolView());
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(view->controls()->field()->text(), "90");
    EXPECT_EQ(content.state().bpmText(), "90");
}

} // namespace
} // namespace quorlen
