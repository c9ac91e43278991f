#pragma once

#include "tempo_detection/tempo_detect_model.h"
#include "ui/premium_panel.h"

#include <QTimer>

#include <vector>

class QLayout;

namespace quorlen {

class CalculatorState;
class ChromaStrip;
class ConfidenceBar;
class CopyableText;
class DropZone;
class KitButton;
class SchemeLabel;
class WaveformGrid;

// "Detect BPM from Audio": the drop zone, then for a detection its tempo,
// confidence, key and tuning (when the analysis measured them), waveform
// with the beat grid, ÷2 ×2, the preview and "Use this BPM". "Use this BPM"
// and "Use this A4" are the only things here that write the calculator
// state; "Use this key" asks, through keyChosen, for the harmony tool's key.
// Presents a TempoDetectModel that outlives it: the window keeps the last
// result, and an analysis still running, while other tools are shown.
class TempoDetectPanel : public PremiumPanel {
    Q_OBJECT
public:
    // 30 playhead updates per second while a preview plays.
    static constexpr int kTickerMs = 1000 / 30;

    TempoDetectPanel(CalculatorState& state, TempoDetectModel& model, QWidget* parent = nullptr);
    ~TempoDetectPanel() override;

    TempoDetectModel& model() { return m_model; }
    // Analyses `path` as if it had been dropped.
    void analyse(const QString& path);
    // The panel leaves the screen: the preview stops; the result and an
    // analysis under way stay with the model.
    void leave();
    bool isTickerRunning() const { return m_ticker.isActive(); }

    // The drop zone's heading for the model's state.
    static QString heading(const TempoDetectModel& model);
    // What "Save to file" did, for the note: "saved 128 BPM to the file".
    static QString tagNote(const tags::TagOutcome& outcome);

protected:
    void showEvent(QShowEvent* event) override;

signals:
    // "Use this key": the detected key as a circle position and ring.
    void keyChosen(int index, bool minor);

private:
    QLayout* makeTempoColumn();
    QLayout* makeConfidenceColumn();
    QLayout* makeButtonRow(const QColor& accent);
    QWidget* makeKeyRow(const QColor& accent);
    void refreshKey(const TempoDetectModel::Detection& d);
    void useDetectedKey();
    void useDetectedA4();
    void connectControls();
    void refresh();
    void refreshAlternatives(const TempoDetectModel::Detection& detection);
    void refreshPlayhead();
    void useDetectedBpm();
    void saveTags();

    CalculatorState& m_state;
    TempoDetectModel& m_model;
    DropZone* m_dropZone;
    QWidget* m_results;
    CopyableText* m_tempo;
    ConfidenceBar* m_confidenceBar;
    CopyableText* m_confidence;
    WaveformGrid* m_grid;
    KitButton* m_halve;
    KitButton* m_double;
    KitButton* m_preview;
    KitButton* m_click;
    KitButton* m_useBpm;
    KitButton* m_saveTags;
    SchemeLabel* m_note;
    // "Also plausible" and a button per other tempo worth a try.
    QWidget* m_alternatives;
    std::vector<double> m_alternativeTempos;
    QWidget* m_keyRow;
    CopyableText* m_keyName;
    CopyableText* m_camelot;
    CopyableText* m_keyConfidence;
    SchemeLabel* m_noKey;
    QWidget* m_tuning;
    CopyableText* m_tuningCents;
    CopyableText* m_a4;
    ChromaStrip* m_chroma;
    KitButton* m_useKey;
    KitButton* m_useA4;
    QTimer m_ticker;
};

} // namespace quorlen
