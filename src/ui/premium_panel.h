#pragma once

#include <QWidget>

class QVBoxLayout;

namespace quorlen {

// A titled card: a header row (tinted symbol and title) over any content.
class PremiumPanel : public QWidget {
    Q_OBJECT
public:
    PremiumPanel(const QString& title, const QString& symbol, const QColor& tint,
                 QWidget* parent = nullptr);

    // Content goes here, 14 px below the header and between items.
    QVBoxLayout* contentLayout() const { return m_layout; }
    void addContent(QWidget* widget);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QVBoxLayout* m_layout;
};

} // namespace quorlen
