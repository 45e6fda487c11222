#include "dispatch/zevent.h"

#include "base/nocancelscope.h"
#include "base/run.h"
#include "log/guarded.h"
#include "log/logline.h"

#include <QThread>

#include <algorithm>
#include <iterator>

namespace {

/// Increments a counter while it exists.
class Counted
{
public:
    explicit Counted(std::atomic<int> &count) : m_count(count) { ++m_count; }
    ~Counted() { --m_count; }
    Counted(const Counted &) = delete;
    Counted &operator=(const Counted &) = delete;

private:
    std::atomic<int> &m_count;
};

} // namespace

ZEvent::Subscription &ZEvent::Subscription::operator=(Subscription &&other) noexcept
{
    handle = other.handle;
    callback = std::move(other.callback);
    isRemoved = other.isRemoved.load();
    return *this;
}

/// Keeps the list of subscriptions unchanged while it exists.
class ZEvent::Delivery
{
public:
    explicit Delivery(ZEvent &event) : m_event(event)
    {
        const std::lock_guard<std::mutex> lock(m_event.m_mutex);
        ++m_event.m_deliveryCount;
    }

    ~Delivery()
    {
        const std::lock_guard<std::mutex> lock(m_event.m_mutex);
        --m_event.m_deliveryCount;
        m_event.compact();
        m_event.m_returned.notify_all();
    }

    Delivery(const Delivery &) = delete;
    Delivery &operator=(const Delivery &) = delete;

private:
    ZEvent &m_event;
};

void ZEvent::remove(ListenerHandle handle)
{
    const NoCancelScope noCancel;
    std::unique_lock<std::mutex> lock(m_mutex);
    Subscription *subscription = find(handle);
    if (!subscription || subscription->isRemoved) {
        return;
    }
    subscription->isRemoved = true;
    ++m_removedCount;
    compact();
    // Between events no callback runs; on the host thread, a running one is this function's caller.
    if (m_deliveryCount > 0 && QThread::currentThread() != thread()) {
        m_returned.wait(lock, [this, handle] {
            const Subscription *removed = find(handle);
            return !removed || removed->running == 0;
        });
    }
}

void ZEvent::removeAll()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_subscriptions.clear();
    m_removedCount = 0;
}

void ZEvent::deliver()
{
    const Delivery delivery(*this);
    for (Subscription &subscription : m_subscriptions) {
        {
            const Counted running(subscription.running);
            if (!subscription.isRemoved && subscription.callback && !Run::isAbandoned()) {
                guarded([&] { subscription.callback({}); },
                        [] { logError("deliver", "exception from a listener"); });
            }
        }
        if (subscription.isRemoved) {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_returned.notify_all();
        }
    }
}

ZEvent::Subscription *ZEvent::find(ListenerHandle handle)
{
    for (std::vector<Subscription> *list : {&m_subscriptions, &m_added}) {
        const auto found = std::lower_bound(
            list->begin(), list->end(), handle,
            [](const Subscription &one, ListenerHandle other) { return one.handle < other; });
        if (found != list->end() && found->handle == handle) {
            return &*found;
        }
    }
    return nullptr;
}

/// Unless events are being delivered, adds the new subscriptions and deletes the removed ones; the
/// latter so rarely that the average cost of a removal does not depend on their number.
void ZEvent::compact()
{
    if (m_deliveryCount > 0) {
        return;
    }
    const auto append = [this] {
        m_subscriptions.insert(m_subscriptions.end(), std::make_move_iterator(m_added.begin()),
                               std::make_move_iterator(m_added.end()));
        m_added.clear();
    };
    guarded(append, [] {}); // without memory, the next one does it
    if (m_removedCount > m_subscriptions.size() / 2) {
        const auto isRemoved = [](const Subscription &one) { return one.isRemoved.load(); };
        m_subscriptions.erase(
            std::remove_if(m_subscriptions.begin(), m_subscriptions.end(), isRemoved),
            m_subscriptions.end());
        m_removedCount = 0;
    }
}
