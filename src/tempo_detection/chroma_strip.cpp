#include "tempo_detection/chroma_strip.h"

#include "pitch/note_names.h"
#include "ui/color_scheme.h"
#include "ui/fonts.h"

#include <QPainter>

#include <algorithm>

namespace quorlen {
namespace {

constexpr double kLabelHeight = 13.0;
constexpr double kGap = 3.0;

} // namespace

ChromaStrip::ChromaStrip(const QColor& accent, QWidget* parent)
    : QWidget(parent), m_accent(accent) {
    setFixedSize(sizeHint());
    setToolTip(QStringLiteral("Bars: how strongly each pitch class sounds · marks: what the key "
                              "leads to expect"));
}

void ChromaStrip::setEvidence(const key::PitchClasses& chroma, const key::PitchClasses& profile,
                              int tonic) {
    m_chroma = chroma;
    m_profile = profile;
    m_tonic = ((tonic % 12) + 12) % 12;
    update();
}

QRectF ChromaStrip::barRect(int index, double value, QSizeF size) {
    const double column = size.width() / 12.0;
    const double area = std::max(size.height() - kLabelHeight, 0.0);
    const double height = area * std::clamp(value, 0.0, 1.0);
    return {index * column + kGap / 2, area - height, std::max(column - kGap, 1.0), height};
}

void ChromaStrip::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const SchemeColors colors = currentColors();
    const QSizeF area = size();
    painter.setFont(uiFont(9, QFont::Medium));
    for (int i = 0; i < 12; ++i) {
        const auto c = static_cast<size_t>(i);
        const QRectF track = barRect(i, 1.0, area);
        painter.setPen(Qt::NoPen);
        painter.setBrush(withOpacity(colors.primaryText, 0.06));
        painter.drawRoundedRect(track, 2, 2);
        painter.setBrush(i == m_tonic ? m_accent : withOpacity(m_accent, 0.45));
        painter.drawRoundedRect(barRect(i, m_chroma[c], area), 2, 2);
        const QRectF expected = barRect(i, m_profile[c], area);
        painter.setBrush(QuorlenTheme::saffron());
        painter.drawRect(QRectF(expected.left(), expected.top() - 1, expected.width(), 2));
        painter.setPen(i == m_tonic ? colors.primaryText : colors.secondaryText);
        painter.drawText(
            QRectF(track.left() - kGap, track.bottom(), track.width() + 2 * kGap, kLabelHeight),
            Qt::AlignCenter,
            QString::fromLatin1(pitch::NoteFrequency::names[c].data(),
                                qsizetype(pitch::NoteFrequency::names[c].size())));
    }
}

} // namespace quorlen
