#include "ui/color_scheme.h"

#include <QApplication>
#include <QPalette>
#include <QToolTip>
#include <QWidget>

namespace quorlen {

ColorSchemeHub& ColorSchemeHub::instance() {
    static ColorSchemeHub hub;
    return hub;
}

void ColorSchemeHub::setScheme(ColorScheme scheme) {
    if (scheme == m_scheme && m_paletteApplied)
        return;
    m_scheme = scheme;
    applyPalette();
    for (QWidget* widget : QApplication::allWidgets())
        widget->update();
    emit schemeChanged(scheme);
}

void ColorSchemeHub::applyPalette() {
    if (!qobject_cast<QApplication*>(QCoreApplication::instance()))
        return;
    const SchemeColors colors = schemeColors(m_scheme);
    const bool dark = m_scheme == ColorScheme::Dark;
    const QColor text = colors.primaryText.toRgb();
    const QColor opaqueText = QColor(dark ? QColor(232, 232, 234) : QColor(28, 28, 30));
    const QColor base = dark ? QColor(44, 44, 46) : QColor(252, 252, 252);
    const QColor button = dark ? QColor(58, 58, 60) : QColor(246, 246, 246);

    QPalette palette;
    palette.setColor(QPalette::Window, colors.windowBackground);
    palette.setColor(QPalette::WindowText, opaqueText);
    palette.setColor(QPalette::Base, base);
    palette.setColor(QPalette::AlternateBase, button);
    palette.setColor(QPalette::Text, opaqueText);
    palette.setColor(QPalette::Button, button);
    palette.setColor(QPalette::ButtonText, opaqueText);
    palette.setColor(QPalette::ToolTipBase, base);
    palette.setColor(QPalette::ToolTipText, opaqueText);
    palette.setColor(QPalette::PlaceholderText, colors.secondaryText);
    palette.setColor(QPalette::Highlight, QuorlenTheme::saffron());
    palette.setColor(QPalette::HighlightedText, QColor(20, 20, 20));
    palette.setColor(QPalette::Link, QuorlenTheme::lake());
    palette.setColor(QPalette::Disabled, QPalette::Text, colors.secondaryText);
    palette.setColor(QPalette::Disabled, QPalette::WindowText, colors.secondaryText);
    palette.setColor(QPalette::Disabled, QPalette::ButtonText, colors.secondaryText);
    QApplication::setPalette(palette);
    // Tooltips keep a palette of their own, which would stay light.
    QToolTip::setPalette(palette);
    m_paletteApplied = true;
    Q_UNUSED(text);
}

} // namespace quorlen
