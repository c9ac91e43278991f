#include "support/wait.h"
#include "ui/copyable_value.h"

#include <QClipboard>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QTest>

#include <gtest/gtest.h>

namespace quorlen {
namespace {

using testing::waitUntil;

// The clipboard gets the copy text, not the display; the copied state lasts
// until 800 ms after the latest click.
TEST(CopyableValue, CopiesTheCopyTextAndStaysCopiedUntil800MsAfterTheLatestClick) {
    CopyableText value;
    value.setValue(QStringLiteral("500.00 ms"), QStringLiteral("500.00"));
    value.resize(120, 24);
    value.show();
    int changes = 0;
    QObject::connect(&value, &CopyableValue::copiedChanged, [&] { ++changes; });
    EXPECT_EQ(value.toolTip(), QStringLiteral("Copy 500.00"));
    QGuiApplication::clipboard()->setText(QStringLiteral("something else"));
    QTest::mouseClick(&value, Qt::LeftButton);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), QStringLiteral("500.00"));

    // Three clicks 0.5 s apart: without the restart the state would end
    // 0.8 s after the first one.
    value.setValue(QStringLiteral("440"));
    EXPECT_EQ(value.toolTip(), QStringLiteral("Copy 440"));
    QElapsedTimer sinceLastClick;
    for (int click = 0; click < 2; ++click) {
        QTest::qWait(500);
        QTest::mouseClick(&value, Qt::LeftButton);
        sinceLastClick.start();
        ASSERT_TRUE(value.isCopied()) << "click " << click;
    }
    EXPECT_EQ(QGuiApplication::clipboard()->text(), QStringLiteral("440"));
    ASSERT_TRUE(waitUntil([&] { return !value.isCopied(); }, 3000));
    EXPECT_GE(sinceLastClick.elapsed(), 780);
    EXPECT_EQ(changes, 2) << "on once, off once";
}

} // namespace
} // namespace quorlen
