#pragma once

#include <QStringList>
#include <QWidget>

namespace quorlen {

// A row of mutually exclusive choices in the kit's field look; the chosen
// segment is raised on the surface colour. It shows a selection, the owner
// stores it: a click emits `chosen` and the owner calls setSelectedIndex.
class SegmentedPicker : public QWidget {
    Q_OBJECT
public:
    explicit SegmentedPicker(const QStringList& labels, QWidget* parent = nullptr);

    int selectedIndex() const { return m_selected; }
    // -1 shows no segment chosen.
    void setSelectedIndex(int index);
    int count() const { return static_cast<int>(m_labels.size()); }
    QRect segmentRect(int index) const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

signals:
    void chosen(int index);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    int segmentAt(const QPoint& position) const;
    int segmentWidth() const;

    QStringList m_labels;
    int m_selected = -1;
};

} // namespace quorlen
