#pragma once

#include "ui/copyable_value.h"

#include <QColor>

namespace quorlen {

// One note of the selected scale as a chip that copies its name (in
// clipboard spelling). The tonic's chip is filled with the accent; the
// others are neutral and turn their text to the accent while "copied".
class NoteChip : public CopyableValue {
    Q_OBJECT
public:
    NoteChip(const QColor& accent, QWidget* parent = nullptr);

    void setNote(const QString& note, bool isTonic);
    QString note() const { return m_note; }
    bool isTonic() const { return m_tonic; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintLabel(QPainter& painter, bool copied) override;

private:
    QColor m_accent;
    QString m_note;
    bool m_tonic = false;
};

} // namespace quorlen
