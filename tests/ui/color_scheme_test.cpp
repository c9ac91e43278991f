#include "ui/color_scheme.h"
#include "ui/formula_strip.h"
#include "ui/premium_backdrop.h"
#include "ui/premium_panel.h"

#include <QApplication>
#include <QImage>
#include <QPainter>

#include <gtest/gtest.h>

namespace quorlen {
namespace {

// Renders `widget` over mid grey, so a surface's own lightness shows.
QImage renderOverGrey(QWidget& widget) {
    QImage image(widget.size(), QImage::Format_ARGB32);
    image.fill(QColor(128, 128, 128));
    widget.render(&image, QPoint(), QRegion(), QWidget::DrawChildren);
    return image;
}

class ColorSchemeTest : public ::testing::Test {
protected:
    void TearDown() override { ColorSchemeHub::instance().setScheme(ColorScheme::Light); }
};

TEST_F(ColorSchemeTest, SurfacesAndStripsFollowTheSchemeAtOnce) {
    PremiumPanel panel(QStringLiteral("Panel"), QStringLiteral("tablecells"), QuorlenTheme::fern());
    panel.resize(200, 120);
    FormulaStrip strip(QStringLiteral("beat = 60000 / BPM"));
    strip.resize(200, 40);
    const QPoint panelInside(100, 100); // below the header, away from text
    const QPoint stripEdge(4, 20);      // inside the rounded box, left of the text

    ColorSchemeHub::instance().setScheme(ColorScheme::Light);
    const QColor lightPanel = renderOverGrey(panel).pixelColor(panelInside);
    const QColor lightStrip = renderOverGrey(strip).pixelColor(stripEdge);

    ColorSchemeHub::instance().setScheme(ColorScheme::Dark);
    const QColor darkPanel = renderOverGrey(panel).pixelColor(panelInside);
    const QColor darkStrip = renderOverGrey(strip).pixelColor(stripEdge);

    // Light surface rgb(0.97, 0.95, 0.91) at 84 % over grey: about 222, 218, 210.
    EXPECT_NEAR(lightPanel.red(), 0.84 * 247 + 0.16 * 128, 3);
    EXPECT_NEAR(lightPanel.blue(), 0.84 * 232 + 0.16 * 128, 3);
    // Dark surface rgb(0.16, 0.16, 0.17) at 82 %: about 56, 56, 59.
    EXPECT_NEAR(darkPanel.red(), 0.82 * 41 + 0.18 * 128, 3);
    // Strips: white at 58 % (light) and at 4.5 % (dark).
    EXPECT_NEAR(lightStrip.red(), 0.58 * 255 + 0.42 * 128, 3);
    EXPECT_NEAR(darkStrip.red(), 0.045 * 255 + 0.955 * 128, 3);
    EXPECT_EQ(QApplication::palette().color(QPalette::Window),
              schemeColors(ColorScheme::Dark).windowBackground);
}

TEST_F(ColorSchemeTest, HatchCoversANarrowTallBackdrop) {
    PremiumBackdrop backdrop;
    backdrop.resize(60, 600);
    ColorSchemeHub::instance().setScheme(ColorScheme::Dark);
    const QImage image = backdrop.grab().toImage();
    // Without the lines that start left of the window (x from -height), the
    // whole upper part of a tall, narrow window would have no hatch. A hatch
    // pixel stands out from its neighbours; the gradient alone does not.
    int hatchPixels = 0;
    for (int y = 0; y < 100; ++y) {
        for (int x = 3; x < 57; ++x) {
            const int around =
                (image.pixelColor(x - 3, y).red() + image.pixelColor(x + 3, y).red()) / 2;
            hatchPixels += qAbs(image.pixelColor(x, y).red() - around) > 3;
        }
    }
    EXPECT_GT(hatchPixels, 0);
}

} // namespace
} // namespace quorlen
