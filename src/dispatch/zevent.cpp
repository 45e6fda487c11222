#include "dispatch/zevent.h"

#include "log/guarded.h"
#include "log/logline.h"

#include <QThread>

#include <algorithm>

/// One listener that is being called: the lock is released for as long as this lives.
class ZEvent::Delivery
{
public:
    Delivery(ZEvent &event, ListenerHandle handle, std::unique_lock<std::mutex> &lock)
        : m_event(event), m_lock(lock), m_handle(handle), m_outer(event.m_innermost)
    {
        m_event.m_innermost = this;
        m_lock.unlock();
    }

    ~Delivery()
    {
        m_lock.lock();
        m_event.m_innermost = m_outer;
        m_event.m_returned.notify_all();
    }

    Delivery(const Delivery &) = delete;
    Delivery &operator=(const Delivery &) = delete;

    ListenerHandle handle() const { return m_handle; }
    const Delivery *outer() const { return m_outer; }

private:
    ZEvent &m_event;
    std::unique_lock<std::mutex> &m_lock;
    const ListenerHandle m_handle;
    const Delivery *const m_outer;
};

void ZEvent::remove(ListenerHandle handle)
{
    CallBackFunc callback; // destroyed after the lock is released
    std::unique_lock<std::mutex> lock(m_mutex);
    const auto found = std::lower_bound(
        m_subscriptions.begin(), m_subscriptions.end(), handle,
        [](const Subscription &one, ListenerHandle other) { return one.handle < other; });
    if (found == m_subscriptions.end() || found->handle != handle || found->isRemoved) {
        return;
    }
    found->isRemoved = true;
    callback.swap(found->callback);
    ++m_removedCount;
    compact();
    // On the host thread the running callback is a frame below this one.
    if (QThread::currentThread() != thread()) {
        m_returned.wait(lock, [this, handle] { return !isRunning(handle); });
    }
}

void ZEvent::removeAll()
{
    std::vector<Subscription> removed;
    const std::lock_guard<std::mutex> lock(m_mutex);
    removed.swap(m_subscriptions);
    m_removedCount = 0;
}

void ZEvent::deliver()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    const std::size_t count = m_subscriptions.size();
    for (std::size_t index = 0; index < count; ++index) {
        const Subscription subscription = m_subscriptions[index];
        if (subscription.isRemoved || !subscription.callback) {
            continue;
        }
        const Delivery delivery(*this, subscription.handle, lock);
        guarded([&] { subscription.callback({}); },
                [] { logError("deliver", "exception from a listener"); });
    }
    compact();
}

bool ZEvent::isRunning(ListenerHandle handle) const
{
    for (const Delivery *delivery = m_innermost; delivery; delivery = delivery->outer()) {
        if (delivery->handle() == handle) {
            return true;
        }
    }
    return false;
}

/// Rarely enough that a removal costs the same on average however many subscriptions there are.
void ZEvent::compact()
{
    if (m_innermost || m_removedCount <= m_subscriptions.size() / 2) {
        return;
    }
    const auto isRemoved = [](const Subscription &subscription) { return subscription.isRemoved; };
    m_subscriptions.erase(std::remove_if(m_subscriptions.begin(), m_subscriptions.end(), isRemoved),
                          m_subscriptions.end());
    m_removedCount = 0;
}
