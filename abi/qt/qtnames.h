#pragma once

#include <cstddef>

/// \file
/// Qt's classes by name and size alone. What is inside them is Qt's own affair: the baseline must
/// not change with the Qt that is installed.

using qint32 = int;
using quint64 = unsigned long long;

#define Q_DECLARE_METATYPE(type)

class QVariant;
class QObject;
class QNetworkCookie;

class QString
{
    void *d;
};

class QByteArray
{
    void *d;
};

class QStringList
{
    void *d;
};

class QDateTime
{
    void *d;
};

class QUrl
{
    void *d;
};

template <typename Type>
class QList
{
    void *d;
};

template <typename Key, typename Type>
class QMap
{
    void *d;
};

template <typename Type>
class QPointer
{
    void *d[2];
};

using QVariantMap = QMap<QString, QVariant>;
