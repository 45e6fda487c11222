#pragma once

#include "callbacks.h"

#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

/// What a session is started with.
struct StartRequest
{
    std::string library;
    std::vector<std::string> preloaded;
    std::string settings;
    /// Listened to before anybody learns of the start, so that no early event is missed.
    std::vector<std::pair<ReceiverId, std::string>> events;
};

/// A framework object of JavaScript: its share of the framework and its subscriptions.
///
/// start and stop run on a thread of their own; everything else is called on the JavaScript thread.
/// Subscriptions are made and ended only by the thread that has the share: JavaScript between the
/// outcome of start and the call of stop.
class Session
{
public:
    Session(std::shared_ptr<Mailbox> mailbox, ReceiverId id)
        : m_mailbox(std::move(mailbox)), m_id(id)
    {
    }

    /// Posts the outcome to the session's own receiver, as SharedFramework::join words it.
    void start(const StartRequest &request);

    /// \return false when there is no share to give back, and stop must not be called then.
    bool prepareStop();
    /// \param done receiver of the empty text that tells the end.
    void stop(ReceiverId done);

    /// The environment ends: gives the share back, or sees to it that a start under way does.
    void abandon();

    bool listen(ReceiverId id, const std::string &event);
    void unlisten(ReceiverId id);
    bool subscribeTask(ReceiverId id, const std::string &typeName);
    void unsubscribeTask(ReceiverId id);

private:
    struct Listener
    {
        std::unique_ptr<EventCallback> callback;
        zelectronframeworkspace::ListenerHandle handle;
    };

    bool takeShare();
    void endSubscriptions();

    const std::shared_ptr<Mailbox> m_mailbox;
    const ReceiverId m_id;
    std::unordered_map<ReceiverId, Listener> m_listeners;
    std::unordered_map<ReceiverId, TaskRelay *> m_tasks;

    std::mutex m_mutex; // guards the two below; held over no call out
    bool m_hasShare = false;
    bool m_isAbandoned = false;
};
