#pragma once

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <optional>
#include <string>

namespace quorlen::testing {

// The command line's JSON as Qt reads it, so tests check that it is well
// formed and look values up by key. Bad syntax, text after the value, or a
// value that is not an object gives nothing.
inline std::optional<QJsonObject> readJson(const std::string& text) {
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(QByteArray::fromStdString(text), &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return std::nullopt;
    return document.object();
}

} // namespace quorlen::testing
