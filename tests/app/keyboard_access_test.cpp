#include "app/content_view.h"
#include "app/sidebar.h"
#include "app/sidebar_tool_row.h"
#include "tools/common/tool_screen.h"
#include "tools/fifths/fifths_wheel.h"
#include "tools/tempo/subdivision_matrix.h"
#include "ui/copyable_value.h"
#include "ui/kit_slider.h"
#include "ui/segmented_picker.h"
#include "ui/stepper.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QApplication>
#include <QLineEdit>
#include <QTest>

#include <gtest/gtest.h>

#include <set>

namespace quorlen {
namespace {

// What a person operates: buttons (copyable values, rows, tiles and bars
// are buttons too), fields, sliders, steppers, pickers and the key wheel.
bool isControl(const QWidget* widget) {
    return qobject_cast<const QAbstractButton*>(widget) || qobject_cast<const QLineEdit*>(widget) ||
           qobject_cast<const KitSlider*>(widget) || qobject_cast<const Stepper*>(widget) ||
           qobject_cast<const SegmentedPicker*>(widget) || qobject_cast<const FifthsWheel*>(widget);
}

// The tempo table is one stop, its cells reached by the arrows from there.
bool reachedThroughItsTable(const QWidget* widget) {
    for (const QWidget* w = widget->parentWidget(); w; w = w->parentWidget()) {
        if (const auto* table = qobject_cast<const SubdivisionMatrix*>(w))
            return widget != table->currentCell();
    }
    return false;
}

std::vector<QWidget*> shownControls(QWidget* screen) {
    std::vector<QWidget*> controls;
    for (QWidget* widget : screen->findChildren<QWidget*>()) {
        if (isControl(widget) && widget->isVisible() && widget->isEnabled() &&
            !reachedThroughItsTable(widget))
            controls.push_back(widget);
    }
    return controls;
}

QString describe(const QWidget* widget) {
    return QString::fromLatin1(widget->metaObject()->className()) + QLatin1Char(' ') +
           widget->objectName() + QLatin1Char(' ') + widget->accessibleName();
}

// Counts the interactive nodes under `node` and lists those without a name.
void collectUnnamed(QAccessibleInterface* node, int& interactive, QStringList& unnamed) {
    using enum QAccessible::Role;
    static const std::set<QAccessible::Role> kInteractive{
        Button,       CheckBox, RadioButton, SpinBox,        Slider,
        EditableText, ComboBox, ButtonMenu,  ButtonDropDown, Link};
    if (!node || node->state().invisible)
        return;
    interactive += kInteractive.count(node->role()) ? 1 : 0;
    if (kInteractive.count(node->role()) && node->text(QAccessible::Name).trimmed().isEmpty()) {
        QObject* object = node->object();
        unnamed << (object ? QString::fromLatin1(object->metaObject()->className()) +
                                 QLatin1Char(' ') + object->objectName()
                           : QStringLiteral("part of ") + node->parent()->text(QAccessible::Name));
    }
    for (int i = 0; i < node->childCount(); ++i)
        collectUnnamed(node->child(i), interactive, unnamed);
}

class KeyboardAccess : public ::testing::TestWithParam<CalculatorTool> {
protected:
    void SetUp() override {
        view.resize(1100, 800);
        view.show();
        QApplication::setActiveWindow(&view);
        ASSERT_TRUE(QTest::qWaitForWindowActive(&view));
        view.showTool(GetParam());
    }
    ContentView view{QStringLiteral("bpm")};
};

// Tab from the first sidebar row goes once round the window and must meet
// every shown control of the tool on the way; and what a screen reader gets:
// every interactive node of the tool has a name.
TEST_P(KeyboardAccess, TabReachesEveryControlOfTheToolAndEveryInteractiveNodeIsNamed) {
    SidebarToolRow* first = view.sidebar()->row(CalculatorTool::bpm);
    first->setFocus(Qt::TabFocusReason);
    std::set<QWidget*> reached;
    std::vector<QWidget*> order;
    for (int presses = 0; presses < 600; ++presses) {
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        QWidget* focused = QApplication::focusWidget();
        ASSERT_NE(focused, nullptr);
        if (focused == first)
            break;
        reached.insert(focused);
        order.push_back(focused);
    }
    ASSERT_EQ(QApplication::focusWidget(), first) << "Tab goes round and comes back";

    const std::vector<QWidget*> controls = shownControls(view.toolView());
    EXPECT_GT(controls.size(), 3u);
    for (QWidget* control : controls)
        EXPECT_TRUE(reached.count(control)) << describe(control).toStdString();

    // Reading order: the sidebar first, then the tool from its header's
    // figures down; never back and forth.
    auto inTool = [this](QWidget* w) { return view.toolView()->isAncestorOf(w); };
    const auto firstTool = std::find_if(order.begin(), order.end(), inTool);
    ASSERT_NE(firstTool, order.end());
    EXPECT_TRUE(std::all_of(firstTool, order.end(), inTool));
    auto* screen = qobject_cast<ToolScreen*>(view.toolView());
    ASSERT_NE(screen, nullptr);
    EXPECT_TRUE(screen->header()->isAncestorOf(*firstTool)) << describe(*firstTool).toStdString();

    int interactive = 0;
    QStringList unnamed;
    collectUnnamed(QAccessible::queryAccessibleInterface(view.toolView()), interactive, unnamed);
    EXPECT_GT(interactive, 3);
    EXPECT_TRUE(unnamed.isEmpty()) << unnamed.join(QStringLiteral(", ")).toStdString();
}

INSTANTIATE_TEST_SUITE_P(EveryTool, KeyboardAccess,
                         ::testing::Values(CalculatorTool::bpm, CalculatorTool::rhythm,
                                           CalculatorTool::space, CalculatorTool::frequency,
                                           CalculatorTool::temperament, CalculatorTool::overtones,
                                           CalculatorTool::harmony),
                         [](const auto& info) {
                             return std::string(toolInfo(info.param).rawValue);
                         });

// The key wheel reads as 24 keys a screen reader can name and press, and
// the keyboard walks it: Right goes clockwise, Down takes the minor ring.
// (The selection is stored between windows, so the test sets its own.)
TEST(KeyWheelAccess, SegmentsAreNamedChoicesAndTheArrowsPickKeys) {
    ContentView view(QStringLiteral("harmony"));
    view.show();
    QApplication::setActiveWindow(&view);
    auto* wheel = view.toolView()->findChild<FifthsWheel*>();
    ASSERT_NE(wheel, nullptr);
    QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(wheel);
    ASSERT_EQ(accessible->childCount(), 24);
    EXPECT_EQ(accessible->child(0)->text(QAccessible::Name), "C major");
    EXPECT_EQ(accessible->child(12 + 3)->text(QAccessible::Name), "F♯ minor");
    accessible->child(2)->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_EQ(wheel->selection(), (harmony::KeySelection{2, false})) << "D";
    EXPECT_TRUE(accessible->child(2)->state().checked);

    // The keyboard starts from the selected key.
    wheel->setFocus(Qt::TabFocusReason);
    QTest::keyClick(wheel, Qt::Key_Right);
    QTest::keyClick(wheel, Qt::Key_Down);
    QTest::keyClick(wheel, Qt::Key_Space);
    EXPECT_EQ(wheel->selection(), (harmony::KeySelection{3, true})) << "F♯m";
    EXPECT_TRUE(accessible->child(12 + 3)->state().checked);
    EXPECT_FALSE(accessible->child(2)->state().checked);
}

} // namespace
} // namespace quorlen
