#pragma once

#include <QByteArray>
#include <QVariant>

/// Finished JSON, UTF-8, which a JsonWriter writes unchanged as the value of a map.
///
/// As a value it is no metatype of its own: Qt looks those up under a lock that all threads share,
/// each time that a variant is made, copied or freed.
struct JsonText
{
    QByteArray text;

    QVariant toVariant() const;
    /// The text in a variant that toVariant() has made, else nullptr. The variant owns it.
    static const QByteArray *in(const QVariant &variant);
};
