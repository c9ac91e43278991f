#include "ui/segmented_picker.h"

#include "ui/card.h"
#include "ui/color_scheme.h"
#include "ui/fonts.h"

#include <QMouseEvent>
#include <QPainter>

namespace quorlen {
namespace {
constexpr double kInset = 2;
}

SegmentedPicker::SegmentedPicker(const QStringList& labels, QWidget* parent)
    : QWidget(parent), m_labels(labels) {
    setFont(uiFont(12, QFont::Medium));
    setCursor(Qt::PointingHandCursor);
    setFixedHeight(28);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void SegmentedPicker::setCurrentIndex(int index) {
    if (index < 0 || index >= m_labels.size() || index == m_current)
        return;
    m_current = index;
    update();
}

QRectF SegmentedPicker::segmentRect(int index) const {
    const double width = (this->width() - 2 * kInset) / std::max<qsizetype>(1, m_labels.size());
    return QRectF(kInset + index * width, kInset, width, height() - 2 * kInset);
}

QPoint SegmentedPicker::segmentCenter(int index) const {
    return segmentRect(index).center().toPoint();
}

QSize SegmentedPicker::sizeHint() const {
    int widest = 0;
    for (const QString& label : m_labels)
        widest = std::max(widest, fontMetrics().horizontalAdvance(label));
    return QSize(static_cast<int>(m_labels.size()) * (widest + 24), 28);
}

void SegmentedPicker::mousePressEvent(QMouseEvent* event) {
    for (int i = 0; i < m_labels.size(); ++i) {
        if (segmentRect(i).contains(event->position()) && i != m_current) {
            m_current = i;
            update();
            emit currentIndexChanged(i);
            return;
        }
    }
}

void SegmentedPicker::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    paintFieldBox(painter, rect(), 7);
    const SchemeColors colors = currentColors();
    for (int i = 0; i < m_labels.size(); ++i) {
        const QRectF segment = segmentRect(i);
        if (i == m_current)
            paintCard(painter, segment, 5);
        painter.setFont(font());
        painter.setPen(i == m_current ? colors.primaryText : colors.secondaryText);
        painter.drawText(segment, Qt::AlignCenter, m_labels[i]);
    }
}

} // namespace quorlen
