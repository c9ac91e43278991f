#pragma once

#include <QAbstractButton>
#include <QColor>

class QMenu;

namespace quorlen {

// A chord as a small button: its name over its roman numeral. The same
// tile serves the key details' chord grid, the progression's degree row
// (both with a "Copy …" context menu) and the progression's chips, which
// light up in the accent while their chord sounds.
class ChordTile : public QAbstractButton {
    Q_OBJECT
public:
    struct Look {
        int nameSize;    // px
        int numeralSize; // px
        bool monospacedName;
        int height; // px
    };
    static constexpr Look kGridLook{13, 10, true, 44};
    static constexpr Look kDegreeLook{13, 10, false, 46};
    static constexpr Look kChipLook{12, 10, false, 40};

    ChordTile(const Look& look, const QColor& accent, QWidget* parent = nullptr);

    void setChord(const QString& name, const QString& numeral);
    QString name() const { return m_name; }
    QString numeral() const { return m_numeral; }
    void setHighlighted(bool highlighted);
    bool isHighlighted() const { return m_highlighted; }
    // Right-click offers "Copy <name>" in clipboard spelling.
    void setCopyMenuEnabled(bool enabled) { m_copyMenu = enabled; }
    // The context menu as a right-click opens it; nullptr when disabled.
    QMenu* createContextMenu(QWidget* parent);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    Look m_look;
    QColor m_accent;
    QString m_name;
    QString m_numeral;
    bool m_highlighted = false;
    bool m_copyMenu = false;
};

} // namespace quorlen
