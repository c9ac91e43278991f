// Entry point of the Qt test suites: an offscreen QApplication, the app's
// fonts, preferences written to a throw-away folder, and no usage events.
#include "ui/fonts.h"

#include <QApplication>
#include <QSettings>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

// The offscreen platform says this for every window it shows; it is no
// finding of a test.
QtMessageHandler previousHandler = nullptr;

void dropOffscreenNoise(QtMsgType type, const QMessageLogContext& context, const QString& text) {
    if (text.startsWith(QLatin1String("This plugin does not support")) ||
        text.startsWith(QLatin1String("QStandardPaths: XDG_RUNTIME_DIR not set")))
        return;
    if (previousHandler)
        previousHandler(type, context, text);
}

} // namespace

int main(int argc, char** argv) {
    previousHandler = qInstallMessageHandler(dropOffscreenNoise);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    // Windows built in tests report usage nowhere unless a test says where.
    if (!qEnvironmentVariableIsSet("QUORLEN_STATS_URL"))
        qputenv("QUORLEN_STATS_URL", "off");
    testing::InitGoogleTest(&argc, argv);
    QApplication app(argc, argv);
    QApplication::setFont(quorlen::uiFont(13));

    QTemporaryDir settingsDir;
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, settingsDir.path());
    return RUN_ALL_TESTS();
}
