#include "ui/premium_panel.h"

#include "ui/card.h"
#include "ui/color_scheme.h"
#include "ui/fonts.h"
#include "ui/symbol_icon.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QVBoxLayout>

namespace quorlen {
namespace {

class PanelTitle : public QWidget {
public:
    PanelTitle(const QString& text, QWidget* parent) : QWidget(parent), m_text(text) {
        setFont(uiFont(13, QFont::DemiBold));
        setFixedHeight(22);
        setMinimumWidth(fontMetrics().horizontalAdvance(text));
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setPen(currentColors().primaryText);
        painter.drawText(rect(), Qt::AlignLeft | Qt::AlignVCenter, m_text);
    }

private:
    QString m_text;
};

} // namespace

PremiumPanel::PremiumPanel(const QString& title, const QString& symbol, const QColor& tint,
                           QWidget* parent)
    : QWidget(parent) {
    m_layout = new QVBoxLayout(this);
    m_layout->setContentsMargins(16, 16, 16, 16);
    m_layout->setSpacing(14);

    auto* header = new QHBoxLayout;
    header->setSpacing(6);
    header->addWidget(new SymbolIcon(symbol, tint, 22, 15, this));
    header->addWidget(new PanelTitle(title, this));
    header->addStretch();
    m_layout->addLayout(header);
}

void PremiumPanel::addContent(QWidget* widget) { m_layout->addWidget(widget); }

void PremiumPanel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    paintCard(painter, rect(), 8);
}

} // namespace quorlen
