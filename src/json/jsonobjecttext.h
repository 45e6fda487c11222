#pragma once

#include "json/jsonwriter.h"

/// The text of one flat JSON object, written member by member: for lists whose entries are JSON
/// texts themselves and too many for a map each; one object makes them all. The caller adds the
/// keys in ascending order; they need no escape and outlive the call of take(). The text is what
/// jsonTextFromMap gives for a map of the same members.
class JsonObjectText
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

    /// Ends the object and gives its text. The next member begins another one in the same room.
    QString take();

private:
    void addKey(QLatin1String key);

    JsonWriter m_writer;
    QLatin1String m_lastKey; // only asserted
};
