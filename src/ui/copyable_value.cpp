#include "ui/copyable_value.h"

#include "ui/color_scheme.h"
#include "ui/focus_ring.h"
#include "ui/fonts.h"
#include "ui/keyboard_button.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QPainter>

namespace quorlen {

CopyableValue::CopyableValue(QWidget* parent) : QAbstractButton(parent) {
    setCursor(Qt::PointingHandCursor);
    makeKeyboardButton(this);
    m_resetTimer.setSingleShot(true);
    m_resetTimer.setTimerType(Qt::PreciseTimer);
    m_resetTimer.setInterval(kCopiedMs);
    connect(&m_resetTimer, &QTimer::timeout, this, [this] { setCopied(false); });
    connect(this, &QAbstractButton::clicked, this, &CopyableValue::copy);
}

void CopyableValue::setCopyText(const QString& text) {
    m_copyText = text;
    setToolTip(QStringLiteral("Copy ") + text);
    // What a screen reader says, unless a subclass names it better.
    setAccessibleName(text);
}

void CopyableValue::copy() {
    QClipboard* clipboard = QGuiApplication::clipboard();
    clipboard->clear();
    clipboard->setText(m_copyText);
    setCopied(true);
    // start() on a running timer restarts it: the state lasts 0.8 s from the
    // latest click.
    m_resetTimer.start();
}

void CopyableValue::setCopied(bool copied) {
    if (copied == m_copied)
        return;
    m_copied = copied;
    update();
    emit copiedChanged(copied);
}

void CopyableValue::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    paintLabel(painter, m_copied);
    if (hasFocus())
        paintFocusRing(painter, rect(), 6);
}

CopyableText::CopyableText(QWidget* parent) : CopyableValue(parent) {}

CopyableText::CopyableText(const QFont& font, Tone tone, const QColor& accent, QWidget* parent)
    : CopyableValue(parent), m_tone(tone), m_copiedColor(accent),
      m_alignment(Qt::AlignRight | Qt::AlignVCenter) {
    setFont(font);
}

void CopyableText::setValue(const QString& display, const QString& copy) {
    setCopyText(copy.isEmpty() ? display : copy);
    setAccessibleName(display);
    if (display == m_display)
        return;
    m_display = display;
    updateGeometry();
    update();
}

void CopyableText::setCopiedColor(const QColor& color) {
    m_copiedColor = color;
    update();
}

void CopyableText::setAlignment(Qt::Alignment alignment) {
    m_alignment = alignment;
    update();
}

QSize CopyableText::sizeHint() const {
    const QFontMetrics metrics(font());
    const int width = qMax(metrics.horizontalAdvance(m_display),
                           metrics.horizontalAdvance(QStringLiteral("Copied")));
    return QSize(width + 4, metrics.height() + 4);
}

void CopyableText::paintLabel(QPainter& painter, bool copied) {
    const SchemeColors colors = currentColors();
    const QString shown = copied ? QStringLiteral("Copied") : m_display;
    const QColor copiedColor = m_copiedColor.isValid() ? m_copiedColor : QuorlenTheme::saffron();
    painter.setFont(fittedFont(font(), shown, width()));
    painter.setPen(copied                    ? textInk(copiedColor, currentScheme())
                   : m_tone == Tone::Primary ? colors.primaryText
                                             : colors.secondaryText);
    painter.drawText(rect(), static_cast<int>(m_alignment), shown);
}

} // namespace quorlen
