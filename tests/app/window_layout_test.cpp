#include "app/content_view.h"
#include "tools/fifths/fifths_wheel.h"
#include "tools/fifths/key_detail_panel.h"
#include "tools/fifths/progression_panel.h"
#include "ui/scheme_label.h"

#include <QApplication>
#include <QScrollArea>
#include <QTest>

#include <gtest/gtest.h>

namespace quorlen {
namespace {

QRect rectIn(const QWidget* widget, const QWidget* ancestor) {
    return QRect(widget->mapTo(ancestor, QPoint(0, 0)), widget->size());
}

class HarmonyLayout : public ::testing::TestWithParam<QSize> {};

// Checked by geometry, not by eye: at the smallest and at a large window
// the wheel sits whole and centred in its card, nothing runs past the
// visible width, and the wheel's row is as wide as the panel below it.
TEST_P(HarmonyLayout, TheWheelFitsItsCardAndTheRowsLineUp) {
    ContentView view(QStringLiteral("harmony"));
    view.resize(GetParam());
    view.show();
    // Layouts settle over a few rounds (the scroll bar appears, the
    // screen is laid out again beside it).
    for (int round = 0; round < 3; ++round)
        QCoreApplication::processEvents();
    QWidget* viewport = view.findChild<QScrollArea*>(QStringLiteral("detailArea"))->viewport();
    QWidget* screen = view.toolView();
    auto* wheel = screen->findChild<FifthsWheel*>();
    auto* details = screen->findChild<KeyDetailPanel*>();
    auto* progression = screen->findChild<ProgressionPanel*>();
    ASSERT_TRUE(wheel && details && progression);

    EXPECT_LE(screen->width(), viewport->width()) << "nothing cut at the right";
    const QWidget* card = wheel->parentWidget();
    const QRect wheelInCard = rectIn(wheel, card);
    EXPECT_TRUE(card->rect().contains(wheelInCard));
    EXPECT_GE(wheel->width(), FifthsWheel::kMinimumSide);
    EXPECT_EQ(wheel->width(), wheel->height());
    EXPECT_LE(std::abs(wheelInCard.left() - (card->width() - wheelInCard.right() - 1)), 1)
        << "centred";

    const QRect cardInScreen = rectIn(card, screen);
    const QRect detailsInScreen = rectIn(details, screen);
    const QRect progressionInScreen = rectIn(progression, screen);
    EXPECT_EQ(cardInScreen.left(), progressionInScreen.left());
    EXPECT_EQ(detailsInScreen.right(), progressionInScreen.right());
    EXPECT_LE(progressionInScreen.right(), viewport->width());

    // The empty loop's hint is shown whole, on one line or two.
    int hints = 0;
    for (auto* label : progression->findChildren<SchemeLabel*>()) {
        if (!label->text().startsWith(QStringLiteral("Tap chords")))
            continue;
        ++hints;
        const QRect needed = label->fontMetrics().boundingRect(
            label->rect(), Qt::AlignLeft | Qt::AlignVCenter | Qt::TextWordWrap, label->text());
        EXPECT_LE(needed.width(), label->width());
        EXPECT_LE(needed.height(), label->height());
    }
    EXPECT_EQ(hints, 1);
}

INSTANTIATE_TEST_SUITE_P(SmallestAndLarge, HarmonyLayout,
                         ::testing::Values(QSize(900, 680), QSize(1400, 1000)),
                         [](const auto& info) {
                             return std::to_string(info.param.width()) + "x" +
                                    std::to_string(info.param.height());
                         });

} // namespace
} // namespace quorlen
