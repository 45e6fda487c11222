#pragma once

#include "base/callbackfunc.h"
#include "meeting/zmeetingfunchandler.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>

#include <atomic>

/// Registers the host's callbacks with the object that delivers tasks of that type; stores none
/// itself.
///
/// Owned by the application and deleted with it. Callable from any thread.
class ZCallbackFuncManager : public QObject
{
public:
    explicit ZCallbackFuncManager(QObject *parent);
    ~ZCallbackFuncManager() override;

    static QStringList typeNames();

    /// \param typeName one of typeNames().
    /// \return false for an empty callback, another type, or when the account library refuses.
    bool registerCallbackFunc(const QString &typeName, const CallBackFunc &callback);

private:
    bool _registerAccountInfoCollectTask(const CallBackFunc &callback);
    void registerMeetingDataChangeTask(const CallBackFunc &callback);

    // True during a registration, which alone uses the pointer. Not a lock, because the account
    // library may call the host meanwhile, and the host may register again.
    std::atomic<bool> m_isRegistering{false};
    // The account library receives the object as a context and may destroy it.
    QPointer<ZMeetingFuncHandler> m_meetingFuncHandler;
};
