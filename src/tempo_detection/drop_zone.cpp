#include "tempo_detection/drop_zone.h"

#include "ui/color_scheme.h"
#include "ui/focus_ring.h"
#include "ui/fonts.h"
#include "ui/keyboard_button.h"
#include "ui/symbol_icon.h"

#include <QDragEnterEvent>
#include <QMimeData>
#include <QPainter>
#include <QUrl>

namespace quorlen {
namespace {

constexpr int kSymbolBox = 34;
constexpr int kPadding = 16;
constexpr int kHeadingPx = 14;
constexpr int kLinePx = 11;

bool offersLocalFile(const QMimeData* data) {
    return data && data->hasUrls() && !data->urls().isEmpty() && data->urls().first().isLocalFile();
}

} // namespace

DropZone::DropZone(const QColor& accent, QWidget* parent)
    : QAbstractButton(parent), m_accent(accent) {
    setObjectName(QStringLiteral("dropZone"));
    setAcceptDrops(true);
    setCursor(Qt::PointingHandCursor);
    setToolTip(QStringLiteral("Drop an audio file, or click to choose one"));
    makeKeyboardButton(this);
}

void DropZone::setTexts(const QString& heading, const QString& line, bool showsSymbol) {
    m_heading = heading;
    m_line = line;
    setAccessibleName(heading);
    setAccessibleDescription(line);
    if (showsSymbol != m_showsSymbol) {
        m_showsSymbol = showsSymbol;
        updateGeometry();
    }
    update();
}

QSize DropZone::sizeHint() const {
    const int text =
        QFontMetrics(uiFont(kHeadingPx)).height() + 4 + QFontMetrics(uiFont(kLinePx)).height();
    return {400, 2 * kPadding + text + (m_showsSymbol ? kSymbolBox + 6 : 0)};
}

void DropZone::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const SchemeColors colors = currentColors();
    const QRectF box = QRectF(rect()).adjusted(1, 1, -1, -1);
    painter.setBrush(m_targeted ? withOpacity(m_accent, 0.10) : colors.fieldFill);
    QPen outline(m_targeted ? m_accent : withOpacity(colors.secondaryText, 0.5),
                 m_targeted ? 1.6 : 1.2, Qt::DashLine);
    outline.setDashPattern({4, 3});
    painter.setPen(outline);
    painter.drawRoundedRect(box, 10, 10);

    double y = kPadding;
    if (m_showsSymbol) {
        paintSymbol(painter, QRectF(0, y, width(), kSymbolBox), QStringLiteral("waveform.path"),
                    withOpacity(m_accent, 0.75), kSymbolBox - 4);
        y += kSymbolBox + 6;
    }
    const QFont headingFont = uiFont(kHeadingPx, QFont::DemiBold);
    const int headingHeight = QFontMetrics(headingFont).height();
    painter.setFont(headingFont);
    painter.setPen(colors.primaryText);
    painter.drawText(QRectF(kPadding, y, width() - 2 * kPadding, headingHeight),
                     Qt::AlignHCenter | Qt::AlignVCenter, m_heading);
    y += headingHeight + 4;
    const QFont lineFont = uiFont(kLinePx);
    painter.setFont(lineFont);
    painter.setPen(colors.secondaryText);
    const QString line =
        QFontMetrics(lineFont).elidedText(m_line, Qt::ElideMiddle, width() - 2 * kPadding);
    painter.drawText(QRectF(kPadding, y, width() - 2 * kPadding, QFontMetrics(lineFont).height()),
                     Qt::AlignHCenter | Qt::AlignVCenter, line);
    if (hasFocus())
        paintFocusRing(painter, rect(), 10);
}

void DropZone::dragEnterEvent(QDragEnterEvent* event) {
    if (!offersLocalFile(event->mimeData()))
        return;
    event->acceptProposedAction();
    setTargeted(true);
}

void DropZone::dragLeaveEvent(QDragLeaveEvent*) { setTargeted(false); }

void DropZone::dropEvent(QDropEvent* event) {
    setTargeted(false);
    if (!offersLocalFile(event->mimeData())) {
        event->ignore();
        return;
    }
    event->acceptProposedAction();
    // Further files in the same drop are ignored: one detection at a time.
    emit fileDropped(event->mimeData()->urls().first().toLocalFile());
}

void DropZone::setTargeted(bool targeted) {
    if (targeted == m_targeted)
        return;
    m_targeted = targeted;
    update();
}

} // namespace quorlen
