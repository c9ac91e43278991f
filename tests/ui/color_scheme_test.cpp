#include "ui/color_scheme.h"
#include "ui/formula_strip.h"
#include "ui/premium_backdrop.h"
#include "ui/premium_panel.h"

#include <QApplication>
#include <QImage>

#include <gtest/gtest.h>

namespace quorlen {
namespace {

// The colour at `at` of `widget` rendered over mid grey in `scheme`, so a
// surface's own lightness shows.
QColor overGrey(QWidget& widget, QPoint at, ColorScheme scheme) {
    ColorSchemeHub::instance().setScheme(scheme);
    QImage image(widget.size(), QImage::Format_ARGB32);
    image.fill(QColor(128, 128, 128));
    widget.render(&image, QPoint(), QRegion(), QWidget::DrawChildren);
    return image.pixelColor(at);
}

TEST(ColorScheme, SurfacesAndStripsFollowTheSchemeAtOnceAndTheHatchCoversATallBackdrop) {
    PremiumPanel panel(QStringLiteral("Panel"), QStringLiteral("tablecells"), QuorlenTheme::fern());
    panel.resize(200, 120);
    FormulaStrip strip(QStringLiteral("beat = 60000 / BPM"));
    strip.resize(200, 40);
    const QPoint panelInside(100, 100); // below the header, away from text
    const QPoint stripEdge(4, 20);      // inside the rounded box, left of the text
    using enum ColorScheme;
    // Light surface rgb(0.97, 0.95, 0.91) at 84 % over grey: about 222, 218, 210.
    EXPECT_NEAR(overGrey(panel, panelInside, Light).red(), 0.84 * 247 + 0.16 * 128, 3);
    EXPECT_NEAR(overGrey(panel, panelInside, Light).blue(), 0.84 * 232 + 0.16 * 128, 3);
    // Dark surface rgb(0.16, 0.16, 0.17) at 82 %: about 56, 56, 59.
    EXPECT_NEAR(overGrey(panel, panelInside, Dark).red(), 0.82 * 41 + 0.18 * 128, 3);
    // Strips: white at 58 % (light) and at 4.5 % (dark).
    EXPECT_NEAR(overGrey(strip, stripEdge, Light).red(), 0.58 * 255 + 0.42 * 128, 3);
    EXPECT_NEAR(overGrey(strip, stripEdge, Dark).red(), 0.045 * 255 + 0.955 * 128, 3);
    EXPECT_EQ(QApplication::palette().color(QPalette::Window), schemeColors(Dark).windowBackground);

    // Without the lines that start left of the window (x from -height), the
    // whole upper part of a tall, narrow window would have no hatch. A hatch
    // pixel stands out from its neighbours; the gradient alone does not.
    PremiumBackdrop backdrop;
    backdrop.resize(60, 600);
    const QImage image = backdrop.grab().toImage();
    int hatchPixels = 0;
    for (int y = 0; y < 100; ++y)
        for (int x = 3; x < 57; ++x)
            hatchPixels +=
                qAbs(image.pixelColor(x, y).red() -
                     (image.pixelColor(x - 3, y).red() + image.pixelColor(x + 3, y).red()) / 2) > 3;
    EXPECT_GT(hatchPixels, 0);
    ColorSchemeHub::instance().setScheme(Light);
}

} // namespace
} // namespace quorlen
