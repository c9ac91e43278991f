#include "tools/harmonics/harmonic_bar.h"

#include "text/number_format.h"
#include "tools/common/cents_color.h"
#include "tools/common/formatted.h"
#include "ui/color_scheme.h"
#include "ui/focus_ring.h"
#include "ui/fonts.h"
#include "ui/keyboard_button.h"

#include <QClipboard>
#include <QContextMenuEvent>
#include <QGuiApplication>
#include <QMenu>
#include <QPainter>

#include <algorithm>

namespace quorlen {
namespace {

constexpr int kLabelArea = 52;

void copyText(const QString& text) {
    QClipboard* clipboard = QGuiApplication::clipboard();
    clipboard->clear();
    clipboard->setText(text);
}

} // namespace

HarmonicBar::HarmonicBar(const QColor& accent, QWidget* parent)
    : QAbstractButton(parent), m_accent(accent) {
    setCursor(Qt::PointingHandCursor);
    makeKeyboardButton(this);
    // A toggle to a screen reader: checked while the harmonic sounds in
    // the sum. The owner decides; setState mirrors it.
    setCheckable(true);
    setChecked(true);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setFixedHeight(300);
}

double HarmonicBar::barHeight(int number) {
    return std::max(kFullHeight / std::max(number, 1), kShortest);
}

void HarmonicBar::setHarmonic(const pitch::Harmonic& harmonic) {
    m_harmonic = harmonic;
    const std::string tip = std::to_string(harmonic.number) +
                            "× = " + text::format("%.1f Hz", harmonic.frequency) + " · " +
                            harmonic.noteName + " " + text::format("%+.0f¢", harmonic.cents);
    setToolTip(QString::fromStdString(tip));
    setAccessibleName(QString::fromStdString(tip));
    update();
}

void HarmonicBar::setState(bool enabled, bool current) {
    if (enabled == m_enabled && current == m_current)
        return;
    m_enabled = enabled;
    m_current = current;
    setChecked(enabled);
    update();
}

void HarmonicBar::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const SchemeColors colors = currentColors();
    const double barBottom = height() - kLabelArea;
    const double h = barHeight(m_harmonic.number);
    const QRectF bar(3, barBottom - h, width() - 6, h);
    QColor fill = colors.fieldFill;
    if (m_enabled)
        fill = m_current ? m_accent : withOpacity(m_accent, 0.82);
    painter.setPen(Qt::NoPen);
    painter.setBrush(fill);
    painter.drawRoundedRect(bar, 4, 4);
    if (!m_enabled) {
        painter.setPen(QPen(colors.fieldBorder, 1));
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(bar.adjusted(0.5, 0.5, -0.5, -0.5), 4, 4);
    }

    QRectF line(0, barBottom + 4, width(), 16);
    painter.setFont(uiFont(11, QFont::DemiBold));
    painter.setPen(m_enabled ? colors.primaryText : colors.secondaryText);
    painter.drawText(line, Qt::AlignHCenter | Qt::AlignVCenter,
                     QString::number(m_harmonic.number) + QStringLiteral("×"));
    line.translate(0, 15);
    painter.setFont(uiFont(10));
    painter.setPen(colors.secondaryText);
    painter.drawText(line, Qt::AlignHCenter | Qt::AlignVCenter,
                     QString::fromStdString(m_harmonic.noteName));
    line.translate(0, 14);
    painter.setFont(uiFont(9, QFont::DemiBold));
    painter.setPen(textInk(centsColor(m_harmonic.cents), currentScheme()));
    painter.drawText(line, Qt::AlignHCenter | Qt::AlignVCenter,
                     formatted("%+.0f¢", m_harmonic.cents));
    if (hasFocus())
        paintFocusRing(painter, rect(), 6);
}

QMenu* HarmonicBar::createContextMenu(QWidget* parent) {
    const QString hz = formatted("%.2f", m_harmonic.frequency);
    const QString note = QString::fromStdString(m_harmonic.noteName);
    auto* menu = new QMenu(parent);
    menu->addAction(QStringLiteral("Copy %1 Hz").arg(hz), [hz] { copyText(hz); });
    menu->addAction(QStringLiteral("Copy %1").arg(note), [note] { copyText(note); });
    return menu;
}

void HarmonicBar::contextMenuEvent(QContextMenuEvent* event) {
    QMenu* menu = createContextMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->popup(event->globalPos());
}

} // namespace quorlen
