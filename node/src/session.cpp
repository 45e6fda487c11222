#include "session.h"

#include <utility>

void Session::start(const StartRequest &request, const EarlyListeners &listeners)
{
    SharedFramework &shared = SharedFramework::instance();
    std::string outcome = shared.join(request);
    if (outcome == "started" || outcome == "joined") {
        const std::string refused = listenTo(listeners);
        if (!refused.empty()) {
            endSubscriptions();
            shared.leave();
            outcome = "task " + refused;
        } else if (!keepShare()) {
            endSubscriptions();
            shared.abandon();
        }
    }
    m_mailbox->post(Mailbox::Kind::outcome, m_id, outcome);
}

bool Session::prepareStop()
{
    m_mailbox->silence();
    return takeShare();
}

void Session::stop()
{
    endSubscriptions();
    SharedFramework::instance().leave();
    m_mailbox->post(Mailbox::Kind::outcome, m_id, {});
}

void Session::abandon()
{
    m_mailbox->close();
    if (takeShare()) {
        endSubscriptions();
        SharedFramework::instance().abandon();
    }
}

/// \return the first task type that was refused, or nothing.
std::string Session::listenTo(const EarlyListeners &listeners)
{
    for (const auto &[id, event] : listeners.events) {
        listen(id, event);
    }
    for (const auto &[id, typeName] : listeners.tasks) {
        if (!subscribeTask(id, typeName)) {
            return typeName;
        }
    }
    return {};
}

bool Session::listen(ReceiverId id, const std::string &event)
{
    auto callback = std::make_unique<EventCallback>(m_mailbox, id);
    const auto handle =
        SharedFramework::instance().framework()->addListener(event.c_str(), callback.get());
    if (handle == 0) {
        return false;
    }
    m_listeners[id] = {std::move(callback), handle};
    return true;
}

void Session::unlisten(ReceiverId id)
{
    const auto found = m_listeners.find(id);
    if (found != m_listeners.end()) {
        // The callback is deleted afterwards: it is not running any more when this returns.
        SharedFramework::instance().framework()->removeListener(found->second.handle);
        m_listeners.erase(found);
    }
}

bool Session::subscribeTask(ReceiverId id, const std::string &typeName)
{
    SharedFramework &shared = SharedFramework::instance();
    TaskRelay &relay = shared.taskRelay(typeName);
    if (!relay.subscribe(*shared.framework(), m_mailbox, id)) {
        return false;
    }
    m_tasks[id] = &relay;
    return true;
}

/// \return false when the environment has ended meanwhile.
bool Session::keepShare()
{
    SharedFramework::instance().replies().join(m_mailbox);
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_hasShare = !m_isAbandoned;
    return m_hasShare;
}

/// \return whether there was a share, which the caller must return now.
bool Session::takeShare()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_isAbandoned = true;
    return std::exchange(m_hasShare, false);
}

void Session::endSubscriptions()
{
    SharedFramework::instance().replies().leave(m_mailbox);
    while (!m_listeners.empty()) {
        unlisten(m_listeners.begin()->first);
    }
    for (const auto &[id, relay] : m_tasks) {
        relay->unsubscribe(id);
    }
    m_tasks.clear();
}
