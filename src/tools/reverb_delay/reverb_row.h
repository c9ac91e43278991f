#pragma once

#include "tempo/reverb_times.h"

#include <QWidget>

namespace quorlen {

class CopyableText;

// One preset: an accent bar, the name over its use and shape ("drums,
// percussion · ¼ bar · pre 1/256"), then three copyable times, the decay
// emphasised.
class ReverbRow : public QWidget {
    Q_OBJECT
public:
    // The name column's width; the three time columns share the rest.
    static constexpr int kSpaceColumnWidth = 190;
    static constexpr int kPaddingX = 10;

    ReverbRow(const tempo::ReverbPreset& preset, bool striped, const QColor& accent,
              QWidget* parent = nullptr);

    void setTimes(const tempo::ReverbTimes& times);
    const tempo::ReverbPreset& preset() const { return m_preset; }
    CopyableText* preDelayCell() const { return m_preDelay; }
    CopyableText* decayCell() const { return m_decay; }
    CopyableText* totalCell() const { return m_total; }

    // The rect of time column `index` (0 to 2) in a row of `rect`.
    static QRect timeColumn(int index, const QRect& rect);

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    tempo::ReverbPreset m_preset;
    bool m_striped;
    QColor m_accent;
    QString m_detailLine;
    CopyableText* m_preDelay;
    CopyableText* m_decay;
    CopyableText* m_total;
};

} // namespace quorlen
