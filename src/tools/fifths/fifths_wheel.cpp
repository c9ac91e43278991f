#include "tools/fifths/fifths_wheel.h"

#include "ui/color_scheme.h"
#include "ui/focus_ring.h"
#include "ui/fonts.h"

#include <QEasingCurve>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>

namespace quorlen {

using harmony::KeySelection;
using harmony::KeySlot;
using harmony::wheel::ArcSpan;
using harmony::wheel::Point;
using harmony::wheel::Ring;
using harmony::wheel::RingBand;
using harmony::wheel::SegmentFill;
using harmony::wheel::SegmentID;

namespace {

constexpr Ring kRings[] = {Ring::major, Ring::minor};

bool isDark() { return currentScheme() == ColorScheme::Dark; }

QColor outlineColor() {
    return isDark() ? withOpacity(Qt::white, 0.13) : withOpacity(Qt::black, 0.08);
}

QColor mix(const QColor& a, const QColor& b, double t) {
    const auto lerp = [t](double x, double y) { return x + (y - x) * t; };
    return QColor::fromRgbF(static_cast<float>(lerp(a.redF(), b.redF())),
                            static_cast<float>(lerp(a.greenF(), b.greenF())),
                            static_cast<float>(lerp(a.blueF(), b.blueF())),
                            static_cast<float>(lerp(a.alphaF(), b.alphaF())));
}

QPointF toQt(Point p) { return {p.x, p.y}; }

} // namespace

FifthsWheel::FifthsWheel(const QColor& accent, QWidget* parent)
    : QWidget(parent), m_accent(accent) {
    setObjectName(QStringLiteral("fifthsWheel"));
    // Before anything could ask for this widget's accessible interface.
    installKitAccessibility();
    setMouseTracking(true);
    setFocusPolicy(Qt::TabFocus);
    setAccessibleName(QStringLiteral("Key Wheel"));
    setMinimumSize(kMinimumSide, kMinimumSide);
    setMaximumSize(kSide, kSide);
    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Preferred);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
    m_clock.start();
    m_frame.setInterval(16);
    connect(&m_frame, &QTimer::timeout, this, qOverload<>(&QWidget::update));
    retarget(0);
}

int FifthsWheel::heightForWidth(int width) const { return std::clamp(width, kMinimumSide, kSide); }

void FifthsWheel::setSelection(KeySelection selection) {
    if (selection == m_selection)
        return;
    m_selection = selection;
    // The keyboard ring goes where the selection went.
    m_cursor = {selection.isMinor ? Ring::minor : Ring::major, selection.index};
    retarget(kSelectionEaseMs);
}

QColor FifthsWheel::fillColor(int index, bool isMinorRing, std::optional<SegmentID> hover) const {
    const SegmentID segment{isMinorRing ? Ring::minor : Ring::major, index};
    return fillFor(harmony::wheel::segmentFill(segment, m_selection, hover));
}

QPointF FifthsWheel::segmentCentre(int index, bool isMinorRing) const {
    const RingBand& band = harmony::wheel::band(isMinorRing ? Ring::minor : Ring::major);
    const double middle = (band.innerRatio + band.outerRatio) / 2 * radius();
    return toQt(harmony::wheel::polarPoint({width() / 2.0, height() / 2.0}, middle,
                                           harmony::wheel::centreDeg(index)));
}

QColor FifthsWheel::fillFor(SegmentFill fill) const {
    switch (fill) {
    case SegmentFill::selected:
        return m_accent;
    case SegmentFill::related:
        return withOpacity(m_accent, 0.22);
    case SegmentFill::hovered:
        return withOpacity(m_accent, 0.12);
    case SegmentFill::neutral:
        break;
    }
    return withOpacity(Qt::white, isDark() ? 0.045 : 0.58);
}

size_t FifthsWheel::slotOf(SegmentID segment) {
    const size_t ringStart = segment.ring == Ring::minor ? 12 : 0;
    return ringStart + static_cast<size_t>(segment.index);
}

// Starts every segment whose fill changes on its way from where it shows
// now, so a change that lands mid-transition continues without a jump.
void FifthsWheel::retarget(int durationMs) {
    const qint64 now = m_clock.elapsed();
    bool moving = false;
    for (const Ring ring : kRings) {
        for (int i = 0; i < 12; ++i) {
            const SegmentID segment{ring, i};
            Transition& t = m_transitions[slotOf(segment)];
            const SegmentFill target = harmony::wheel::segmentFill(segment, m_selection, m_hovered);
            if (target == t.to)
                continue;
            t.from = easedFill(t, now);
            t.to = target;
            t.startMs = now;
            t.durationMs = durationMs;
            moving = moving || durationMs > 0;
        }
    }
    if (moving)
        m_frame.start();
    update();
}

