#pragma once

#include <QFont>

namespace quorlen {

// Sizes are in logical pixels, so a 13 px title looks the same on every DPI
// setting. The faces are Inter and JetBrains Mono (Debian's fonts-inter and
// fonts-jetbrains-mono); fontconfig falls back to a sans and a monospace.
QFont uiFont(int pixelSize, QFont::Weight weight = QFont::Normal);
QFont monoFont(int pixelSize, QFont::Weight weight = QFont::DemiBold);

// `base` shrunk, down to `minimumScale` of its size, until `text` fits in
// `width` pixels; text that never fits keeps the smallest size.
QFont fittedFont(const QFont& base, const QString& text, int width, double minimumScale = 0.75);

} // namespace quorlen
