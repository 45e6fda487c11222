#include "framework/jsontext.h"

#include <QJsonDocument>

QVariantMap mapFromJsonText(const char *text)
{
    return QJsonDocument::fromJson(QByteArray(text)).toVariant().toMap();
}

QByteArray jsonTextFromMap(const QVariantMap &map)
{
    return QJsonDocument::fromVariant(map).toJson(QJsonDocument::Compact);
}
