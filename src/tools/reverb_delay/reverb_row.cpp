#include "tools/reverb_delay/reverb_row.h"

#include "tools/reverb_delay/space_text.h"
#include "ui/color_scheme.h"
#include "ui/copyable_value.h"
#include "ui/fonts.h"

#include <QPainter>

namespace quorlen {
namespace {

constexpr int kRowHeight = 46;

QString detailLine(const tempo::ReverbPreset& preset) {
    return QString::fromUtf8(preset.detail) + QStringLiteral(" · ") +
           QString::fromStdString(tempo::lengthLabel(preset.totalBars)) +
           QStringLiteral(" · pre 1/") + QString::number(preset.preDivision);
}

} // namespace

QRect ReverbRow::timeColumn(int index, const QRect& rect) {
    const int left = rect.left() + kPaddingX + kSpaceColumnWidth;
    const int span = rect.right() - kPaddingX - left;
    const int from = left + span * index / 3;
    const int to = left + span * (index + 1) / 3;
    return QRect(from, rect.top(), to - from, rect.height());
}

ReverbRow::ReverbRow(const tempo::ReverbPreset& preset, bool striped, const QColor& accent,
                     QWidget* parent)
    : QWidget(parent), m_preset(preset), m_striped(striped), m_accent(accent),
      m_detailLine(detailLine(preset)) {
    setObjectName(QStringLiteral("reverbRow ") + QString::fromUtf8(preset.name));
    setFixedHeight(kRowHeight);
    m_preDelay =
        new CopyableText(monoFont(13, QFont::Normal), CopyableText::Tone::Muted, accent, this);
    m_decay =
        new CopyableText(monoFont(13, QFont::Bold), CopyableText::Tone::Primary, accent, this);
    m_total =
        new CopyableText(monoFont(13, QFont::Normal), CopyableText::Tone::Muted, accent, this);
}

void ReverbRow::setTimes(const tempo::ReverbTimes& times) {
    m_preDelay->setValue(spaceDisplayText(times.preDelayMs), spaceCopyText(times.preDelayMs));
    m_decay->setValue(spaceDisplayText(times.decayMs), spaceCopyText(times.decayMs));
    m_total->setValue(spaceDisplayText(times.totalMs), spaceCopyText(times.totalMs));
}

void ReverbRow::resizeEvent(QResizeEvent*) {
    CopyableText* const cells[] = {m_preDelay, m_decay, m_total};
    for (int i = 0; i < 3; ++i)
        cells[i]->setGeometry(timeColumn(i, rect()));
}

void ReverbRow::paintEvent(QPaintEvent*) {
    const SchemeColors colors = currentColors();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    if (m_striped) {
        painter.setBrush(withOpacity(colors.primaryText, 0.028));
        painter.drawRoundedRect(rect(), 5, 5);
    }
    const QRectF bar(kPaddingX, (height() - 18) / 2.0, 4, 18);
    painter.setBrush(withOpacity(m_accent, 0.85));
    painter.drawRoundedRect(bar, 2, 2);

    const int textLeft = static_cast<int>(bar.right()) + 10;
    const int textWidth = kPaddingX + kSpaceColumnWidth - textLeft;
    // The use line may run on under the pre-delay column, whose figures are
    // right-aligned and short; it is cut only where they could begin.
    const QRect preDelayColumn = timeColumn(0, rect());
    const int detailWidth = preDelayColumn.left() + preDelayColumn.width() / 2 - textLeft;
    const QFont nameFont = uiFont(13, QFont::Bold);
    const QFont detailFont = uiFont(10, QFont::Medium);
    const int nameHeight = QFontMetrics(nameFont).height();
    const int detailHeight = QFontMetrics(detailFont).height();
    const int top = (height() - nameHeight - detailHeight) / 2;
    painter.setFont(nameFont);
    painter.setPen(colors.primaryText);
    painter.drawText(QRect(textLeft, top, textWidth, nameHeight), Qt::AlignLeft | Qt::AlignVCenter,
                     QString::fromUtf8(m_preset.name));
    painter.setFont(detailFont);
    painter.setPen(colors.secondaryText);
    const QString detail =
        QFontMetrics(detailFont).elidedText(m_detailLine, Qt::ElideRight, detailWidth);
    painter.drawText(QRect(textLeft, top + nameHeight, detailWidth, detailHeight),
                     Qt::AlignLeft | Qt::AlignVCenter, detail);
}

} // namespace quorlen
