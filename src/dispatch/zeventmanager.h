#pragma once

#include "dispatch/callbackfunc.h"
#include "zelectronframework/zelectronframework.h"

#include <QObject>
#include <QString>

#include <array>
#include <cstddef>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

/// The host's subscriptions to the events of the account binding.
///
/// Lives on the host thread and belongs to the application; its functions are callable from any
/// thread. Every event is delivered on the host thread, because the manager is the context of its
/// connections: so at most one thread runs callbacks, and removeListener can wait for it.
///
/// There is one connection for each event, made before the host can subscribe. Qt publishes a new
/// connection to the emitting thread without a memory barrier, which on Arm is not enough for
/// connections that come and go on other threads.
class ZEventManager : public QObject
{
public:
    using ListenerHandle = zelectronframeworkspace::ListenerHandle;

    explicit ZEventManager(QObject *parent);
    ~ZEventManager() override;

    /// \param path "account.event"; see kEvents in the source for the seven events.
    /// \return 0 when there is no such event, or no account binding to connect to.
    ListenerHandle addListener(const QString &path, const CallBackFunc &callback);

    /// When it has returned on another thread than the host thread, the callback is not running and
    /// will not be entered. Unknown handles are ignored.
    void removeListener(ListenerHandle handle);

    void removeAllListeners();

private:
    class Subscription;
    using Subscriptions = std::vector<std::shared_ptr<Subscription>>;
    static constexpr std::size_t kEventCount = 7;

    void deliver(std::size_t event);
    std::shared_ptr<const Subscriptions> subscriptionsTo(std::size_t event);
    void end(Subscription &subscription);

    std::mutex m_mutex; // guards everything below; held over no callback
    std::map<ListenerHandle, std::shared_ptr<Subscription>> m_subscriptions;
    // What deliver goes through, in the order of subscribing; null when it has to be made anew.
    std::array<std::shared_ptr<const Subscriptions>, kEventCount> m_deliveryLists;
};
