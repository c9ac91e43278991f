#include "app/preferences.h"

#include "config/settings_store.h"
#include "harmony/circle_of_fifths.h"

#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <cerrno>
#include <cstdio>
#include <sys/stat.h>

namespace quorlen {
namespace {
const QString kStatsOptOut = QString::fromLatin1(config::kStatsOptOutKey);
const QString kSelectedTool = QStringLiteral("MainWindow/selectedCalculatorTool");
const QString kFifthsIndex = QStringLiteral("MainWindow/fifthsSelectedIndex");
const QString kFifthsMinor = QStringLiteral("MainWindow/fifthsMinorSelected");
const QString kAppearance = QStringLiteral("appearance");
const QString kTempoOctave = QStringLiteral("tempoDetectionOctave");
} // namespace

void Preferences::avoidUnusableStore() {
    // Where QSettings keeps the native format on Linux.
    const QString path = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
                         QLatin1Char('/') + QLatin1String(config::kSettingsOrganization) +
                         QLatin1Char('/') + QLatin1String(config::kSettingsApplication) +
                         QStringLiteral(".conf");
    const QFileInfo info(path);
    if (info.isFile())
        return;
    // Nothing there, or a link to a file not made yet: the store creates
    // it. A link that leads round in a circle can never be read or written.
    struct stat target {};
    if (!info.exists() &&
        !(::stat(QFile::encodeName(path).constData(), &target) != 0 && errno == ELOOP))
        return;
    // Kept for the session, so a choice made in Settings holds until exit.
    static QTemporaryDir scratch;
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope,
                       scratch.isValid() ? scratch.path() : QStringLiteral("/dev/null"));
    std::fprintf(stderr, "quorlen-calculator: %s is not a regular file; settings are not kept\n",
                 qPrintable(path));
}

Preferences::Preferences()
    : m_settings(QSettings::NativeFormat, QSettings::UserScope,
                 QString::fromLatin1(config::kSettingsOrganization),
                 QString::fromLatin1(config::kSettingsApplication)) {}

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

int Preferences::fifthsSelectedIndex() const {
    return harmony::CircleOfFifths::wrappedIndex(m_settings.value(kFifthsIndex, 0).toInt());
}

void Preferences::setFifthsSelectedIndex(int index) {
    m_settings.setValue(kFifthsIndex, index);
    m_settings.sync();
}

bool Preferences::fifthsMinorSelected() const {
    return m_settings.value(kFifthsMinor, false).toBool();
}

void Preferences::setFifthsMinorSelected(bool minor) {
    m_settings.setValue(kFifthsMinor, minor);
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

detection::OctaveMode Preferences::tempoOctave() const {
    const std::string text = m_settings.value(kTempoOctave).toString().toStdString();
    return detection::parseOctaveMode(text).value_or(detection::OctaveMode::classic());
}

void Preferences::setTempoOctave(const detection::OctaveMode& mode) {
    m_settings.setValue(kTempoOctave, QString::fromStdString(detection::octaveModeText(mode)));
    m_settings.sync();
}

} // namespace quorlen
