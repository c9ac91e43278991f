#pragma once

#include <QString>

#include <ostream>

// Failures show the text, not its UTF-16 units.
QT_BEGIN_NAMESPACE
inline void PrintTo(const QString& text, std::ostream* out) { *out << text.toStdString(); }
QT_END_NAMESPACE
