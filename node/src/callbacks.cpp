#include "callbacks.h"

#include <algorithm>

void EventCallback::onCallback(const char *, std::size_t)
{
    m_mailbox->post(Mailbox::Kind::event, m_id, {});
}

void TaskRelay::onCallback(const char *text, std::size_t)
{
    std::vector<Subscriber> subscribers;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        subscribers = m_subscribers;
    }
    for (const Subscriber &subscriber : subscribers) {
        subscriber.mailbox->post(Mailbox::Kind::message, subscriber.id, text);
    }
}

bool TaskRelay::subscribe(zelectronframeworkspace::IElectronFramework &framework,
                          const std::shared_ptr<Mailbox> &mailbox, ReceiverId id)
{
    {
        // Before the registration, which may bring the first message.
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_subscribers.push_back({mailbox, id});
    }
    if (m_isRegistered.exchange(true) || framework.registerCallbackFunc(m_typeName.c_str(), this)) {
        return true;
    }
    m_isRegistered = false;
    unsubscribe(id);
    return false;
}

void TaskRelay::unsubscribe(ReceiverId id)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto isIt = [id](const Subscriber &subscriber) { return subscriber.id == id; };
    m_subscribers.erase(std::remove_if(m_subscribers.begin(), m_subscribers.end(), isIt),
                        m_subscribers.end());
}
