#pragma once

#include <QVariantMap>

/// Data of the methods that pass on the output of an account library's service, even if it is
/// empty: {"result":"ok", "data":output}. The inner "result" is part of the interface.
inline QVariantMap serviceData(const QVariant &output)
{
    // No initializer list, which would copy each pair.
    QVariantMap data;
    data.insert(QStringLiteral("data"), output);
    data.insert(QStringLiteral("result"), QStringLiteral("ok"));
    return data;
}
