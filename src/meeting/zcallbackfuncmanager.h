#pragma once

#include "base/callbackfunc.h"

#include <QObject>
#include <QString>

#include <atomic>

class ZMeetingFuncHandler;

/// Registers the host's callbacks of typed tasks with those who serve them; holds none itself.
///
/// Belongs to the application and goes with it. Callable from any thread.
class ZCallbackFuncManager : public QObject
{
public:
    explicit ZCallbackFuncManager(QObject *parent);
    ~ZCallbackFuncManager() override;

    /// \param typeName "accountInfoCollectTask" or "meetingDataChangeTask".
    /// \return false for an empty callback, another type, or when the account library refuses.
    bool registerCallbackFunc(const QString &typeName, const CallBackFunc &callback);

private:
    bool _registerAccountInfoCollectTask(const CallBackFunc &callback);
    void registerMeetingDataChangeTask(const CallBackFunc &callback);

    // Made by the first registration, which alone may do so; never replaced.
    std::atomic<bool> m_isMeetingRegistered{false};
    std::atomic<ZMeetingFuncHandler *> m_meetingFuncHandler{nullptr};
};
