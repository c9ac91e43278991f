// Entry point of the Qt test suites: an offscreen QApplication, the app's
// fonts, preferences written to a throw-away folder, and no usage events.
#include "ui/fonts.h"

#include <QApplication>
#include <QSettings>
#include <QTemporaryDir>

#include <gtest/gtest.h>

int main(int argc, char** argv) {
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
