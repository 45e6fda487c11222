#pragma once

#include "json/jsonwriter.h"

/// A JSON array of strings, each of them the text of one flat JSON object: for lists too long for a
/// map and a text of each entry. It is what JsonWriter makes of a QStringList of such texts,
/// written at once and escaped only once.
///
/// The caller adds the members of one object after the other, their keys in ascending order. Keys
/// need no escape and outlive endObject(). An object has at least one member.
class JsonObjectTexts
{
public:
    void add(QLatin1String key, const QString &value);
    /// UTF-8. An empty one is a JSON null.
    void add(QLatin1String key, const QByteArray &value);
    void add(QLatin1String key, bool value);
    void add(QLatin1String key, int value);
    /// A pointer would become a bool silently.
    template <typename T>
    void add(QLatin1String key, const T *value) = delete;

    void endObject();

    /// Ends the array.
    JsonText take();

private:
    void addKey(QLatin1String key);

    JsonWriter m_writer{JsonWriter::Strings::InString};
    bool m_isInObject = false;
    QLatin1String m_lastKey; // only asserted
};
