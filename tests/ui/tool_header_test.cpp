#include "ui/theme.h"
#include "ui/tool_header.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QTest>

#include <gtest/gtest.h>

namespace quorlen {
namespace {

ToolHeader::Metric metric(const char* label, const char* value,
                          std::optional<QString> copy = std::nullopt) {
    return {QString::fromUtf8(label), QString::fromUtf8(value), QuorlenTheme::saffron(), copy};
}

TEST(ToolHeader, TilesCopyTheirCopyValueOrElseTheShownValueAndSurviveNewValues) {
    ToolHeader header(QStringLiteral("Tempo"), QStringLiteral("BPM to Milliseconds"),
                      QStringLiteral("metronome"), QuorlenTheme::saffron());
    header.setMetrics(
        {metric("Quarter", "500.00 ms", QStringLiteral("500.00")), metric("Sixteenth", "8.00 Hz")});
    header.resize(700, 160);
    header.show();
    ASSERT_EQ(header.tiles().size(), 2);
    MetricTile* tile = header.tiles()[1];
    QTest::mouseClick(header.tiles()[0], Qt::LeftButton);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), QStringLiteral("500.00"));
    QTest::mouseClick(tile, Qt::LeftButton);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), QStringLiteral("8.00 Hz"));

    // New values keep the tiles, and with them the copied state.
    header.setMetrics({metric("Quarter", "600.00 ms"), metric("Sixteenth", "9.60 Hz")});
    ASSERT_EQ(header.tiles()[1], tile);
    EXPECT_TRUE(tile->isCopied());
    EXPECT_EQ(tile->copyText(), QStringLiteral("9.60 Hz"));
    header.setMetrics({});
    EXPECT_TRUE(header.tiles().isEmpty());
}

} // namespace
} // namespace quorlen