QColor FifthsWheel::easedFill(const Transition& t, qint64 nowMs) const {
    if (t.durationMs <= 0 || nowMs - t.startMs >= t.durationMs)
        return fillFor(t.to);
    static const QEasingCurve easeOut(QEasingCurve::OutCubic);
    const double progress = static_cast<double>(nowMs - t.startMs) / t.durationMs;
    return mix(t.from, fillFor(t.to), easeOut.valueForProgress(progress));
}

void FifthsWheel::setHovered(std::optional<SegmentID> hovered) {
    if (hovered == m_hovered)
        return;
    m_hovered = hovered;
    retarget(kHoverEaseMs);
}

void FifthsWheel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const qint64 now = m_clock.elapsed();
    bool moving = false;
    for (const Ring ring : kRings) {
        for (int i = 0; i < 12; ++i) {
            const SegmentID segment{ring, i};
            const Transition& t = m_transitions[slotOf(segment)];
            moving = moving || now - t.startMs < t.durationMs;
            paintSegment(painter, segment, easedFill(t, now));
        }
    }
    for (const Ring ring : kRings) {
        for (int i = 0; i < 12; ++i)
            paintLabel(painter, {ring, i});
    }
    paintBadge(painter);
    if (hasFocus()) {
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(focusRingColor(currentScheme()), 2.5));
        painter.drawPath(segmentPath(m_cursor));
    }
    if (!moving)
        m_frame.stop();
}

QPainterPath FifthsWheel::segmentPath(SegmentID segment) const {
    const double r = radius();
    const QPointF c(width() / 2.0, height() / 2.0);
    const RingBand& band = harmony::wheel::band(segment.ring);
    const ArcSpan span = harmony::wheel::segmentSpan(segment.index);
    const double outer = band.outerRatio * r;
    const double inner = band.innerRatio * r;
    // Qt's arcs count degrees counter-clockwise; screen angles run clockwise.
    QPainterPath path;
    path.moveTo(toQt(harmony::wheel::polarPoint({c.x(), c.y()}, outer, span.startDeg)));
    path.arcTo(QRectF(c.x() - outer, c.y() - outer, 2 * outer, 2 * outer), -span.startDeg,
               -(span.endDeg - span.startDeg));
    path.lineTo(toQt(harmony::wheel::polarPoint({c.x(), c.y()}, inner, span.endDeg)));
    path.arcTo(QRectF(c.x() - inner, c.y() - inner, 2 * inner, 2 * inner), -span.endDeg,
               span.endDeg - span.startDeg);
    path.closeSubpath();
    return path;
}

void FifthsWheel::paintSegment(QPainter& painter, SegmentID segment, QColor fill) const {
    painter.setPen(QPen(outlineColor(), 1));
    painter.setBrush(fill);
    painter.drawPath(segmentPath(segment));
}

void FifthsWheel::paintLabel(QPainter& painter, SegmentID segment) const {
    const SchemeColors colors = currentColors();
    const KeySlot& slot = harmony::CircleOfFifths::slotAt(segment.index);
    const bool selected =
        harmony::wheel::segmentFill(segment, m_selection, std::nullopt) == SegmentFill::selected;
    const QPointF centre = segmentCentre(segment.index, segment.ring == Ring::minor);
    const QColor porcelain = QuorlenTheme::porcelain();

    if (segment.ring == Ring::minor) {
        painter.setFont(uiFont(13, QFont::DemiBold));
        painter.setPen(selected ? porcelain : colors.secondaryText);
        painter.drawText(QRectF(centre.x() - 40, centre.y() - 10, 80, 20), Qt::AlignCenter,
                         QString::fromUtf8(slot.minor.data(), qsizetype(slot.minor.size())));
        return;
    }
    painter.setFont(uiFont(17, QFont::DemiBold));
    painter.setPen(selected ? porcelain : colors.primaryText);
    painter.drawText(QRectF(centre.x() - 40, centre.y() - 17, 80, 22), Qt::AlignCenter,
                     QString::fromUtf8(slot.major.data(), qsizetype(slot.major.size())));
    painter.setFont(monoFont(10, QFont::Medium));
    painter.setPen(selected ? withOpacity(porcelain, 0.78)
                            : withOpacity(colors.secondaryText, 0.7));
    painter.drawText(
        QRectF(centre.x() - 40, centre.y() + 5, 80, 14), Qt::AlignCenter,
        QString::fromStdString(harmony::CircleOfFifths::signatureText(slot.accidentals)));
}

