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

    FieldWindow()
        : field(new PremiumInputField(QStringLiteral("Tempo"), {}, &window)),
          button(new QPushButton(QStringLiteral("Elsewhere"), &window)) {
        auto* column = new QVBoxLayout(&window);
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
    QWheelEvent wheel(QPointF(position), widget->mapToGlobal(QPointF(position)), QPoint(),
                      QPoint(0, 120), Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(widget, &wheel);
}

TEST(OutsideClickFocusMonitor, ClickOrScrollElsewhereInTheWindowEndsEditingButNotInside) {
    FieldWindow w;
    w.showAndFocus();
    QTest::mouseClick(w.field->lineEdit(), Qt::LeftButton);
    QTest::mouseClick(w.field->box(), Qt::LeftButton, {}, QPoint(3, 3));
    EXPECT_TRUE(w.field->isFocused());
    EXPECT_EQ(w.commits, 0);

    // A button, the window's empty part with the right button, a scroll.
    const std::function<void()> elsewhere[] = {
        [&] { QTest::mouseClick(w.button, Qt::LeftButton); },
        [&] { QTest::mouseClick(&w.window, Qt::RightButton, {}, QPoint(290, 230)); },
        [&] { scrollAt(&w.window, QPoint(290, 230)); }};
    for (int i = 0; i < 3; ++i) {
        w.field->setFocused(true);
        elsewhere[i]();
        EXPECT_FALSE(w.field->isFocused()) << i;
        EXPECT_EQ(w.commits, i + 1);
    }

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
    const auto type = [&](const char* text, Qt::Key end) {
        w.field->lineEdit()->selectAll();
        QTest::keyClicks(w.field->lineEdit(), QString::fromLatin1(text));
        QTest::keyClick(w.field->lineEdit(), end);
    };
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
    type("98", Qt::Key_Escape);
    EXPECT_EQ(w.field->text(), "120");
    EXPECT_EQ(edits.last(), "120");
    EXPECT_FALSE(w.field->isFocused());
    EXPECT_EQ(w.field->lineEdit()->accessibleName(), "Tempo");

    // Return commits without leaving the field: Escape then goes back to
    // what Return committed, not to the text editing began with.
    w.field->setFocused(true);
    type("100", Qt::Key_Return);
    EXPECT_TRUE(w.field->isFocused());
    type("77", Qt::Key_Escape);
    EXPECT_EQ(w.field->text(), "100");
    EXPECT_EQ(edits.last(), "100");
}

} // namespace
} // namespace quorlen
