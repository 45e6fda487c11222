#pragma once

#include <QJsonDocument>
#include <QJsonObject>
#include <QVariantMap>

#include <optional>
#include <string>

namespace zefstandin {

/// The object that a UTF-8 JSON text holds; nothing when it holds no object.
inline std::optional<QVariantMap> objectFromText(const std::string &text)
{
    const QJsonDocument document = QJsonDocument::fromJson(QByteArray::fromStdString(text));
    if (!document.isObject()) {
        return std::nullopt;
    }
    return document.object().toVariantMap();
}

inline QByteArray compactJson(const QVariantMap &map)
{
    return QJsonDocument(QJsonObject::fromVariantMap(map)).toJson(QJsonDocument::Compact);
}

/// The first map with the members of the second one put over its own.
inline QVariantMap merged(QVariantMap map, const QVariantMap &over)
{
    for (auto it = over.cbegin(); it != over.cend(); ++it) {
        map.insert(it.key(), it.value());
    }
    return map;
}

} // namespace zefstandin
