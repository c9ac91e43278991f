#pragma once

#include <QColor>
#include <QWidget>

namespace quorlen {

// One line of text in the scheme's primary or secondary colour, looked up
// at every paint so a light/dark switch recolours it at once (a QLabel
// keeps the colour it was given). A valid `setColor` overrides the role;
// in the dark scheme it is lightened until it reads (textInk).
class SchemeLabel : public QWidget {
    Q_OBJECT
public:
    enum class Role { Primary, Secondary };

    SchemeLabel(const QString& text, const QFont& font, Role role = Role::Secondary,
                QWidget* parent = nullptr);

    QString text() const { return m_text; }
    void setText(const QString& text);
    void setColor(const QColor& color);
    void setAlignment(Qt::Alignment alignment);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    // How a text longer than the label's width shows: whole (the label
    // asks for its width), ending in "…", or wrapped onto a second line.
    enum class Fit { Whole, Elide, Wrap };
    void setFit(Fit fit);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString m_text;
    Role m_role;
    QColor m_color;
    Fit m_fit = Fit::Whole;
    Qt::Alignment m_alignment = Qt::AlignLeft | Qt::AlignVCenter;
};

} // namespace quorlen
