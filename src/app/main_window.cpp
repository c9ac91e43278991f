#include "app/main_window.h"

#include "app/content_view.h"
#include "app/preferences.h"
#include "app/settings_dialog.h"
#include "stats/stats.h"

#include <QApplication>
#include <QMenuBar>

namespace quorlen {

MainWindow::MainWindow(AppearanceController& appearance, bool interactive, QWidget* parent)
    : QMainWindow(parent), m_appearance(appearance) {
    setObjectName(QStringLiteral("main"));
    setWindowTitle(QStringLiteral("Quorlen Calculator"));

    m_content = new ContentView(Preferences().selectedCalculatorTool(), this);
    setCentralWidget(m_content);
    if (interactive) {
        // The selection is stored before the click is reported.
        connect(m_content, &ContentView::selectedToolChanged, this,
                [](const QString& rawValue) { Preferences().setSelectedCalculatorTool(rawValue); });
        connect(m_content, &ContentView::appeared, this,
                [] { Stats::track(QStringLiteral("launch")); });
        connect(m_content, &ContentView::toolRowClicked, this, [](CalculatorTool tool) {
            Stats::track(QStringLiteral("tool-") + QLatin1String(toolInfo(tool).rawValue));
        });
    }

    QMenu* menu = menuBar()->addMenu(QStringLiteral("&Calculator"));
    QAction* settings =
        menu->addAction(QStringLiteral("Settings…"), this, &MainWindow::showSettings);
    settings->setShortcut(QKeySequence(QStringLiteral("Ctrl+,")));
    settings->setMenuRole(QAction::PreferencesRole);
    menu->addSeparator();
    QAction* quit = menu->addAction(QStringLiteral("Quit"), qApp, &QApplication::quit);
    quit->setShortcut(QKeySequence::Quit);
    quit->setMenuRole(QAction::QuitRole);

    // Ctrl+1 … Ctrl+7 reach every tool from the keyboard; a shortcut is no
    // click on a row, so it is not reported.
    QMenu* tools = menuBar()->addMenu(QStringLiteral("&Tools"));
    for (const ToolInfo& info : allTools()) {
        QAction* action =
            tools->addAction(QString::fromUtf8(info.title), this, [this, tool = info.tool] {
                m_content->showTool(tool);
                m_content->focusTool();
            });
        action->setShortcut(
            QKeySequence(Qt::CTRL | Qt::Key(Qt::Key_1 + static_cast<int>(info.tool))));
    }

    resize(kDefaultSize);
}

void MainWindow::showSettings() {
    if (!m_settings)
        m_settings = new SettingsDialog(m_appearance, m_content->octaveSetting(), this);
    m_settings->show();
    m_settings->raise();
    m_settings->activateWindow();
}

} // namespace quorlen
