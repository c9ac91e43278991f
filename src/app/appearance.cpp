#include "app/appearance.h"

#include "ui/color_scheme.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QGuiApplication>
#include <QPalette>

namespace quorlen {
namespace {

const QString kPortalService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString kPortalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString kPortalInterface = QStringLiteral("org.freedesktop.portal.Settings");
const QString kAppearanceGroup = QStringLiteral("org.freedesktop.appearance");
const QString kColorSchemeKey = QStringLiteral("color-scheme");

// The portal answers 1 for dark, 2 for light and 0 for no preference.
std::optional<ColorScheme> schemeFromPortal(const QVariant& value) {
    QVariant unwrapped = value;
    while (unwrapped.canConvert<QDBusVariant>() &&
           unwrapped.userType() == qMetaTypeId<QDBusVariant>())
        unwrapped = unwrapped.value<QDBusVariant>().variant();
    switch (unwrapped.toUInt()) {
    case 1:
        return ColorScheme::Dark;
    case 2:
        return ColorScheme::Light;
    default:
        return std::nullopt;
    }
}

} // namespace

AppearanceController::AppearanceController(QObject* parent)
    : QObject(parent), m_choice(Preferences().appearance()) {
    // Read before our own palette replaces the platform's.
    const QColor window = QGuiApplication::palette().color(QPalette::Window);
    m_paletteScheme = window.lightnessF() < 0.5 ? ColorScheme::Dark : ColorScheme::Light;
    askPortal();
    apply();
}

void AppearanceController::setChoice(AppearanceChoice choice) {
    m_choice = choice;
    Preferences().setAppearance(choice);
    apply();
}

void AppearanceController::forceScheme(ColorScheme scheme) {
    m_forced = scheme;
    apply();
}

ColorScheme AppearanceController::effectiveScheme() const {
    if (m_forced)
        return *m_forced;
    switch (m_choice) {
    case AppearanceChoice::light:
        return ColorScheme::Light;
    case AppearanceChoice::dark:
        return ColorScheme::Dark;
    case AppearanceChoice::system:
        break;
    }
    return m_portalScheme.value_or(m_paletteScheme);
}

void AppearanceController::apply() { ColorSchemeHub::instance().setScheme(effectiveScheme()); }

void AppearanceController::askPortal() {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return;
    bus.connect(kPortalService, kPortalPath, kPortalInterface, QStringLiteral("SettingChanged"),
                this, SLOT(portalSettingChanged(QString, QString, QDBusVariant)));

    // Asked without waiting: start-up must not hang on a slow or absent portal.
    QDBusMessage read = QDBusMessage::createMethodCall(kPortalService, kPortalPath,
                                                       kPortalInterface, QStringLiteral("Read"));
    read << kAppearanceGroup << kColorSchemeKey;
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(read, 2000), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this](QDBusPendingCallWatcher* call) {
                const QDBusPendingReply<QVariant> reply = *call;
                if (!reply.isError()) {
                    m_portalScheme = schemeFromPortal(reply.value());
                    apply();
                }
                call->deleteLater();
            });
}

void AppearanceController::portalSettingChanged(const QString& group, const QString& key,
                                                const QDBusVariant& value) {
    if (group != kAppearanceGroup || key != kColorSchemeKey)
        return;
    m_portalScheme = schemeFromPortal(value.variant());
    apply();
}

} // namespace quorlen
