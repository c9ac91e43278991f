#pragma once

#include <QAbstractButton>
#include <QColor>

namespace quorlen {

// The main action of a panel: a full-width, accent-filled rounded button
// with a symbol before its title. Disabled, it fades to 35 %.
class ProminentButton : public QAbstractButton {
    Q_OBJECT
public:
    ProminentButton(const QString& title, const QString& symbol, const QColor& accent,
                    QWidget* parent = nullptr);

    void setTitleAndSymbol(const QString& title, const QString& symbol);
    QString symbol() const { return m_symbol; }

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString m_symbol;
    QColor m_accent;
};

} // namespace quorlen
