#pragma once

#include "json/jsontext.h"
#include "json/jsonwriter.h"

/// Writes a JSON array of strings, each of which is the text of one flat JSON object. For long
/// lists: it creates no map and no text per entry and escapes only once. The result is that of
/// JsonWriter for a QStringList of such texts.
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
    /// Without it, a pointer would silently become a bool.
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
