#pragma once

#include "base/callbackfunc.h"
#include "zelectronframework/zelectronframework.h"

#include <QObject>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <utility>
#include <vector>

/// The subscriptions to one event.
///
/// Lives on the host thread, which alone delivers; the other functions are callable from any
/// thread.
class ZEvent : public QObject
{
    Q_OBJECT

public:
    using ListenerHandle = zelectronframeworkspace::ListenerHandle;

    using QObject::QObject;

    /// \param nextHandle called once, under the lock; each handle is larger than those before it.
    template <typename NextHandle>
    ListenerHandle add(const CallBackFunc &callback, NextHandle nextHandle)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        std::vector<Subscription> &list = m_deliveryCount == 0 ? m_subscriptions : m_added;
        list.emplace_back(nextHandle(), callback);
        return list.back().handle;
    }

    /// When it has returned on a thread other than the host thread, the callback is not running and
    /// will not be called. Unknown handles are ignored.
    void remove(ListenerHandle handle);

    void removeAll();

public Q_SLOTS:
    /// Calls the listeners in order of subscription. A listener added during delivery receives the
    /// next event; one removed during delivery is skipped.
    void deliver();

private:
    /// One callback and the state to remove it while the host thread may be calling it.
    struct Subscription
    {
        Subscription(ListenerHandle ownHandle, CallBackFunc ownCallback)
            : handle(ownHandle), callback(std::move(ownCallback))
        {
        }
        /// Only while nothing is being delivered.
        Subscription(Subscription &&other) noexcept { *this = std::move(other); }
        Subscription &operator=(Subscription &&other) noexcept;

        ListenerHandle handle = 0;
        CallBackFunc callback;
        // Sequentially consistent: either deliver() sees the removal, or remove() sees the call.
        std::atomic<int> running{0}; ///< calls in progress, nested
        std::atomic<bool> isRemoved{false};
    };
    class Delivery;

    Subscription *find(ListenerHandle handle);
    void compact();

    std::mutex m_mutex; // guards everything below; held over no callback
    std::condition_variable m_returned;
    // In the order of their handles. Neither grows nor shrinks while events are being delivered, so
    // that the host thread iterates over it without the lock.
    std::vector<Subscription> m_subscriptions;
    std::vector<Subscription> m_added; // subscribed during a delivery
    std::size_t m_removedCount = 0;
    int m_deliveryCount = 0; // in progress, possibly nested
};
