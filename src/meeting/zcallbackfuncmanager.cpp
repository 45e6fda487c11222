#include "meeting/zcallbackfuncmanager.h"

#include "account/accountservices.h"
#include "log/logline.h"
#include "meeting/zmeetingfunchandler.h"

namespace {

const auto kAccountInfoCollect = QStringLiteral("accountInfoCollectTask");
const auto kMeetingDataChange = QStringLiteral("meetingDataChangeTask");

} // namespace

QStringList ZCallbackFuncManager::typeNames()
{
    return {kAccountInfoCollect, kMeetingDataChange};
}

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
    if (typeName == kAccountInfoCollect) {
        return _registerAccountInfoCollectTask(callback);
    }
    if (typeName == kMeetingDataChange) {
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
    // The first callback stays; a later or concurrent registration changes nothing.
    if (m_isRegistering.exchange(true)) {
        return;
    }
    try {
        if (!m_meetingFuncHandler) {
            // Guarded before the account library gets it.
            m_meetingFuncHandler = new ZMeetingFuncHandler(nullptr, thread());
            ZMeetingFuncHandler::registerTasks(m_meetingFuncHandler, callback);
        }
    } catch (...) {
        // The account library has thrown: the next registration may try again.
        if (m_meetingFuncHandler) {
            m_meetingFuncHandler->deleteLater();
            m_meetingFuncHandler.clear();
        }
        m_isRegistering = false;
        throw;
    }
    m_isRegistering = false;
}
