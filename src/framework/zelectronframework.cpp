#include "framework/zelectronframework.h"

#include "base/zdeliverygate.h"
#include "dispatch/zeventmanager.h"
#include "dispatch/zmethoddispatcher.h"
#include "framework/hostcallback.h"
#include "framework/processguard.h"
#include "framework/zelectronapplication.h"
#include "log/logline.h"
#include "meeting/zcallbackfuncmanager.h"
#include "json/jsontext.h"

#include <QThread>

#include <utility>

using zelectronframeworkspace::IElectronCallback;
using zelectronframeworkspace::ListenerHandle;

namespace {

/// Runs the body of an operation; an exception, out of memory for one, becomes the failure result.
template <typename Result, typename Body>
Result guarded(Result failure, Body body)
{
    try {
        return body();
    } catch (...) {
        return failure;
    }
}

/// A member of the running application; null when there is no application or no such member.
template <typename Member>
Member *runningMember(Member *(ZElectronApplication::*member)() const)
{
    const ZElectronApplication *application = g_electronApp;
    return application ? (application->*member)() : nullptr;
}

} // namespace

bool ZElectronFramework::init(const char *settings)
{
    if (g_electronApp) {
        return true;
    }
    if (!settings || isAbandoned()) {
        return false;
    }
    return guarded(false, [this, settings] {
        installForkGuard();
        m_hostThread.reset(); // one whose application could not be constructed
        ZDeliveryGate::instance().open();
        m_hostThread = std::make_unique<HostThread>();
        const bool isStarted = m_hostThread->start(mapFromJsonText(settings));
        installExitGuard();
        return isStarted;
    });
}

bool ZElectronFramework::uninit()
{
    ZElectronApplication *application = g_electronApp;
    if (!application) {
        return false;
    }
    if (QThread::currentThread() == application->thread() || ZDeliveryGate::isInsideDelivery()) {
        logError("uninit", "refused inside a callback of the library");
        return false;
    }
    return guarded(false, [this, application] {
        const auto shutDown = [application] {
            application->cleanup();
            QCoreApplication::exit(0);
        };
        const bool isDelivered =
            QMetaObject::invokeMethod(application, shutDown, Qt::BlockingQueuedConnection);
        m_hostThread.reset();
        return isDelivered;
    });
}

bool ZElectronFramework::call(const char *method, const char *params, IElectronCallback *callback)
{
    ZMethodDispatcher *dispatcher = runningMember(&ZElectronApplication::dispatcher);
    if (!dispatcher) {
        return false;
    }
    return guarded(false, [=] {
        QVariantMap reply = dispatcher->call(QString::fromUtf8(method), mapFromJsonText(params));
        if (!callback) {
            return true;
        }
        // The map goes before the log line is built: a long reply would lie in memory twice.
        const QByteArray text = jsonTextFromMap(std::exchange(reply, {}));
        deliverReply(*callback, text);
        logInfo("call", "call method:%1, params:%2, result:%3", {method, params, text});
        return true;
    });
}

bool ZElectronFramework::asynCall(const char *method, const char *params,
                                  IElectronCallback *callback)
{
    ZMethodDispatcher *dispatcher = runningMember(&ZElectronApplication::dispatcher);
    if (!dispatcher) {
        return false;
    }
    return guarded(false, [=] {
        logInfo("asynCall", "asynCall method:%1, params:%2", {method, params});
        return dispatcher->asynCall(QString::fromUtf8(method), mapFromJsonText(params),
                                    asynCallCompletion(callback));
    });
}

ListenerHandle ZElectronFramework::addListener(const char *eventName, IElectronCallback *callback)
{
    ZEventManager *eventManager = runningMember(&ZElectronApplication::eventManager);
    if (!eventManager) {
        return 0;
    }
    return guarded(ListenerHandle{0}, [=] {
        logInfo("addListener", "addListener, eventName:%1", {eventName});
        return eventManager->addListener(QString::fromUtf8(eventName),
                                         listenerCompletion(callback));
    });
}

void ZElectronFramework::removeListener(ListenerHandle handle)
{
    if (ZEventManager *eventManager = runningMember(&ZElectronApplication::eventManager)) {
        eventManager->removeListener(handle);
    }
}

bool ZElectronFramework::registerCallbackFunc(const char *typeName, IElectronCallback *callback)
{
    ZCallbackFuncManager *manager = runningMember(&ZElectronApplication::callbackFuncManager);
    if (!manager) {
        return false;
    }
    return guarded(false, [=] {
        return manager->registerCallbackFunc(QString::fromUtf8(typeName), taskCompletion(callback));
    });
}
