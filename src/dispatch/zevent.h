#pragma once

#include "base/callbackfunc.h"
#include "zelectronframework/zelectronframework.h"

#include <QObject>

#include <condition_variable>
#include <mutex>
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
        m_subscriptions.push_back({nextHandle(), callback, false});
        return m_subscriptions.back().handle;
    }

    /// When it has returned on another thread than the host thread, the callback is not running and
    /// will not be entered. Unknown handles are ignored.
    void remove(ListenerHandle handle);

    void removeAll();

public Q_SLOTS:
    /// Calls the listeners in the order of subscribing. One that is added meanwhile receives the
    /// next event, one that is removed meanwhile is skipped.
    void deliver();

private:
    struct Subscription
    {
        ListenerHandle handle;
        CallBackFunc callback;
        bool isRemoved;
    };
    class Delivery;

    bool isRunning(ListenerHandle handle) const;
    void compact();

    std::mutex m_mutex; // guards everything below; held over no callback
    std::condition_variable m_returned;
    std::vector<Subscription> m_subscriptions; // by handle; their places stay during a delivery
    std::size_t m_removedCount = 0;
    const Delivery *m_innermost = nullptr; // a listener may raise the event again
};
