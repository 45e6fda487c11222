#include "dispatch/zeventmanager.h"

#include "account/zaccountsdkproxy.h"
#include "framework/zelectronapplication.h"
#include "log/logline.h"

#include <QThread>

#include <atomic>
#include <condition_variable>
#include <iterator>
#include <optional>
#include <utility>

namespace {

using Signal = void (ZAccountSdkProxy::*)();

const struct
{
    QLatin1String name;
    Signal signal;
} kEvents[] = {
    {QLatin1String("initFinished"), &ZAccountSdkProxy::initFinished},
    {QLatin1String("currentAccountChanged"), &ZAccountSdkProxy::currentAccountChanged},
    {QLatin1String("authInfoChanged"), &ZAccountSdkProxy::authInfoChanged},
    {QLatin1String("userInfoChanged"), &ZAccountSdkProxy::userInfoChanged},
    {QLatin1String("companyInfoChanged"), &ZAccountSdkProxy::companyInfoChanged},
    {QLatin1String("accountListInfoChanged"), &ZAccountSdkProxy::accountListInfoChanged},
    {QLatin1String("cookieUpdated"), &ZAccountSdkProxy::cookieUpdated},
};

const QLatin1String kModule("account.");

/// The index of an event in kEvents; what follows a second point is ignored.
std::optional<std::size_t> eventOf(const QString &path)
{
    if (!path.startsWith(kModule)) {
        return std::nullopt;
    }
    const int end = path.indexOf(QLatin1Char('.'), kModule.size());
    const QStringRef name = path.midRef(kModule.size(), end < 0 ? -1 : end - kModule.size());
    for (std::size_t event = 0; event < std::size(kEvents); ++event) {
        if (name == kEvents[event].name) {
            return event;
        }
    }
    return std::nullopt;
}

const ZAccountSdkProxy *accountSdkProxy()
{
    const ZElectronApplication *application = g_electronApp;
    return application ? application->accountSdkProxy() : nullptr;
}

// Counts up over all runs of the process: a handle that comes back late meets no other
// subscription.
std::atomic<ZEventManager::ListenerHandle> s_lastHandle{0};

} // namespace

/// One callback and what is needed to end it for good while the host thread may be running it.
class ZEventManager::Subscription
{
public:
    Subscription(std::size_t subscribedEvent, CallBackFunc callback)
        : event(subscribedEvent), m_callback(std::move(callback))
    {
    }

    const std::size_t event;

    /// Host thread only. May be entered again from inside the callback.
    void deliver()
    {
        m_running.fetch_add(1);
        try {
            if (!m_isEnded && m_callback) {
                m_callback({});
            }
        } catch (...) {
            logError("deliver", "exception from a listener");
        }
        if (m_running.fetch_sub(1) == 1 && m_isEnded) {
            const std::lock_guard<std::mutex> lock(s_mutex);
            s_returned.notify_all();
        }
    }

    /// No delivery starts from now on.
    void end() { m_isEnded = true; }

    /// Waits for a delivery that had started before end. Not on the host thread: a delivery that is
    /// running there lies below on this very stack.
    void waitUntilReturned()
    {
        if (m_running == 0) {
            return;
        }
        std::unique_lock<std::mutex> lock(s_mutex);
        s_returned.wait(lock, [this] { return m_running == 0; });
    }

private:
    // One pair for all subscriptions: only a removal that meets a running delivery comes here.
    // Never destroyed, since the host thread may still deliver while the process exits.
    static std::mutex &s_mutex;
    static std::condition_variable &s_returned;

    const CallBackFunc m_callback;
    // Sequentially consistent: either deliver sees the end, or waitUntilReturned sees the delivery.
    std::atomic<int> m_running{0};
    std::atomic<bool> m_isEnded{false};
};

std::mutex &ZEventManager::Subscription::s_mutex = *new std::mutex;
std::condition_variable &ZEventManager::Subscription::s_returned = *new std::condition_variable;

ZEventManager::ZEventManager(QObject *parent) : QObject(parent)
{
    static_assert(std::size(kEvents) == kEventCount);
    const ZAccountSdkProxy *sender = accountSdkProxy();
    if (!sender) {
        return; // addListener refuses everything
    }
    for (std::size_t event = 0; event < kEventCount; ++event) {
        connect(
            sender, kEvents[event].signal, this, [this, event] { deliver(event); },
            Qt::AutoConnection);
    }
}

ZEventManager::~ZEventManager()
{
    removeAllListeners();
}

ZEventManager::ListenerHandle ZEventManager::addListener(const QString &path,
                                                         const CallBackFunc &callback)
{
    const std::optional<std::size_t> event = eventOf(path);
    if (!event || !accountSdkProxy()) {
        return 0;
    }
    auto subscription = std::make_shared<Subscription>(*event, callback);
    const std::lock_guard<std::mutex> lock(m_mutex);
    const ListenerHandle handle = ++s_lastHandle; // rises under the lock: the map is in its order
    m_subscriptions.emplace_hint(m_subscriptions.end(), handle, std::move(subscription));
    m_deliveryLists[*event].reset();
    return handle;
}

void ZEventManager::removeListener(ListenerHandle handle)
{
    std::shared_ptr<Subscription> subscription;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto found = m_subscriptions.find(handle);
        if (found == m_subscriptions.end()) {
            return;
        }
        subscription = std::move(found->second);
        m_subscriptions.erase(found);
        m_deliveryLists[subscription->event].reset();
    }
    end(*subscription);
}

void ZEventManager::removeAllListeners()
{
    std::map<ListenerHandle, std::shared_ptr<Subscription>> subscriptions;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        subscriptions.swap(m_subscriptions);
        m_deliveryLists = {};
    }
    for (const auto &[handle, subscription] : subscriptions) {
        end(*subscription);
    }
}

void ZEventManager::deliver(std::size_t event)
{
    // Who subscribes while this runs hears of the next event; who ends is passed over.
    const std::shared_ptr<const Subscriptions> subscriptions = subscriptionsTo(event);
    for (const std::shared_ptr<Subscription> &subscription : *subscriptions) {
        subscription->deliver();
    }
}

std::shared_ptr<const ZEventManager::Subscriptions>
ZEventManager::subscriptionsTo(std::size_t event)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::shared_ptr<const Subscriptions> &list = m_deliveryLists[event];
    if (!list) {
        auto made = std::make_shared<Subscriptions>();
        for (const auto &[handle, subscription] : m_subscriptions) {
            if (subscription->event == event) {
                made->push_back(subscription);
            }
        }
        list = std::move(made);
    }
    return list;
}

void ZEventManager::end(Subscription &subscription)
{
    subscription.end();
    if (QThread::currentThread() != thread()) {
        subscription.waitUntilReturned();
    }
}
