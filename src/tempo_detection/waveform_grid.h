#pragma once

#include "detection/waveform_layout.h"
#include "tempo_detection/tempo_detect_model.h"

#include <QColor>
#include <QTimer>
#include <QWidget>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quorlen {

// The analysed file's waveform with the beat grid (saffron beats, accent
// bar lines) and the preview playhead (lacquer). A click asks for a preview
// from the clicked position. It is one Tab stop: the arrows move a cursor
// by a beat (Page Up/Down by a bar, Home/End to the ends), and Space or
// Return plays from it; while the preview plays the cursor is the playhead,
// so the arrows move the playback itself. It zooms (Ctrl+wheel, a pinch,
// + and -) and scrolls in time (a sideways wheel, Shift+wheel), down to a
// second of any file, with the grid at every zoom. Zoomed closer than the
// analysis' peaks reach, it reads the stretch shown from the file again
// on a worker thread and draws its own peaks, a point a column, so a beat
// of a three-hour file still shows its shape.
class WaveformGrid : public QWidget {
    Q_OBJECT
public:
    static constexpr int kHeight = 88;

    explicit WaveformGrid(const QColor& accent, QWidget* parent = nullptr);
    ~WaveformGrid() override;

    void setDetection(const TempoDetectModel::Detection& detection);
    void setPlayhead(std::optional<double> seconds);
    // Where Space plays from, in seconds.
    double cursor() const { return m_cursor; }
    // The stretch shown; the whole file until zoomed.
    detection::TimeView view() const { return m_view; }
    // Zooms by `factor` (2: twice as close) about `anchorSeconds`.
    void zoom(double factor, double anchorSeconds);
    // Whether what is drawn comes from peaks read for the view shown.
    bool showsDetail() const;

signals:
    // Seconds from the start of the file, within 0 ... duration.
    void previewRequested(double fromSeconds);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    bool event(QEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    QColor m_accent;
    std::shared_ptr<const std::vector<float>> m_waveform; // the analysis's own, shared
    double m_durationSeconds = 0;
    double m_bpm = 0;
    double m_beatOffsetSeconds = 0;
    int m_downbeat = 0;
    std::optional<double> m_playhead;
    double m_cursor = 0;
    detection::TimeView m_view;
    std::string m_path;

    // Peaks of the file read for one view and width.
    struct Detail {
        detection::TimeView view;
        std::vector<float> peaks;
    };
    struct DetailJob;
    Detail m_detail;
    std::shared_ptr<DetailJob> m_detailJob;
    QTimer m_detailTimer; // lets a wheel's steps settle before reading

    void showView(detection::TimeView view);
    void fetchDetail();
    void dropDetailJob();
    void moveCursor(double seconds);
    void describeCursor();
};

} // namespace quorlen
