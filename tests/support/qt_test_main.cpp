// Entry point of the Qt test suites: an offscreen QApplication, the app's
// fonts, and preferences written to a throw-away folder.
#include "ui/fonts.h"

#include <QApplication>
#include <QSettings>
#include <QTemporaryDir>

#include <gtest/gtest.h>

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    testing::InitGoogleTest(&argc, argv);
    QApplication app(argc, argv);
    QApplication::setFont(quorlen::uiFont(13));

    QTemporaryDir settingsDir;
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, settingsDir.path());
    return RUN_ALL_TESTS();
}
