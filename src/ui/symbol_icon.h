#pragma once

#include <QColor>
#include <QString>
#include <QWidget>

class QPainter;

namespace quorlen {

// Draws the named symbol ("metronome", "play.fill") tinted, centred in
// `box` at `iconSize` pixels. Unknown names draw nothing.
void paintSymbol(QPainter& painter, const QRectF& box, const QString& name, const QColor& tint,
                 double iconSize);

// A fixed-size widget showing one tinted symbol.
class SymbolIcon : public QWidget {
    Q_OBJECT
public:
    SymbolIcon(const QString& name, const QColor& tint, int boxSize, int iconSize,
               QWidget* parent = nullptr);

    QString symbol() const { return m_name; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString m_name;
    QColor m_tint;
    int m_iconSize;
};

} // namespace quorlen
