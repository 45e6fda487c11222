#pragma once

#include <QByteArray>
#include <QVariantMap>

/// The map of a JSON object text, UTF-8, NUL-terminated. Any other text, and null, is an empty map.
QVariantMap mapFromJsonText(const char *text);

/// The compact JSON text of a map, UTF-8, without white space between tokens.
QByteArray jsonTextFromMap(const QVariantMap &map);
