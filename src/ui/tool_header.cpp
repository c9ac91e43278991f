#include "ui/tool_header.h"

#include "ui/color_scheme.h"
#include "ui/fonts.h"
#include "ui/symbol_icon.h"

#include <QHBoxLayout>
#include <QPainter>
#include <QVBoxLayout>

namespace quorlen {

// The header's title: one line that shrinks to 75 % before it elides.
class ElidingTitle : public QWidget {
public:
    ElidingTitle(const QString& text, QWidget* parent) : QWidget(parent), m_text(text) {
        setFont(uiFont(34, QFont::DemiBold));
        setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
        setMinimumHeight(fontMetrics().height());
        setAccessibleName(text);
    }
    QSize sizeHint() const override {
        return QSize(fontMetrics().horizontalAdvance(m_text), fontMetrics().height());
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::TextAntialiasing);
        const QFont font = fittedFont(this->font(), m_text, width());
        painter.setFont(font);
        painter.setPen(currentColors().primaryText);
        const QString shown = QFontMetrics(font).elidedText(m_text, Qt::ElideRight, width());
        painter.drawText(rect(), Qt::AlignLeft | Qt::AlignVCenter, shown);
    }

private:
    QString m_text;
};

namespace {

class EyebrowLabel : public QWidget {
public:
    EyebrowLabel(const QString& text, QWidget* parent) : QWidget(parent), m_text(text.toUpper()) {
        setFont(uiFont(11, QFont::DemiBold));
        setFixedHeight(fontMetrics().height());
        setMinimumWidth(fontMetrics().horizontalAdvance(m_text));
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setPen(currentColors().secondaryText);
        painter.drawText(rect(), Qt::AlignLeft | Qt::AlignVCenter, m_text);
    }

private:
    QString m_text;
};

} // namespace

ToolHeader::ToolHeader(const QString& eyebrow, const QString& title, const QString& symbol,
                       const QColor& tint, QWidget* parent)
    : QWidget(parent) {
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(6);

    auto* eyebrowRow = new QHBoxLayout;
    eyebrowRow->setSpacing(6);
    eyebrowRow->addWidget(new SymbolIcon(symbol, tint, 15, 14, this));
    eyebrowRow->addWidget(new EyebrowLabel(eyebrow, this));
    eyebrowRow->addStretch();
    column->addLayout(eyebrowRow);

    auto* titleLabel = new ElidingTitle(title, this);
    titleLabel->setObjectName(QStringLiteral("toolTitle"));
    column->addWidget(titleLabel);

    m_metricRow = new QHBoxLayout;
    m_metricRow->setSpacing(10);
    m_metricRow->addStretch();
    column->addSpacing(6);
    column->addLayout(m_metricRow);
}

void ToolHeader::setMetrics(const QList<Metric>& metrics) {
    if (metrics.size() != m_tiles.size()) {
        qDeleteAll(m_tiles);
        m_tiles.clear();
        for (qsizetype i = 0; i < metrics.size(); ++i) {
            auto* tile = new MetricTile(metrics[i], this);
            m_metricRow->insertWidget(static_cast<int>(i), tile);
            m_tiles.append(tile);
        }
        return;
    }
    for (qsizetype i = 0; i < metrics.size(); ++i)
        m_tiles[i]->setMetric(metrics[i]);
}

} // namespace quorlen
