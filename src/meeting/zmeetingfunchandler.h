#pragma once

#include "base/callbackfunc.h"

#include <QObject>

#include <memory>

class MeetingTasks;
class QThread;

/// Relays the office suite's meeting messages to the host's task callbacks.
///
/// Created by the callback registry on a thread of the host, moved to the host thread before the
/// account library gets it as a context, and deleted by the registry there, unless the account
/// library has destroyed it.
/// Messages and answers arrive on library threads. The account library keeps its function objects
/// forever, so they own the task table and not this object, and are refused once the framework was
/// stopped.
class ZMeetingFuncHandler : public QObject
{
    Q_OBJECT

public:
    /// Moves to the thread and registers for the office suite's messages.
    ZMeetingFuncHandler(QObject *parent, QThread *thread);
    ~ZMeetingFuncHandler() override;

    /// Each returns false when its task already has a callback, which stays. The first, when it
    /// adds one, also asks the office suite for the current meeting.
    bool registerEnterMeetingTask(const CallBackFunc &callback);
    bool registerGetMeetingStatusTask(const CallBackFunc &callback);
    bool registerCloseMeetingAppTask(const CallBackFunc &callback);

    /// \return whether the request was submitted; its answer comes as an "enterMeeting" task.
    bool getMeetingData();

private:
    void registerElectronMsgTask();

    const std::shared_ptr<MeetingTasks> m_tasks;
};
