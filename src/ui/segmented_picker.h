#pragma once

#include <QStringList>
#include <QWidget>

namespace quorlen {

// One choice out of a few short labels, shown side by side in a rounded
// box; the chosen segment is raised on the surface colour. Emits
// currentIndexChanged only when the user picks another segment.
class SegmentedPicker : public QWidget {
    Q_OBJECT
public:
    explicit SegmentedPicker(const QStringList& labels, QWidget* parent = nullptr);

    int currentIndex() const { return m_current; }
    void setCurrentIndex(int index);
    QStringList labels() const { return m_labels; }
    // Centre of segment `index`, for clicks in tests and accessibility.
    QPoint segmentCenter(int index) const;

    QSize sizeHint() const override;

signals:
    void currentIndexChanged(int index);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

private:
    QRectF segmentRect(int index) const;

    QStringList m_labels;
    int m_current = 0;
};

} // namespace quorlen
