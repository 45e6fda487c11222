#include "meeting/meetingtasks.h"

#include "log/logline.h"
#include "meeting/officemessages.h"

namespace {

bool isSupported(const QString &task)
{
    return task == kGetMeetingStatus || task == kEnterMeeting || task == kCloseMeetingApp;
}

} // namespace

bool MeetingTasks::add(const QString &task, const CallBackFunc &callback)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_isClosed || m_callbacks.contains(task)) {
        return false;
    }
    m_callbacks.insert(task, callback);
    return true;
}

bool MeetingTasks::trigger(const QString &task, const QVariantMap &data) const
{
    const std::optional<CallBackFunc> callback = find(task);
    if (!callback) {
        logInfo("triggerTask", "task: %1 not found", {task});
        return false;
    }
    if (!*callback) {
        return false;
    }
    logInfo("triggerTask", "trigger task: %1", {task});
    if (!isSupported(task)) {
        logInfo("triggerTask", "task: %1 not support", {task});
        return false;
    }

    QVariantMap message{{QStringLiteral("dataType"), task}};
    if (!data.isEmpty()) {
        message.insert(QStringLiteral("data"), data);
    }
    (*callback)(message);
    return true;
}

void MeetingTasks::close()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_callbacks.clear();
    m_isClosed = true;
}

std::optional<CallBackFunc> MeetingTasks::find(const QString &task) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_callbacks.constFind(task);
    return found != m_callbacks.constEnd() ? std::optional(*found) : std::nullopt;
}
