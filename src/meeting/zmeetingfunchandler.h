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
/// library has destroyed it, which may happen at any time. Messages and answers arrive on library
/// threads. The account library keeps its function objects forever, so they own the task table and
/// not this object, and are refused once the framework was stopped.
class ZMeetingFuncHandler : public QObject
{
    Q_OBJECT

public:
    ZMeetingFuncHandler(QObject *parent, QThread *thread);
    ~ZMeetingFuncHandler() override;

    /// Registers for the office suite's messages, then the callback for each meeting task, and asks
    /// the office suite for the current meeting; its answer comes as an "enterMeeting" task. Called
    /// once. The account library may destroy the handler meanwhile.
    static void registerTasks(ZMeetingFuncHandler *handler, const CallBackFunc &callback);

private:
    const std::shared_ptr<MeetingTasks> m_tasks;
};
