#include "meeting/zcallbackfuncmanager.h"

#include "account/accountservices.h"
#include "log/logline.h"
#include "meeting/zmeetingfunchandler.h"

#include <memory>

ZCallbackFuncManager::ZCallbackFuncManager(QObject *parent) : QObject(parent) {}

ZCallbackFuncManager::~ZCallbackFuncManager()
{
    delete m_meetingFuncHandler;
}

bool ZCallbackFuncManager::registerCallbackFunc(const QString &typeName,
                                                const CallBackFunc &callback)
{
    if (!callback) {
        logError("registerCallbackFunc", "callback is null");
        return false;
    }
    if (typeName == QLatin1String("accountInfoCollectTask")) {
        return _registerAccountInfoCollectTask(callback);
    }
    if (typeName == QLatin1String("meetingDataChangeTask")) {
        registerMeetingDataChangeTask(callback);
        return true;
    }
    logError("registerCallbackFunc", "typeName is not supported");
    return false;
}

bool ZCallbackFuncManager::_registerAccountInfoCollectTask(const CallBackFunc &callback)
{
    IInfoCollectHandler *handler = accountService(&IAccountSdk::getInfoCollectHandler);
    if (!handler) {
        logError("_registerAccountInfoCollectTask", "getInfoCollectHandler failed");
        return false;
    }
    return handler->registerCollectCallback(callback);
}

void ZCallbackFuncManager::registerMeetingDataChangeTask(const CallBackFunc &callback)
{
    // The first callback stays for good: a later registration, also one on another thread at the
    // same time, has nothing left to do.
    if (m_isMeetingRegistered.exchange(true)) {
        return;
    }
    try {
        auto handler = std::make_unique<ZMeetingFuncHandler>(nullptr);
        // It is deleted on the host thread; the registering thread may have ended by then.
        handler->moveToThread(thread());
        handler->registerEnterMeetingTask(callback);
        handler->registerGetMeetingStatusTask(callback);
        handler->registerCloseMeetingAppTask(callback);
        m_meetingFuncHandler = handler.release();
    } catch (...) {
        m_isMeetingRegistered = false; // the account library has thrown: the next one may try again
        throw;
    }
}
