#include "tools/fifths/chord_tile.h"

#include "harmony/circle_of_fifths.h"
#include "ui/color_scheme.h"
#include "ui/focus_ring.h"
#include "ui/fonts.h"
#include "ui/keyboard_button.h"

#include <QClipboard>
#include <QContextMenuEvent>
#include <QGuiApplication>
#include <QMenu>
#include <QPainter>

namespace quorlen {
namespace {

constexpr int kPaddingX = 10;

QFont nameFont(const ChordTile::Look& look) {
    return look.monospacedName ? monoFont(look.nameSize, QFont::DemiBold)
                               : uiFont(look.nameSize, QFont::DemiBold);
}

// The neutral chip of the harmony tool: white at 4.5 % on dark, 58 % on light.
QColor neutralFill() {
    return currentScheme() == ColorScheme::Dark ? withOpacity(Qt::white, 0.045)
                                                : withOpacity(Qt::white, 0.58);
}

} // namespace

ChordTile::ChordTile(const Look& look, const QColor& accent, QWidget* parent)
    : QAbstractButton(parent), m_look(look), m_accent(accent) {
    setCursor(Qt::PointingHandCursor);
    makeKeyboardButton(this);
    setAttribute(Qt::WA_Hover);
    setFixedHeight(look.height);
}

void ChordTile::setChord(const QString& name, const QString& numeral) {
    if (name == m_name && numeral == m_numeral)
        return;
    m_name = name;
    m_numeral = numeral;
    setText(name);
    setAccessibleName(name + QLatin1Char(' ') + numeral);
    updateGeometry();
    update();
}

void ChordTile::setHighlighted(bool highlighted) {
    if (highlighted == m_highlighted)
        return;
    m_highlighted = highlighted;
    update();
}

QSize ChordTile::sizeHint() const {
    const int nameWidth = QFontMetrics(nameFont(m_look)).horizontalAdvance(m_name);
    const int numeralWidth = QFontMetrics(uiFont(m_look.numeralSize)).horizontalAdvance(m_numeral);
    return QSize(std::max(nameWidth, numeralWidth) + 2 * kPaddingX, m_look.height);
}

QSize ChordTile::minimumSizeHint() const { return QSize(36, m_look.height); }

void ChordTile::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const SchemeColors colors = currentColors();
    const QRectF box = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    QColor fill = m_highlighted ? m_accent : neutralFill();
    if (!m_highlighted && (isDown() || underMouse()))
        fill = withOpacity(m_accent, isDown() ? 0.22 : 0.12);
    painter.setPen(m_highlighted ? Qt::NoPen : QPen(colors.border, 1));
    painter.setBrush(fill);
    painter.drawRoundedRect(box, 7, 7);

    const QColor ink = m_highlighted ? QuorlenTheme::porcelain() : colors.primaryText;
    const QColor numeralInk =
        m_highlighted ? withOpacity(QuorlenTheme::porcelain(), 0.8) : colors.secondaryText;
    const double mid = height() / 2.0;
    const QFont numeral = uiFont(m_look.numeralSize, QFont::Medium);
    painter.setFont(fittedFont(nameFont(m_look), m_name, width() - 8));
    painter.setPen(ink);
    painter.drawText(QRectF(0, mid - m_look.nameSize - 3, width(), m_look.nameSize + 4),
                     Qt::AlignHCenter | Qt::AlignBottom, m_name);
    painter.setFont(numeral);
    painter.setPen(numeralInk);
    painter.drawText(QRectF(0, mid + 1, width(), m_look.numeralSize + 4),
                     Qt::AlignHCenter | Qt::AlignTop, m_numeral);
    if (hasFocus())
        paintFocusRing(painter, rect(), 7);
}

QMenu* ChordTile::createContextMenu(QWidget* parent) {
    if (!m_copyMenu)
        return nullptr;
    const QString spelled =
        QString::fromStdString(harmony::clipboardSpelling(m_name.toStdString()));
    auto* menu = new QMenu(parent);
    menu->addAction(QStringLiteral("Copy ") + spelled, menu, [spelled] {
        QClipboard* clipboard = QGuiApplication::clipboard();
        clipboard->clear();
        clipboard->setText(spelled);
    });
    return menu;
}

void ChordTile::contextMenuEvent(QContextMenuEvent* event) {
    QMenu* menu = createContextMenu(this);
    if (!menu) {
        event->ignore();
        return;
    }
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->popup(event->globalPos());
}

} // namespace quorlen
