#pragma once

#include <QStringList>
#include <QVariantMap>

/// \file
/// What all tasks submitted to the office suite share.

/// The applications of the office suite that every task addresses.
QStringList suiteAppIds();

/// A status below this one means that the task has not finished; it is ignored.
constexpr int kTaskFinished = 100;

/// No application of the office suite is running.
constexpr int kNoOfficeApp = 101;

/// The result map inside a task's reply, empty when absent.
QVariantMap taskResult(const QVariantMap &reply);

/// Whether the result says that the office suite agreed.
bool isTaskGranted(const QVariantMap &result);
