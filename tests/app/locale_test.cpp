// Runs with LC_ALL=de_DE.UTF-8 (see CMakeLists.txt): a locale whose decimal
// separator is a comma. QApplication adopts it for the whole process, so any
// number formatted through the C library or QLocale would read "500,00".
#include "app/calculator_tool.h"
#include "app/content_view.h"
#include "app/sidebar.h"
#include "ui/copyable_value.h"
#include "ui/formula_strip.h"

#include <QAbstractButton>
#include <QLabel>
#include <QLineEdit>
#include <QRegularExpression>

#include <gtest/gtest.h>

#include <cstdio>

namespace quorlen {
namespace {

// Every text a person can read or copy in `root`.
QStringList shownTexts(const QWidget& root) {
    QStringList texts;
    for (const QWidget* widget : root.findChildren<QWidget*>()) {
        texts << widget->toolTip() << widget->accessibleName();
        if (const auto* label = qobject_cast<const QLabel*>(widget))
            texts << label->text();
        if (const auto* edit = qobject_cast<const QLineEdit*>(widget))
            texts << edit->text();
        if (const auto* button = qobject_cast<const QAbstractButton*>(widget))
            texts << button->text();
        if (const auto* value = qobject_cast<const CopyableValue*>(widget))
            texts << value->copyText();
        if (const auto* text = qobject_cast<const CopyableText*>(widget))
            texts << text->display();
    }
    texts.removeAll(QString());
    return texts;
}

TEST(Locale, TheProcessReallyRunsWithADecimalComma) {
    // Without it every other test here would pass for the wrong reason.
    char buffer[16];
    std::snprintf(buffer, sizeof buffer, "%.1f", 1.5);
    ASSERT_STREQ(buffer, "1,5") << "the de_DE.UTF-8 locale is missing (scripts/setup makes it)";
}

TEST(Locale, EveryToolShowsNumbersWithADecimalPoint) {
    // A number, a comma, a digit: "500,00 ms". Lists such as "160.1, 140"
    // have a blank after their commas, and a rhythm's "E(3,8)" a bracket
    // before them.
    const QRegularExpression decimalComma(QStringLiteral("(?<![(\\d])\\d+,\\d"));
    ContentView view(QStringLiteral("bpm"));
    // A tempo with decimals, so the summary and the tempo-driven tools show
    // fractions too.
    view.state().setBpm(98.5);
    view.resize(960, 720);
    view.show();
    for (const ToolInfo& info : allTools()) {
        view.showTool(info.tool);
        const QStringList texts = shownTexts(view);
        ASSERT_FALSE(texts.isEmpty());
        for (const QString& text : texts)
            EXPECT_FALSE(text.contains(decimalComma))
                << info.rawValue << ": " << text.toStdString();
    }
    // 60000 / 98.5 = 609.137 ms a beat.
    view.showTool(CalculatorTool::bpm);
    EXPECT_TRUE(shownTexts(view).contains(QStringLiteral("609.14 ms")));
    EXPECT_EQ(view.sidebar()->summaryStrip()->text(),
              QStringLiteral("A4 = 440 Hz\n98.5 BPM = 609.1 ms"));
}

} // namespace
} // namespace quorlen
