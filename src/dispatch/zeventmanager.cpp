#include "dispatch/zeventmanager.h"

#include "account/zaccountsdkproxy.h"
#include "dispatch/dottedpath.h"
#include "framework/zelectronapplication.h"
#include "log/logline.h"

#include <QThread>

#include <atomic>
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

Signal signalOf(const QString &path)
{
    const auto parts = splitDottedPath(path);
    if (!parts || parts->module != QLatin1String("account")) {
        return nullptr;
    }
    for (const auto &event : kEvents) {
        if (parts->name == event.name) {
            return event.signal;
        }
    }
    return nullptr;
}

// Counts up over all runs of the process: a handle that comes back late meets no other
// subscription.
std::atomic<ZEventManager::ListenerHandle> s_lastHandle{0};

} // namespace

/// One callback and what is needed to end it for good while the host thread may be running it.
///
/// Disconnecting alone is not enough: it does not wait for a callback that is running.
class ZEventManager::Subscription
{
public:
    explicit Subscription(CallBackFunc callback) : m_callback(std::move(callback)) {}

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

ZEventManager::ZEventManager(QObject *parent) : QObject(parent) {}

ZEventManager::~ZEventManager()
{
    removeAllListeners();
}

ZEventManager::ListenerHandle ZEventManager::addListener(const QString &path,
                                                         const CallBackFunc &callback)
{
    const Signal signal = signalOf(path);
    const ZElectronApplication *application = g_electronApp;
    const ZAccountSdkProxy *accountSdkProxy =
        application ? application->accountSdkProxy() : nullptr;
    if (!signal || !accountSdkProxy) {
        return 0;
    }
    auto subscription = std::make_shared<Subscription>(callback);
    QMetaObject::Connection connection = connect(
        accountSdkProxy, signal, this, [subscription] { subscription->deliver(); },
        Qt::AutoConnection);
    return saveConnection({std::move(connection), std::move(subscription)});
}

ZEventManager::ListenerHandle ZEventManager::saveConnection(Record record)
{
    if (!record.connection) {
        return 0;
    }
    const ListenerHandle handle = ++s_lastHandle;
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_records.emplace(handle, std::move(record));
    return handle;
}

void ZEventManager::removeListener(ListenerHandle handle)
{
    Record record;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto found = m_records.find(handle);
        if (found == m_records.end()) {
            return;
        }
        record = std::move(found->second);
        m_records.erase(found);
    }
    end(record);
}

void ZEventManager::removeAllListeners()
{
    std::unordered_map<ListenerHandle, Record> records;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        records.swap(m_records);
    }
    for (auto &[handle, record] : records) {
        end(record);
    }
}

void ZEventManager::end(Record &record)
{
    record.subscription->end();
    disconnect(record.connection);
    if (QThread::currentThread() != thread()) {
        record.subscription->waitUntilReturned();
    }
}
