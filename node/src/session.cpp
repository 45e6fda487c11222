#include "session.h"

#include "sharedframework.h"

void Session::start(const StartRequest &request)
{
    SharedFramework &shared = SharedFramework::instance();
    const std::string outcome = shared.join(request.library, request.preloaded, request.settings);
    if (outcome == "started" || outcome == "joined") {
        for (const auto &[id, event] : request.events) {
            listen(id, event);
        }
        bool isAbandoned = false;
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            isAbandoned = m_isAbandoned;
            m_hasShare = !isAbandoned;
        }
        if (isAbandoned) {
            endSubscriptions();
            shared.desert();
        }
    }
    m_mailbox->post(m_id, outcome);
}

bool Session::prepareStop()
{
    return takeShare();
}

void Session::stop(ReceiverId done)
{
    endSubscriptions();
    SharedFramework::instance().leave();
    m_mailbox->post(done, {});
}

void Session::abandon()
{
    if (takeShare()) {
        endSubscriptions();
        SharedFramework::instance().desert();
    }
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
    TaskRelay *const relay = shared.taskRelay(typeName);
    if (!relay || !relay->subscribe(*shared.framework(), m_mailbox, id)) {
        return false;
    }
    m_tasks[id] = relay;
    return true;
}

void Session::unsubscribeTask(ReceiverId id)
{
    const auto found = m_tasks.find(id);
    if (found != m_tasks.end()) {
        found->second->unsubscribe(m_mailbox.get(), id);
        m_tasks.erase(found);
    }
}

/// \return whether there was a share, which now is the caller's to give back.
bool Session::takeShare()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_isAbandoned = true;
    return std::exchange(m_hasShare, false);
}

void Session::endSubscriptions()
{
    while (!m_listeners.empty()) {
        unlisten(m_listeners.begin()->first);
    }
    while (!m_tasks.empty()) {
        unsubscribeTask(m_tasks.begin()->first);
    }
}
