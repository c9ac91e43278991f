#pragma once

#include "app/calculator_tool.h"
#include "app/octave_setting.h"
#include "state/calculator_state.h"

#include <QWidget>

#include <memory>

class QScrollArea;

namespace quorlen {

class PremiumBackdrop;
class Sidebar;
class TempoDetectModel;

// The window's root: backdrop, sidebar, divider and the selected tool's
// screen. It owns the window's one CalculatorState and routes between tools;
// it does no tool's work.
class ContentView : public QWidget {
    Q_OBJECT
public:
    static constexpr QSize kMinimumSize{900, 680};

    // `restoredToolID` is the stored selection; one that names no tool shows
    // the tempo tool.
    explicit ContentView(const QString& restoredToolID, QWidget* parent = nullptr);
    ~ContentView() override;

    CalculatorState& state() { return m_state; }
    QString selectedToolID() const { return m_selectedToolID; }
    CalculatorTool shownTool() const;
    Sidebar* sidebar() const { return m_sidebar; }
    QWidget* toolView() const { return m_toolView; }
    // The window's one detection session: its last result and a running
    // analysis outlive visits to other tools. Made on first use.
    TempoDetectModel& detection();
    // How the session chooses the tempo's octave; it follows every change.
    OctaveSetting& octaveSetting() { return m_octave; }

    // Shows `tool` as selected (stored like any selection); no click is
    // reported.
    void showTool(CalculatorTool tool);
    // Moves the keyboard focus into the shown tool, as opening it by a
    // shortcut should: a sidebar row kept focused would take the keys
    // meant for the tool (Space, the arrows).
    void focusTool();

    // What a click on a sidebar row does: select the tool (a click on the
    // selected row changes nothing), then report the click.
    void selectTool(CalculatorTool tool);

signals:
    // The window shows this content (at start, and after being reopened).
    void appeared();
    void selectedToolChanged(const QString& rawValue);
    void toolRowClicked(quorlen::CalculatorTool tool);

protected:
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void showSelectedTool();
    void updateSummary();
    void styleScrollBar();

    CalculatorState m_state;
    OctaveSetting m_octave;
    std::unique_ptr<TempoDetectModel> m_detection;
    QString m_selectedToolID;
    PremiumBackdrop* m_backdrop;
    Sidebar* m_sidebar;
    QScrollArea* m_detail;
    QWidget* m_toolView = nullptr;
};

} // namespace quorlen
