#pragma once

#include "ui/theme.h"

#include <QObject>

namespace quorlen {

// The scheme every kit component paints with. One per process: the app's
// appearance setting decides it, and a change repaints every widget at once.
class ColorSchemeHub : public QObject {
    Q_OBJECT
public:
    static ColorSchemeHub& instance();

    ColorScheme scheme() const { return m_scheme; }
    SchemeColors colors() const { return schemeColors(m_scheme); }

    // Sets the application palette for plain Qt widgets and repaints all.
    void setScheme(ColorScheme scheme);

signals:
    void schemeChanged(quorlen::ColorScheme scheme);

private:
    ColorSchemeHub() = default;
    void applyPalette();

    ColorScheme m_scheme = ColorScheme::Light;
    bool m_paletteApplied = false;
};

inline ColorScheme currentScheme() { return ColorSchemeHub::instance().scheme(); }
inline SchemeColors currentColors() { return ColorSchemeHub::instance().colors(); }

} // namespace quorlen
