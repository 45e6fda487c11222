#pragma once

#include <QVariantMap>

/// Reads the text of one JSON object, UTF-8, up to its NUL.
///
/// The map and the type of every value are those of QJsonDocument::fromJson().toVariant().toMap():
/// whole numbers in the range of a qint64 are qlonglong, other numbers double, null is a
/// std::nullptr_t, arrays are QVariantList, objects QVariantMap. Of members with the same key the
/// last one counts. Null, a text that is not JSON, one whose top level is not an object and one
/// nested deeper than 1,024 levels give an empty map.
///
/// Thread: any.
QVariantMap mapFromJsonText(const char *text);
