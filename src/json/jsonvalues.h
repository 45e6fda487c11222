#pragma once

#include "json/jsonwriter.h"

/// Writes a map as a JSON object, each value by its type.
/// \param depth counts the enclosing objects and arrays, this one included. Qt writes what is deeper
///              than the limit.
void writeObject(JsonWriter &out, const QVariantMap &map, int depth);
