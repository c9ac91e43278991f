#pragma once

#include "tempo_detection/tempo_detect_model.h"
#include "ui/premium_panel.h"

#include <QTimer>

#include <memory>

class QLabel;
class QLayout;

namespace quorlen {

class CalculatorState;
class ConfidenceBar;
class CopyableText;
class DropZone;
class KitButton;
class WaveformGrid;

// "Detect BPM from Audio": the drop zone, then for a detection its tempo,
// confidence, waveform with the beat grid, ÷2 ×2, the preview and "Use this
// BPM", which is the only thing here that writes the calculator state.
// Presents one TempoDetectModel, created with the panel.
class TempoDetectPanel : public PremiumPanel {
    Q_OBJECT
public:
    // 30 playhead updates per second while a preview plays.
    static constexpr int kTickerMs = 1000 / 30;

    // Without a model, one over the sound card and the detection engine.
    TempoDetectPanel(CalculatorState& state, std::unique_ptr<TempoDetectModel> model = nullptr,
                     QWidget* parent = nullptr);
    ~TempoDetectPanel() override;

    TempoDetectModel& model() { return *m_model; }
    // Analyses `path` as if it had been dropped.
    void analyse(const QString& path);
    // The panel leaves the screen: the preview stops, an analysis is cancelled.
    void leave();
    bool isTickerRunning() const { return m_ticker.isActive(); }

    // The drop zone's heading for the model's state.
    static QString heading(const TempoDetectModel& model);

private:
    QLayout* makeTempoColumn();
    QLayout* makeConfidenceColumn();
    QLayout* makeButtonRow(const QColor& accent);
    void connectControls();
    void refresh();
    void refreshPlayhead();
    void useDetectedBpm();
    void colourNote();

    CalculatorState& m_state;
    std::unique_ptr<TempoDetectModel> m_model;
    DropZone* m_dropZone;
    QWidget* m_results;
    CopyableText* m_tempo;
    ConfidenceBar* m_confidenceBar;
    CopyableText* m_confidence;
    WaveformGrid* m_grid;
    KitButton* m_halve;
    KitButton* m_double;
    KitButton* m_preview;
    KitButton* m_useBpm;
    QLabel* m_note;
    QTimer m_ticker;
};

} // namespace quorlen
