#include "ui/symbol_icon.h"

#include <QFile>
#include <QHash>
#include <QPainter>
#include <QSvgRenderer>

#include <memory>

namespace quorlen {
namespace {

QByteArray symbolSource(const QString& name) {
    static QHash<QString, QByteArray> sources;
    auto found = sources.find(name);
    if (found == sources.end()) {
        QFile file(QStringLiteral(":/icons/%1.svg").arg(name));
        found =
            sources.insert(name, file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray());
    }
    return *found;
}

// Qt's SVG renderer paints currentColor black, so the tint is written into
// the drawing itself; one renderer per symbol and tint is kept.
QSvgRenderer* tintedRenderer(const QString& name, const QColor& tint) {
    static QHash<QString, std::shared_ptr<QSvgRenderer>> renderers;
    const QString key = name + QLatin1Char('|') + tint.name(QColor::HexArgb);
    auto found = renderers.find(key);
    if (found == renderers.end()) {
        QByteArray source = symbolSource(name);
        if (source.isEmpty())
            return nullptr;
        source.replace("currentColor", tint.name(QColor::HexRgb).toLatin1());
        auto renderer = std::make_shared<QSvgRenderer>(source);
        found = renderers.insert(key, renderer);
    }
    return found->get();
}

} // namespace

void paintSymbol(QPainter& painter, const QRectF& box, const QString& name, const QColor& tint,
                 double iconSize) {
    QSvgRenderer* renderer = tintedRenderer(name, QColor(tint.red(), tint.green(), tint.blue()));
    if (!renderer || !renderer->isValid())
        return;
    const QRectF target(box.center().x() - iconSize / 2, box.center().y() - iconSize / 2, iconSize,
                        iconSize);
    painter.save();
    painter.setOpacity(painter.opacity() * tint.alphaF());
    renderer->render(&painter, target);
    painter.restore();
}

SymbolIcon::SymbolIcon(const QString& name, const QColor& tint, int boxSize, int iconSize,
                       QWidget* parent)
    : QWidget(parent), m_name(name), m_tint(tint), m_iconSize(iconSize) {
    setFixedSize(boxSize, boxSize);
    setAttribute(Qt::WA_TransparentForMouseEvents);
}

void SymbolIcon::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    paintSymbol(painter, rect(), m_name, m_tint, m_iconSize);
}

} // namespace quorlen
