#pragma once

#include <QAbstractButton>
#include <QColor>

namespace quorlen {

// A dashed rounded box that takes a dragged audio file or, on a click,
// asks for one: the symbol (while `showsSymbol`), a heading and one line
// under it. Its outline and fill take the accent while a drag hovers. It is
// a button (clicked) so the keyboard and screen readers reach it too.
class DropZone : public QAbstractButton {
    Q_OBJECT
public:
    explicit DropZone(const QColor& accent, QWidget* parent = nullptr);

    void setTexts(const QString& heading, const QString& line, bool showsSymbol);
    QString heading() const { return m_heading; }
    QString line() const { return m_line; }
    bool showsSymbol() const { return m_showsSymbol; }
    bool isTargeted() const { return m_targeted; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return {200, sizeHint().height()}; }

signals:
    // The local path of the first dropped file.
    void fileDropped(const QString& path);

protected:
    void paintEvent(QPaintEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void setTargeted(bool targeted);

    QColor m_accent;
    QString m_heading;
    QString m_line;
    bool m_showsSymbol = true;
    bool m_targeted = false;
};

} // namespace quorlen
