#pragma once

#include "callbacks.h"
#include "sharedframework.h"

#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

/// Listeners that are added before the start is reported, so that no early delivery is missed.
struct EarlyListeners
{
    std::vector<std::pair<ReceiverId, std::string>> events;
    std::vector<std::pair<ReceiverId, std::string>> tasks;
};

/// One run of a framework object of JavaScript: its mailbox, its share of the framework and its
/// subscriptions.
///
/// start and stop run on a thread of their own; everything else is called on the JavaScript thread.
/// Subscriptions are made and ended only by the thread that has the share: JavaScript between the
/// outcome of start and the call of stop.
class Session
{
public:
    explicit Session(ReceiverId id) : m_id(id) {}

    const std::shared_ptr<Mailbox> &mailbox() const { return m_mailbox; }

    /// Posts the outcome under the session's own id, as SharedFramework::join words it, or "task"
    /// with the type that was refused.
    void start(const StartRequest &request, const EarlyListeners &listeners);

    /// Afterwards only the outcome of stop is delivered.
    /// \return false when there is no share to give back, and stop must not be called then.
    bool prepareStop();
    /// Posts an empty outcome in the end.
    void stop();

    /// The environment ends: returns the share, or makes a start in progress return it.
    void abandon();

    bool listen(ReceiverId id, const std::string &event);
    void unlisten(ReceiverId id);
    /// Until the session ends.
    bool subscribeTask(ReceiverId id, const std::string &typeName);

private:
    struct Listener
    {
        std::unique_ptr<EventCallback> callback;
        zelectronframeworkspace::ListenerHandle handle;
    };

    std::string listenTo(const EarlyListeners &listeners);
    bool keepShare();
    bool takeShare();
    void endSubscriptions();

    const ReceiverId m_id;
    const std::shared_ptr<Mailbox> m_mailbox = std::make_shared<Mailbox>();
    std::unordered_map<ReceiverId, Listener> m_listeners;
    std::unordered_map<ReceiverId, TaskRelay *> m_tasks;

    std::mutex m_mutex; // guards the two below; held over no call out
    bool m_hasShare = false;
    bool m_isAbandoned = false;
};
