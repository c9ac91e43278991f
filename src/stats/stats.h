#pragma once

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <optional>

// Anonymous usage events: that the app was launched and which tool was
// opened. Each is one POST, sent and forgotten; nothing is stored, retried
// or read back, and every failure is silent. The "statsOptOut" preference
// is read at each event, so switching it takes effect at once.
namespace quorlen::Stats {

// The production endpoint: HTTPS, path "/api/send" on the statistics host.
QUrl defaultEndpoint();

// QUORLEN_STATS_URL replaces the endpoint (for tests and private servers).
// An https URL is taken as it is; plain http only for loopback hosts, so a
// typo can never send events in clear text across a network. Nothing
// (events off) when the variable holds anything else.
std::optional<QUrl> endpointFrom(const QByteArray& override);

// "Mozilla/5.0 (Macintosh) QuorlenCalculator/" + version, or "dev".
QString userAgent(const QString& applicationVersion);

// The JSON body of one event, without pretty printing.
QByteArray eventBody(const QString& name, const QString& localeName);

// Sends one event unless opted out. Main thread; returns at once.
void track(const QString& name);

} // namespace quorlen::Stats
