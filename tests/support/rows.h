#pragma once

#include <QtTest>

/// Adds the columns of a test table, for example columns<QString, int>("text", "size").
/// \return what adds a row: takes its name and its values.
template <typename... Columns, typename... Names>
auto columns(const Names *...names)
{
    (QTest::addColumn<Columns>(names), ...);
    return [](const char *row, const Columns &...values) { (QTest::newRow(row) << ... << values); };
}
