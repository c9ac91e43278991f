#include "tools/temperament/step_row.h"

#include "text/number_format.h"
#include "tools/common/cents_color.h"
#include "tools/common/formatted.h"
#include "ui/color_scheme.h"
#include "ui/copyable_value.h"
#include "ui/focus_ring.h"
#include "ui/fonts.h"
#include "ui/keyboard_button.h"

#include <QHBoxLayout>
#include <QPainter>

namespace quorlen {
StepRow::StepRow(const QColor& accent, QWidget* parent)
    : QAbstractButton(parent), m_accent(accent) {
    setFixedHeight(kHeight);
    setCursor(Qt::PointingHandCursor);
    makeKeyboardButton(this);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(kStepColumnWidth + 10, 0, 170, 0);
    row->setSpacing(8);
    const auto makeCell = [&](bool bold) {
        auto* cell = new CopyableText(this);
        cell->setFont(uiFont(13, bold ? QFont::DemiBold : QFont::Normal));
        cell->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
        cell->setCopiedColor(accent);
        row->addWidget(cell, 1);
        return cell;
    };
    m_frequency = makeCell(true);
    m_ratio = makeCell(false);
    m_cents = makeCell(false);
}

void StepRow::setStep(const pitch::TetStep& step, bool isOctave) {
    m_step = step;
    m_octave = isOctave;
    m_frequency->setValue(formatted("%.2f Hz", step.frequency), formatted("%.2f", step.frequency));
    m_ratio->setValue(formatted("×%.4f", step.ratio), formatted("%.5f", step.ratio));
    m_cents->setValue(formatted("%.1f ¢", step.centsFromRoot),
                      formatted("%.1f", step.centsFromRoot));
    setToolTip(formatted("Play %.2f Hz", step.frequency));
    const QString label =
        isOctave ? QStringLiteral("octave") : QStringLiteral("Step %1").arg(step.index);
    setAccessibleName(label + QStringLiteral(" · ") + QString::fromStdString(step.nearestNote));
    update();
}

void StepRow::setPlaying(bool playing) {
    if (playing == m_playing)
        return;
    m_playing = playing;
    update();
}

void StepRow::setStriped(bool striped) {
    m_striped = striped;
    update();
}

void StepRow::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const SchemeColors colors = currentColors();
    if (m_playing) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(withOpacity(m_accent, 0.18));
        painter.drawRoundedRect(QRectF(rect()), 6, 6);
    } else if (m_striped) {
        painter.fillRect(rect(), withOpacity(colors.primaryText, 0.028));
    }

    const bool edge = m_step.index == 0 || m_octave;
    painter.setPen(Qt::NoPen);
    painter.setBrush(edge ? m_accent : withOpacity(colors.secondaryText, 0.35));
    painter.drawRoundedRect(QRectF(10, height() / 2.0 - 9, 4, 18), 2, 2);
    painter.setFont(uiFont(13, QFont::Bold));
    painter.setPen(colors.primaryText);
    painter.drawText(QRect(22, 0, kStepColumnWidth - 12, height()),
                     Qt::AlignLeft | Qt::AlignVCenter,
                     m_octave ? QStringLiteral("octave") : QString::number(m_step.index));

    // Nearest 12-TET note and its drift, right-aligned in the last column.
    const QString note = QString::fromStdString(m_step.nearestNote);
    const QString cents = formatted("%+.0f¢", m_step.nearestCents);
    const QFont noteFont = uiFont(13);
    const QFont centsFont = uiFont(12, QFont::DemiBold);
    const int centsWidth = QFontMetrics(centsFont).horizontalAdvance(cents);
    const QRect centsRect(width() - 10 - centsWidth, 0, centsWidth, height());
    painter.setFont(centsFont);
    painter.setPen(textInk(centsColor(m_step.nearestCents), currentScheme()));
    painter.drawText(centsRect, Qt::AlignRight | Qt::AlignVCenter, cents);
    painter.setFont(noteFont);
    painter.setPen(colors.primaryText);
    painter.drawText(QRect(width() - 170, 0, 170 - 10 - centsWidth - 6, height()),
                     Qt::AlignRight | Qt::AlignVCenter, note);
    if (hasFocus())
        paintFocusRing(painter, rect(), 6);
}

} // namespace quorlen
