#pragma once

#include <QColor>

namespace quorlen {

enum class ColorScheme { Light, Dark };

// The named palette. The first eight tint tools and accents; fern, saffron
// and lacquer are also the green, amber and red of every status scale.
namespace QuorlenTheme {
QColor lacquer();
QColor saffron();
QColor spruce();
QColor fern();
QColor dusk();
QColor copper();
QColor lake();
QColor teal();
QColor graphite();
QColor porcelain();
} // namespace QuorlenTheme

// Colours that differ between the light and the dark scheme.
struct SchemeColors {
    QColor windowBackground;
    QColor primaryText;
    QColor secondaryText;
    QColor surface;   // panels, tiles, the selected sidebar row
    QColor border;    // 1 px, inset, unless a component says otherwise
    QColor fieldFill; // input boxes and formula strips
    QColor fieldBorder;
};

SchemeColors schemeColors(ColorScheme scheme);

// `color` with its alpha replaced by `opacity` (0..1).
QColor withOpacity(QColor color, double opacity);

// WCAG 2 relative luminance of an opaque colour, and the contrast ratio of
// two (1 to 21).
double relativeLuminance(const QColor& color);
double contrastRatio(const QColor& a, const QColor& b);

// The darkest surface text sits on in the dark scheme: the panel surface
// over the backdrop's graphite.
QColor darkSurfaceReference();

// A palette hue used as text: as it is in the light scheme; in the dark
// scheme lightened, keeping its hue, until it reads at 4.5:1 on the dark
// surface (the deep palette reds and greens do not).
QColor textInk(const QColor& hue, ColorScheme scheme);

} // namespace quorlen
