#pragma once

#include "harmony/key_selection.h"
#include "harmony/wheel_geometry.h"
#include "ui/accessible_parts.h"

#include <QColor>
#include <QElapsedTimer>
#include <QPainterPath>
#include <QTimer>
#include <QWidget>

#include <array>
#include <optional>

namespace quorlen {

// The circle of fifths as two rings of twelve segments: major keys outside,
// their relative minors inside, the selected key in a badge in the middle.
// Fills follow the selection and the pointer, easing out over 0.16 s and
// 0.12 s. A click on a segment's drawn shape emits segmentClicked; what
// that selects and sounds is the screen's business. With keyboard focus the
// arrows move a ring around one segment, which Space or Return picks; a
// screen reader sees the 24 segments as parts (majors, then minors).
class FifthsWheel : public QWidget, public AccessibleParts {
    Q_OBJECT
public:
    static constexpr int kSide = 430; // px, the largest square drawn
    // The smallest wheel whose centre disc (0.47 of the radius) still holds
    // the badge, and which fits beside the key details in the narrowest
    // window.
    static constexpr int kMinimumSide = 262;
    static constexpr int kBadgeDiameter = 122;
    static constexpr int kHoverEaseMs = 120;
    static constexpr int kSelectionEaseMs = 160;

    FifthsWheel(const QColor& accent, QWidget* parent = nullptr);

    void setSelection(harmony::KeySelection selection);
    harmony::KeySelection selection() const { return m_selection; }
    // A segment's target fill for the current scheme (without easing).
    QColor fillColor(int index, bool isMinorRing,
                     std::optional<harmony::wheel::SegmentID> hover) const;
    // Where a click on segment `index` of a ring lands, in widget
    // coordinates: the middle of its drawn shape.
    QPointF segmentCentre(int index, bool isMinorRing) const;

    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;
    QSize sizeHint() const override { return {kSide, kSide}; }
    QSize minimumSizeHint() const override { return {kMinimumSide, kMinimumSide}; }

    int accessiblePartCount() const override { return 24; }
    QString accessiblePartName(int part) const override;
    QRect accessiblePartRect(int part) const override;
    bool isAccessiblePartChecked(int part) const override;
    void pressAccessiblePart(int part) override;

signals:
    void segmentClicked(int index, bool minor);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    bool event(QEvent* event) override;

private:
    // Per segment: the colour it eases from, the fill it eases to, and when.
    // Only the target is kept as a fill, so a scheme switch recolours at once.
    struct Transition {
        QColor from; // as shown when the transition began
        harmony::wheel::SegmentFill to = harmony::wheel::SegmentFill::neutral;
        qint64 startMs = 0;
        int durationMs = 0;
    };

    static size_t slotOf(harmony::wheel::SegmentID segment);
    static harmony::wheel::SegmentID part(int index);
    QPainterPath segmentPath(harmony::wheel::SegmentID segment) const;
    void setHovered(std::optional<harmony::wheel::SegmentID> hovered);
    void retarget(int durationMs);
    QColor fillFor(harmony::wheel::SegmentFill fill) const;
    QColor easedFill(const Transition& transition, qint64 nowMs) const;
    void paintSegment(QPainter& painter, harmony::wheel::SegmentID segment, QColor fill) const;
    void paintLabel(QPainter& painter, harmony::wheel::SegmentID segment) const;
    void paintBadge(QPainter& painter) const;
    double radius() const { return std::min(width(), height()) / 2.0; }

    QColor m_accent;
    harmony::KeySelection m_selection;
    std::optional<harmony::wheel::SegmentID> m_hovered;
    std::optional<harmony::wheel::SegmentID> m_pressed;
    harmony::wheel::SegmentID m_cursor{harmony::wheel::Ring::major, 0};
    std::array<Transition, 24> m_transitions{};
    QElapsedTimer m_clock;
    QTimer m_frame;
};

} // namespace quorlen
