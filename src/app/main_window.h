#pragma once

#include <QMainWindow>

namespace quorlen {

class AppearanceController;
class ContentView;
class SettingsDialog;

// The one main window: the content view, the application menu with Settings
// and Quit, and the restored tool selection.
class MainWindow : public QMainWindow {
    Q_OBJECT
public:
    static constexpr QSize kDefaultSize{960, 720};

    // A window that is not `interactive` (a screenshot being rendered)
    // neither stores the tool selection nor reports usage.
    MainWindow(AppearanceController& appearance, bool interactive = true,
               QWidget* parent = nullptr);

    ContentView* content() const { return m_content; }
    void showSettings();

private:
    AppearanceController& m_appearance;
    ContentView* m_content;
    SettingsDialog* m_settings = nullptr;
};

} // namespace quorlen
