#pragma once

#include "base/callbackfunc.h"

#include <QMap>
#include <QString>

#include <mutex>
#include <optional>

/// The host's callbacks of the meeting tasks, by task name.
///
/// Registered on the host's threads and triggered on library threads. Every function object that
/// the account library keeps shares ownership, so that a late call always finds it.
class MeetingTasks
{
public:
    /// \return false when the task has a callback already, which stays, and once they are closed.
    bool add(const QString &task, const CallBackFunc &callback);

    /// Calls the task's callback with {"dataType":task, "data":data}; "data" only when not empty.
    /// \return whether a callback was called.
    bool trigger(const QString &task, const QVariantMap &data) const;

    /// Removes all callbacks for good.
    void close();

private:
    std::optional<CallBackFunc> find(const QString &task) const;

    mutable std::mutex m_mutex; // guards both; held over no callback
    QMap<QString, CallBackFunc> m_callbacks;
    bool m_isClosed = false;
};
