#include "framework/zelectronapplication.h"

#include "account/zaccountsdkproxy.h"
#include "base/hostthreadscope.h"
#include "base/run.h"
#include "base/runningframework.h"
#include "dispatch/zeventmanager.h"
#include "dispatch/zmethoddispatcher.h"
#include "log/guarded.h"
#include "log/logline.h"
#include "log/zelectronlogproxy.h"
#include "meeting/zcallbackfuncmanager.h"
#include "services/globalproxy.h"

#include <QTimer>

#include <chrono>
#include <memory>
#include <utility>

std::atomic<ZElectronApplication *> g_electronApp{nullptr};

namespace {

const auto kApp = QStringLiteral("app");
const auto kAppName = QStringLiteral("appName");
const auto kNetwork = QStringLiteral("network");
const auto kProxy = QStringLiteral("proxy");

constexpr auto kLongestNestedLoop = std::chrono::seconds(2);

const char *const kRequiredKeys[] = {"appName", "productName", "version", "localStoragePath"};

} // namespace

QObject *runningApplication()
{
    return g_electronApp.load();
}

QVariantMap runningSettings()
{
    const ZElectronApplication *application = g_electronApp;
    return application ? application->initParams() : QVariantMap();
}

ZAccountSdkProxy *runningAccountSdkProxy()
{
    const ZElectronApplication *application = g_electronApp;
    return application ? application->accountSdkProxy() : nullptr;
}

ZElectronApplication::ZElectronApplication(int &argc, char **argv, ClosedLibrary &accountLibrary)
    : QCoreApplication(argc, argv), m_accountLibrary(accountLibrary)
{
    // Qt fills this cache on first use without a lock; thread-safe methods read it on any thread.
    applicationFilePath();

    // First, because the account library could register the type under the same name with its own
    // code, which is unloaded with it.
    qRegisterMetaType<CallBackFunc>("CallBackFunc");

    g_electronApp = this;
}

ZElectronApplication::~ZElectronApplication()
{
    cleanup();
}

bool ZElectronApplication::initialize(const QVariantMap &params)
{
    m_initParams = params;
    applyInitParams();

    if (!g_logProxy) {
        auto logProxy = std::make_unique<ZElectronLogProxy>();
        logProxy->load(); // without the log library the proxy stays and writes nothing
        g_logProxy = logProxy.release();
        warnIfFromElsewhere(ZElectronLogProxy::kLibrary);
    }
    if (!checkParamsValid()) {
        return false;
    }

    if (!m_accountSdkProxy) {
        m_accountSdkProxy = new ZAccountSdkProxy(m_accountLibrary, this);
        m_reachableAccountSdkProxy = m_accountSdkProxy;
        if (!m_accountSdkProxy->init(m_initParams)) {
            return false;
        }
    }
    if (!m_eventManager) {
        auto *eventManager = new ZEventManager(this);
        eventManager->addEvents(QStringLiteral("account"), m_accountSdkProxy);
        m_eventManager = eventManager;
    }
    if (!m_dispatcher) {
        auto *dispatcher = new ZMethodDispatcher(this);
        if (!dispatcher->initHandlers()) {
            return false;
        }
        m_dispatcher = dispatcher;
    }
    if (!m_callbackFuncManager) {
        m_callbackFuncManager = new ZCallbackFuncManager(this);
    }
    return true;
}

void ZElectronApplication::applyInitParams()
{
    setApplicationName(m_initParams.value(kApp).toMap().value(kAppName).toString());
    setGlobalNetworkProxy(m_initParams.value(kNetwork).toMap().value(kProxy).toMap());
}

bool ZElectronApplication::checkParamsValid() const
{
    const QVariantMap app = m_initParams.value(kApp).toMap();
    for (const char *key : kRequiredKeys) {
        const auto found = app.constFind(QLatin1String(key));
        if (found == app.constEnd()) {
            logError("checkParamsValid", "init param lack %1 key", {key});
            return false;
        }
        if (found->type() == QVariant::String && found->toString().isEmpty()) {
            logError("checkParamsValid", "init param key %1 is empty", {key});
            return false;
        }
    }
    return true;
}

void ZElectronApplication::serve() const
{
    while (!m_isStopping) {
        // A slot of aboutToQuit throws through exec.
        guarded([] { exec(); }, [] { logError("serve", "exception from the event loop"); });
    }
}

void ZElectronApplication::ignoreLaterEvents()
{
    if (m_accountSdkProxy) {
        m_accountSdkProxy->ignoreNotifications();
    }
}

void ZElectronApplication::refuseOperations()
{
    m_reachableAccountSdkProxy = nullptr;
    Run::lower(Admission::Deliveries);
}

void ZElectronApplication::stop()
{
    m_isStopping = true;
    if (HostWorkScope::depth() > 1) {
        QTimer::singleShot(kLongestNestedLoop, this, [] { exit(0); });
    } // otherwise notify() ends the loop, right behind this event
}

void ZElectronApplication::cleanup()
{
    m_reachableAccountSdkProxy = nullptr; // unless uninit has done so
    delete std::exchange(m_dispatcher, nullptr);
    if (m_eventManager) {
        m_eventManager->removeAllListeners();
        delete std::exchange(m_eventManager, nullptr);
    }
    if (m_accountSdkProxy) {
        m_accountSdkProxy->shutdown();
        sendPostedEvents(nullptr, QEvent::DeferredDelete); // objects of the library
        delete std::exchange(m_accountSdkProxy, nullptr);
    }

    // The account library has given its outstanding replies. Later ones find no application.
    g_electronApp = nullptr;
    Run::lower(Admission::Deliveries);
    Run::waitForEarlier(Admission::Deliveries);
}

bool ZElectronApplication::notify(QObject *receiver, QEvent *event)
{
    bool isHandled = false;
    {
        const HostWorkScope work;
        isHandled = guarded([&] { return QCoreApplication::notify(receiver, event); },
                            [] {
                                logError("notify", "exception from an event handler");
                                return false;
                            });
    }
    // Threads of the account library call this as well.
    if (HostThreadScope::isCurrent() && m_isStopping && HostWorkScope::depth() == 0) {
        exit(0);
    }
    return isHandled;
}
