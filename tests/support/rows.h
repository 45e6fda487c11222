#pragma once

#include <QtTest>

/// Columns of a test table that hold texts.
template <typename... Names>
void textColumns(const Names &...names)
{
    (QTest::addColumn<QByteArray>(names), ...);
}

/// A row of a table that has only such columns.
template <typename... Texts>
void row(const char *name, const Texts &...texts)
{
    (QTest::newRow(name) << ... << QByteArray(texts));
}
