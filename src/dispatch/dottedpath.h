#pragma once

#include <QString>

#include <optional>

/// The path of a method: "module.name", for example "utils.getLogPath".
struct DottedPath
{
    QString module;
    QString name;
};

/// Splits a path at its dots; parts after the second are ignored, empty parts count.
/// \return nothing when the path has no dot.
inline std::optional<DottedPath> splitDottedPath(const QString &path)
{
    const int point = path.indexOf(QLatin1Char('.'));
    if (point < 0) {
        return std::nullopt;
    }
    const int nameStart = point + 1;
    const int nextPoint = path.indexOf(QLatin1Char('.'), nameStart);
    const int nameLength = nextPoint < 0 ? -1 : nextPoint - nameStart;
    return DottedPath{path.left(point), path.mid(nameStart, nameLength)};
}