void FifthsWheel::paintBadge(QPainter& painter) const {
    const SchemeColors colors = currentColors();
    const QPointF c(width() / 2.0, height() / 2.0);
    const double half = kBadgeDiameter / 2.0;
    const QRectF circle(c.x() - half, c.y() - half, kBadgeDiameter, kBadgeDiameter);
    const QColor fill = isDark() ? QColor::fromRgbF(0.16f, 0.16f, 0.17f, 0.82f)
                                 : QColor::fromRgbF(0.97f, 0.95f, 0.91f, 0.84f);
    painter.setPen(QPen(outlineColor(), 1));
    painter.setBrush(fill);
    painter.drawEllipse(circle);

    const std::string_view shortName = m_selection.shortName();
    const QString name = QString::fromUtf8(shortName.data(), qsizetype(shortName.size()));
    const QFont nameFont = fittedFont(uiFont(30, QFont::Bold), name, kBadgeDiameter - 20, 0.6);
    painter.setFont(nameFont);
    painter.setPen(colors.primaryText);
    painter.drawText(QRectF(circle.left(), c.y() - 36, kBadgeDiameter, 36),
                     Qt::AlignHCenter | Qt::AlignBottom, name);
    painter.setFont(uiFont(11, QFont::Medium));
    painter.setPen(colors.secondaryText);
    painter.drawText(QRectF(circle.left(), c.y() + 1, kBadgeDiameter, 16), Qt::AlignCenter,
                     m_selection.isMinor ? QStringLiteral("minor") : QStringLiteral("major"));
    painter.setFont(monoFont(12, QFont::DemiBold));
    painter.setPen(textInk(m_accent, currentScheme()));
    painter.drawText(QRectF(circle.left(), c.y() + 18, kBadgeDiameter, 16), Qt::AlignCenter,
                     QString::fromStdString(
                         harmony::CircleOfFifths::signatureText(m_selection.slot().accidentals)));
}

void FifthsWheel::mouseMoveEvent(QMouseEvent* event) {
    const QPointF at = event->position();
    setHovered(harmony::wheel::segmentAt(at.x(), at.y(), width(), height()));
    setCursor(m_hovered ? Qt::PointingHandCursor : Qt::ArrowCursor);
}

void FifthsWheel::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton)
        return;
    const QPointF at = event->position();
    m_pressed = harmony::wheel::segmentShapeAt(at.x(), at.y(), width(), height());
}

void FifthsWheel::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || !m_pressed)
        return;
    const QPointF at = event->position();
    const auto released = harmony::wheel::segmentShapeAt(at.x(), at.y(), width(), height());
    const auto pressed = std::exchange(m_pressed, std::nullopt);
    if (released == pressed)
        emit segmentClicked(released->index, released->ring == Ring::minor);
}

SegmentID FifthsWheel::part(int index) {
    return {index < 12 ? Ring::major : Ring::minor, index % 12};
}

QString FifthsWheel::accessiblePartName(int index) const {
    const SegmentID segment = part(index);
    const KeySlot& slot = harmony::CircleOfFifths::slotAt(segment.index);
    // The minor names end in "m" ("F♯m"); spoken, the mode is a word.
    const std::string_view name =
        segment.ring == Ring::major ? slot.major : slot.minor.substr(0, slot.minor.size() - 1);
    return QString::fromUtf8(name.data(), qsizetype(name.size())) +
           (segment.ring == Ring::major ? QStringLiteral(" major") : QStringLiteral(" minor"));
}

QRect FifthsWheel::accessiblePartRect(int index) const {
    return segmentPath(part(index)).boundingRect().toAlignedRect();
}

bool FifthsWheel::isAccessiblePartChecked(int index) const {
    const SegmentID segment = part(index);
    return segment.index == m_selection.index &&
           (segment.ring == Ring::minor) == m_selection.isMinor;
}

void FifthsWheel::pressAccessiblePart(int index) {
    const SegmentID segment = part(index);
    emit segmentClicked(segment.index, segment.ring == Ring::minor);
}

// The keyboard walks the wheel as it reads: Left and Right go round the
// ring, Up takes the major ring and Down the minor; Space or Return picks.
void FifthsWheel::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
    case Qt::Key_Left:
        m_cursor.index = (m_cursor.index + 11) % 12;
        break;
    case Qt::Key_Right:
        m_cursor.index = (m_cursor.index + 1) % 12;
        break;
    case Qt::Key_Up:
        m_cursor.ring = Ring::major;
        break;
    case Qt::Key_Down:
        m_cursor.ring = Ring::minor;
        break;
    case Qt::Key_Space:
    case Qt::Key_Return:
    case Qt::Key_Enter:
        emit segmentClicked(m_cursor.index, m_cursor.ring == Ring::minor);
        return;
    default:
        return QWidget::keyPressEvent(event);
    }
    update();
}

bool FifthsWheel::event(QEvent* event) {
    // Space picks the segment under the ring, ahead of window shortcuts.
    if (event->type() == QEvent::ShortcutOverride &&
        static_cast<QKeyEvent*>(event)->key() == Qt::Key_Space) {
        event->accept();
        return true;
    }
    return QWidget::event(event);
}

void FifthsWheel::focusInEvent(QFocusEvent* event) {
    m_cursor = {m_selection.isMinor ? Ring::minor : Ring::major, m_selection.index};
    QWidget::focusInEvent(event);
}

void FifthsWheel::leaveEvent(QEvent* event) {
    setHovered(std::nullopt);
    QWidget::leaveEvent(event);
}

} // namespace quorlen
