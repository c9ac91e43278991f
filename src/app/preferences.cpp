#include "app/preferences.h"

namespace quorlen {
namespace {
const QString kStatsOptOut = QStringLiteral("statsOptOut");
const QString kSelectedTool = QStringLiteral("MainWindow/selectedCalculatorTool");
const QString kAppearance = QStringLiteral("appearance");
} // namespace

Preferences::Preferences()
    : m_settings(QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("quorlen"),
                 QStringLiteral("calculator")) {}

bool Preferences::statsOptOut() const { return m_settings.value(kStatsOptOut, false).toBool(); }

void Preferences::setStatsOptOut(bool optOut) {
    m_settings.setValue(kStatsOptOut, optOut);
    m_settings.sync();
}

QString Preferences::selectedCalculatorTool() const {
    return m_settings.value(kSelectedTool, QStringLiteral("bpm")).toString();
}

void Preferences::setSelectedCalculatorTool(const QString& rawValue) {
    m_settings.setValue(kSelectedTool, rawValue);
    m_settings.sync();
}

AppearanceChoice Preferences::appearance() const {
    const QString value = m_settings.value(kAppearance).toString();
    if (value == QLatin1String("light"))
        return AppearanceChoice::light;
    if (value == QLatin1String("dark"))
        return AppearanceChoice::dark;
    return AppearanceChoice::system;
}

void Preferences::setAppearance(AppearanceChoice choice) {
    static const char* const names[] = {"system", "light", "dark"};
    m_settings.setValue(kAppearance, QString::fromLatin1(names[static_cast<int>(choice)]));
    m_settings.sync();
}

} // namespace quorlen
