#pragma once

#include "app/preferences.h"
#include "ui/theme.h"

#include <QObject>

#include <optional>

class QDBusVariant;

namespace quorlen {

// Decides the colour scheme: the user's Appearance choice, or for "System"
// what the desktop reports. Qt 6.4 has no colour-scheme API, so the desktop
// portal is asked (and listened to) where one runs; otherwise the lightness
// of the platform palette at start-up decides.
class AppearanceController : public QObject {
    Q_OBJECT
public:
    explicit AppearanceController(QObject* parent = nullptr);

    AppearanceChoice choice() const { return m_choice; }
    // Stores the choice and applies it at once.
    void setChoice(AppearanceChoice choice);

    // Overrides everything, for screenshots and tests; not stored.
    void forceScheme(ColorScheme scheme);

    ColorScheme effectiveScheme() const;

private slots:
    void portalSettingChanged(const QString& group, const QString& key, const QDBusVariant& value);

private:
    void askPortal();
    void apply();

    AppearanceChoice m_choice;
    ColorScheme m_paletteScheme;
    std::optional<ColorScheme> m_portalScheme;
    std::optional<ColorScheme> m_forced;
};

} // namespace quorlen
