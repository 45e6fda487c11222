#pragma once

#include <QByteArray>
#include <QString>
#include <QVariantMap>

/// Reads the text of one JSON object, UTF-8, up to its NUL or of \p length bytes.
///
/// The map and the type of every value are those of QJsonDocument::fromJson().toVariant().toMap():
/// whole numbers in the range of a qint64 are qlonglong, other numbers double, null is a
/// std::nullptr_t, arrays are QVariantList, objects QVariantMap. Of members with the same key the
/// last one counts. Null, a text that is not JSON, one whose top level is not an object and one
/// nested deeper than 1,024 levels give an empty map.
///
/// Thread: any.
QVariantMap mapFromJsonText(const char *text);
QVariantMap mapFromJsonText(const char *text, int length);

/// The compact JSON text of a map, UTF-8: byte for byte that of QJsonDocument::fromVariant().
/// The second form appends to \p out and allocates nothing when its capacity suffices.
///
/// Thread: any.
QByteArray jsonTextFromMap(const QVariantMap &map);
void appendJsonText(QByteArray &out, const QVariantMap &map);

/// Appends one JSON string with its quotes and escapes.
void appendJsonString(QByteArray &out, const QString &text);

/// The text of one flat JSON object, written member by member: for lists whose entries are JSON
/// texts themselves and too many for a map each; one object makes them all. The caller adds the
/// keys in ascending order; they need no escape. The text is what jsonTextFromMap gives for a map
/// of the same members.
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
    template <typename Write>
    void addMember(QLatin1String key, Write writeValue);

    QByteArray m_text; // as long as the room there is; m_length bytes of it are written
    int m_length = 0;
};
