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

TEST(ToolHeader, TilesCopyTheirCopyValueOrElseTheShownValue) {
    ToolHeader header(QStringLiteral("Tempo"), QStringLiteral("BPM to Milliseconds"),
                      QStringLiteral("metronome"), QuorlenTheme::saffron());
    header.setMetrics(
        {metric("Quarter", "500.00 ms", QStringLiteral("500.00")), metric("Sixteenth", "8.00 Hz")});
    header.resize(700, 160);
    header.show();
    ASSERT_EQ(header.tiles().size(), 2);

    QTest::mouseClick(header.tiles()[0], Qt::LeftButton);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), QStringLiteral("500.00"));
    QTest::mouseClick(header.tiles()[1], Qt::LeftButton);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), QStringLiteral("8.00 Hz"));
    EXPECT_GE(header.tiles()[0]->width(), MetricTile::kMinimumWidth);
}

TEST(ToolHeader, NewValuesKeepTheTilesAndTheirCopiedState) {
    ToolHeader header(QStringLiteral("Tempo"), QStringLiteral("T"), QStringLiteral("metronome"),
                      QuorlenTheme::saffron());
    header.setMetrics({metric("Quarter", "500.00 ms")});
    header.show();
    MetricTile* tile = header.tiles()[0];
    QTest::mouseClick(tile, Qt::LeftButton);

    header.setMetrics({metric("Quarter", "600.00 ms")});
    ASSERT_EQ(header.tiles()[0], tile);
    EXPECT_TRUE(tile->isCopied());
    EXPECT_EQ(tile->copyText(), QStringLiteral("600.00 ms"));

    header.setMetrics({});
    EXPECT_TRUE(header.tiles().isEmpty());
}

} // namespace
} // namespace quorlen
