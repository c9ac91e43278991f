#include "support/wait.h"
#include "ui/premium_input_field.h"

#include <QApplication>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QVBoxLayout>
#include <QWheelEvent>

#include <gtest/gtest.h>

namespace quorlen {
namespace {

// A window with a field and a button, as a tool screen would have them.
struct FieldWindow {
    QWidget window;
    PremiumInputField* field;
    QPushButton* button;
    int commits = 0;

    FieldWindow() {
        auto* column = new QVBoxLayout(&window);
        field = new PremiumInputField(QStringLiteral("Tempo"), {}, &window);
        button = new QPushButton(QStringLiteral("Elsewhere"), &window);
        column->addWidget(field);
        column->addWidget(button);
        column->addStretch();
        window.resize(300, 240);
        QObject::connect(field, &PremiumInputField::focusChanged, [this](bool focused) {
            if (!focused)
                ++commits;
        });
    }

    void showAndFocus() {
        window.show();
        QApplication::setActiveWindow(&window);
        field->setFocused(true);
        ASSERT_TRUE(field->isFocused());
    }
};

void scrollAt(QWidget* widget, QPoint position) {
    const QPointF global = widget->mapToGlobal(QPointF(position));
    QWheelEvent wheel(QPointF(position), global, QPoint(), QPoint(0, 120), Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(widget, &wheel);
}

TEST(OutsideClickFocusMonitor, ClickOrScrollElsewhereInTheWindowEndsEditingButNotInside) {
    FieldWindow w;
    w.showAndFocus();
    QTest::mouseClick(w.field->lineEdit(), Qt::LeftButton);
    QTest::mouseClick(w.field->box(), Qt::LeftButton, {}, QPoint(3, 3));
    EXPECT_TRUE(w.field->isFocused());
    EXPECT_EQ(w.commits, 0);

    QTest::mouseClick(w.button, Qt::LeftButton);
    EXPECT_FALSE(w.field->isFocused());
    EXPECT_EQ(w.commits, 1);
    w.field->setFocused(true);
    QTest::mouseClick(&w.window, Qt::RightButton, {}, QPoint(290, 230));
    EXPECT_EQ(w.commits, 2);
    w.field->setFocused(true);
    scrollAt(&w.window, QPoint(290, 230));
    EXPECT_FALSE(w.field->isFocused());
    EXPECT_EQ(w.commits, 3);

    // An unfocused field ignores clicks: nothing more to commit.
    QTest::mouseClick(&w.window, Qt::LeftButton, {}, QPoint(290, 230));
    EXPECT_EQ(w.commits, 3);
}

TEST(OutsideClickFocusMonitor, ClicksInAnotherWindowLeaveTheFieldAlone) {
    FieldWindow first;
    FieldWindow second;
    second.window.show();
    first.showAndFocus();
    QTest::mouseClick(second.button, Qt::LeftButton);
    scrollAt(second.button, QPoint(5, 5));
    EXPECT_TRUE(first.field->isFocused());
    EXPECT_EQ(first.commits, 0);
}

TEST(PremiumInputField, ReturnSubmitsTypingReportsEditsAndEscapeRestores) {
    FieldWindow w;
    w.showAndFocus();
    QStringList edits;
    int submits = 0;
    QObject::connect(w.field, &PremiumInputField::textEdited,
                     [&](const QString& t) { edits << t; });
    QObject::connect(w.field, &PremiumInputField::submitted, [&] { ++submits; });

    w.field->setText(QStringLiteral("12"));
    EXPECT_TRUE(edits.isEmpty()) << "programmatic rewrites are not edits";
    QTest::keyClicks(w.field->lineEdit(), QStringLiteral("0"));
    QTest::keyClick(w.field->lineEdit(), Qt::Key_Return);
    EXPECT_EQ(edits, QStringList{QStringLiteral("120")});
    EXPECT_EQ(submits, 1);

    // Escape puts back the text editing began with, tells the live
    // followers, and leaves the field.
    w.field->setFocused(false);
    w.field->setFocused(true);
    w.field->lineEdit()->selectAll();
    QTest::keyClicks(w.field->lineEdit(), QStringLiteral("98"));
    QTest::keyClick(w.field->lineEdit(), Qt::Key_Escape);
    EXPECT_EQ(w.field->text(), "120");
    EXPECT_EQ(edits.last(), "120");
    EXPECT_FALSE(w.field->isFocused());
    EXPECT_EQ(w.field->lineEdit()->accessibleName(), "Tempo");

    // Return commits without leaving the field: Escape then goes back to
    // what Return committed, not to the text editing began with.
    w.field->setFocused(true);
    w.field->lineEdit()->selectAll();
    QTest::keyClicks(w.field->lineEdit(), QStringLiteral("100"));
    QTest::keyClick(w.field->lineEdit(), Qt::Key_Return);
    EXPECT_TRUE(w.field->isFocused());
    w.field->lineEdit()->selectAll();
    QTest::keyClicks(w.field->lineEdit(), QStringLiteral("77"));
    QTest::keyClick(w.field->lineEdit(), Qt::Key_Escape);
    EXPECT_EQ(w.field->text(), "100");
    EXPECT_EQ(edits.last(), "100");
}

} // namespace
} // namespace quorlen
