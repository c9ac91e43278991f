#include "ui/segmented_picker.h"

#include "ui/card.h"
#include "ui/color_scheme.h"
#include "ui/focus_ring.h"
#include "ui/fonts.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>

#include <algorithm>

namespace quorlen {
namespace {
constexpr int kInset = 2;
constexpr int kHeight = 28;
constexpr int kMinimumSegmentWidth = 34;
constexpr int kSegmentPadding = 12;
} // namespace

SegmentedPicker::SegmentedPicker(const QStringList& labels, QWidget* parent)
    : QWidget(parent), m_labels(labels) {
    setFont(uiFont(12, QFont::Medium));
    setCursor(Qt::PointingHandCursor);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setFocusPolicy(Qt::TabFocus);
    installKitAccessibility();
}

void SegmentedPicker::keyPressEvent(QKeyEvent* event) {
    const int key = event->key();
    if (key != Qt::Key_Left && key != Qt::Key_Right && key != Qt::Key_Up && key != Qt::Key_Down)
        return QWidget::keyPressEvent(event);
    const int delta = key == Qt::Key_Left || key == Qt::Key_Up ? -1 : 1;
    const int next = std::clamp(m_selected + delta, 0, count() - 1);
    if (next != m_selected)
        emit chosen(next);
}

void SegmentedPicker::setSelectedIndex(int index) {
    if (index == m_selected)
        return;
    m_selected = index;
    update();
}

// Every segment is as wide as the widest label, so the row reads evenly.
int SegmentedPicker::segmentWidth() const {
    int widest = kMinimumSegmentWidth;
    for (const QString& label : m_labels)
        widest = qMax(widest, fontMetrics().horizontalAdvance(label) + 2 * kSegmentPadding);
    return widest;
}

QSize SegmentedPicker::sizeHint() const { return {segmentWidth() * count() + 2 * kInset, kHeight}; }

QRect SegmentedPicker::segmentRect(int index) const {
    const int width = (this->width() - 2 * kInset) / qMax(1, count());
    return QRect(kInset + index * width, kInset, width, height() - 2 * kInset);
}

int SegmentedPicker::segmentAt(const QPoint& position) const {
    for (int i = 0; i < count(); ++i) {
        if (segmentRect(i).contains(position))
            return i;
    }
    return -1;
}

void SegmentedPicker::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton)
        return QWidget::mouseReleaseEvent(event);
    const int index = segmentAt(event->position().toPoint());
    if (index >= 0)
        emit chosen(index);
}

void SegmentedPicker::paintEvent(QPaintEvent*) {
    const SchemeColors colors = currentColors();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    paintFieldBox(painter, rect(), 7);
    painter.setFont(font());
    for (int i = 0; i < count(); ++i) {
        const QRect segment = segmentRect(i);
        const bool selected = i == m_selected;
        if (selected)
            paintCard(painter, segment, 5);
        else if (i > 0 && i - 1 != m_selected) {
            // Hairline separators only between two unselected segments.
            painter.setPen(QPen(colors.fieldBorder, 1));
            painter.drawLine(QPointF(segment.left() + 0.5, segment.top() + 6),
                             QPointF(segment.left() + 0.5, segment.bottom() - 6));
        }
        painter.setPen(selected ? colors.primaryText : colors.secondaryText);
        painter.drawText(segment, Qt::AlignCenter, m_labels[i]);
    }
    if (hasFocus())
        paintFocusRing(painter, rect(), 7);
}

} // namespace quorlen
