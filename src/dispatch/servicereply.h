#pragma once

#include <QVariantMap>

/// Data of the methods that pass on what a service of the account library produced, even when that
/// is empty: {"result":"ok", "data":output}. The inner "result" is part of the interface.
inline QVariantMap serviceData(const QVariant &output)
{
    return {{QStringLiteral("result"), QStringLiteral("ok")}, {QStringLiteral("data"), output}};
}
