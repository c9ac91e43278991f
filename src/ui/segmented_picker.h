#pragma once

#include "ui/accessible_parts.h"

#include <QStringList>
#include <QWidget>

namespace quorlen {

// A row of mutually exclusive choices in the kit's field look; the chosen
// segment is raised on the surface colour. It shows a selection, the owner
// stores it: a click emits `chosen` and the owner calls setSelectedIndex.
// With keyboard focus, Left and Right choose the neighbouring segment.
class SegmentedPicker : public QWidget, public AccessibleParts {
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

    int accessiblePartCount() const override { return count(); }
    QString accessiblePartName(int part) const override { return m_labels.value(part); }
    QRect accessiblePartRect(int part) const override { return segmentRect(part); }
    bool isAccessiblePartChecked(int part) const override { return part == m_selected; }
    void pressAccessiblePart(int part) override { emit chosen(part); }

signals:
    void chosen(int index);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    int segmentAt(const QPoint& position) const;
    int segmentWidth() const;

    QStringList m_labels;
    int m_selected = -1;
};

} // namespace quorlen
