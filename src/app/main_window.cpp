#include "app/main_window.h"

#include "app/content_view.h"
#include "app/preferences.h"
#include "app/settings_dialog.h"

#include <QApplication>
#include <QMenuBar>

namespace quorlen {

MainWindow::MainWindow(AppearanceController& appearance, bool persistSelection, QWidget* parent)
    : QMainWindow(parent), m_appearance(appearance) {
    setObjectName(QStringLiteral("main"));
    setWindowTitle(QStringLiteral("Quorlen Calculator"));

    m_content = new ContentView(Preferences().selectedCalculatorTool(), this);
    setCentralWidget(m_content);
    if (persistSelection) {
        connect(m_content, &ContentView::selectedToolChanged, this,
                [](const QString& rawValue) { Preferences().setSelectedCalculatorTool(rawValue); });
    }

    QMenu* menu = menuBar()->addMenu(QStringLiteral("&Calculator"));
    QAction* settings = menu->addAction(QStringLiteral("Settings…"), this, &MainWindow::showSettings);
    settings->setShortcut(QKeySequence(QStringLiteral("Ctrl+,")));
    settings->setMenuRole(QAction::PreferencesRole);
    menu->addSeparator();
    QAction* quit = menu->addAction(QStringLiteral("Quit"), qApp, &QApplication::quit);
    quit->setShortcut(QKeySequence::Quit);
    quit->setMenuRole(QAction::QuitRole);

    resize(kDefaultSize);
}

void MainWindow::showSettings() {
    if (!m_settings)
        m_settings = new SettingsDialog(m_appearance, this);
    m_settings->show();
    m_settings->raise();
    m_settings->activateWindow();
}

} // namespace quorlen
