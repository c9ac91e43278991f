#include "ui/fonts.h"

#include <QFontMetricsF>

namespace quorlen {

QFont uiFont(int pixelSize, QFont::Weight weight) {
    QFont font(QStringLiteral("Inter"));
    font.setStyleHint(QFont::SansSerif);
    font.setPixelSize(pixelSize);
    font.setWeight(weight);
    return font;
}

QFont monoFont(int pixelSize, QFont::Weight weight) {
    QFont font(QStringLiteral("JetBrains Mono"));
    font.setStyleHint(QFont::Monospace);
    font.setFixedPitch(true);
    font.setPixelSize(pixelSize);
    font.setWeight(weight);
    return font;
}

QFont fittedFont(const QFont& base, const QString& text, int width, double minimumScale) {
    QFont font = base;
    const int fullSize = base.pixelSize();
    const int smallest = qMax(1, qRound(fullSize * minimumScale));
    for (int size = fullSize; size > smallest; --size) {
        font.setPixelSize(size);
        if (QFontMetricsF(font).horizontalAdvance(text) <= width)
            return font;
    }
    font.setPixelSize(smallest);
    return font;
}

} // namespace quorlen
