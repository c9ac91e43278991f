#include "stats/stats.h"

#include "config/deployment.h"

#include <QCoreApplication>
#include <QHostAddress>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QSettings>

namespace quorlen::Stats {
namespace {

// The analytics site this app reports to, and the fixed page identity every
// event carries; no user or device data goes with them.
const QString kWebsite = QStringLiteral("3f1a7c52-8e4b-4d09-a6c1-5b2e90d7f318");
constexpr int kTimeoutMs = 10000;

bool isLoopback(const QString& host) {
    if (host.compare(QLatin1String("localhost"), Qt::CaseInsensitive) == 0)
        return true;
    const QHostAddress address(host);
    return !address.isNull() && address.isLoopback();
}

bool optedOut() {
    const QSettings settings(QSettings::NativeFormat, QSettings::UserScope,
                             QStringLiteral("quorlen"), QStringLiteral("calculator"));
    return settings.value(QStringLiteral("statsOptOut"), false).toBool();
}

// Created once, on first use, like the endpoint itself.
const std::optional<QUrl>& endpoint() {
    static const std::optional<QUrl> url = endpointFrom(qgetenv("QUORLEN_STATS_URL"));
    return url;
}

QNetworkAccessManager& network() {
    // Parented to the application so it goes before QCoreApplication does.
    static QNetworkAccessManager* manager = new QNetworkAccessManager(QCoreApplication::instance());
    return *manager;
}

} // namespace

QUrl defaultEndpoint() {
    QUrl url;
    url.setScheme(QStringLiteral("https"));
    url.setHost(QString::fromLatin1(config::kStatsHost));
    url.setPath(QStringLiteral("/api/send"));
    return url;
}

std::optional<QUrl> endpointFrom(const QByteArray& override) {
    if (override.isEmpty())
        return defaultEndpoint();
    const QUrl url(QString::fromUtf8(override), QUrl::StrictMode);
    if (!url.isValid() || url.host().isEmpty())
        return std::nullopt;
    if (url.scheme() == QLatin1String("https"))
        return url;
    if (url.scheme() == QLatin1String("http") && isLoopback(url.host()))
        return url;
    return std::nullopt;
}

QString userAgent(const QString& applicationVersion) {
    return QStringLiteral("Mozilla/5.0 (Macintosh) QuorlenCalculator/") +
           (applicationVersion.isEmpty() ? QStringLiteral("dev") : applicationVersion);
}

QByteArray eventBody(const QString& name, const QString& localeName) {
    const QJsonObject payload{
        {QStringLiteral("website"), kWebsite},
        {QStringLiteral("hostname"), QStringLiteral("macos-app")},
        {QStringLiteral("language"), localeName},
        {QStringLiteral("screen"), QString()},
        {QStringLiteral("title"), QStringLiteral("macOS")},
        {QStringLiteral("url"), QStringLiteral("/macos")},
        {QStringLiteral("name"), name},
    };
    const QJsonObject body{{QStringLiteral("type"), QStringLiteral("event")},
                           {QStringLiteral("payload"), payload}};
    return QJsonDocument(body).toJson(QJsonDocument::Compact);
}

void track(const QString& name) {
    if (optedOut() || !endpoint())
        return;
    QNetworkRequest request(*endpoint());
    request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/json"));
    request.setHeader(QNetworkRequest::UserAgentHeader,
                      userAgent(QCoreApplication::applicationVersion()));
    request.setTransferTimeout(kTimeoutMs);
    QNetworkReply* reply = network().post(request, eventBody(name, QLocale::system().name()));
    // The answer, its status and any error are of no interest.
    QObject::connect(reply, &QNetworkReply::finished, reply, &QObject::deleteLater);
}

} // namespace quorlen::Stats
