#include "callbacks.h"

#include <algorithm>
#include <cstring>
#include <utility>

using zelectronframeworkspace::IElectronCallback;
using zelectronframeworkspace::IElectronFramework;

void EventCallback::onCallback(const char *, std::size_t)
{
    m_mailbox->post(m_id, {}); // an event has no data
}

class PendingReplies::ReplyCallback : public IElectronCallback
{
public:
    ReplyCallback(PendingReplies &owner, std::shared_ptr<Mailbox> mailbox, ReceiverId id,
                  bool isKept)
        : m_owner(owner), m_mailbox(std::move(mailbox)), m_id(id), m_isKept(isKept)
    {
    }

    void onCallback(const char *text, std::size_t) override
    {
        m_mailbox->post(m_id, text);
        if (!m_isKept) {
            m_owner.remove(this); // deletes this
        }
    }

private:
    PendingReplies &m_owner;
    const std::shared_ptr<Mailbox> m_mailbox;
    const ReceiverId m_id;
    const bool m_isKept;
};

IElectronCallback *PendingReplies::add(std::shared_ptr<Mailbox> mailbox, ReceiverId id, bool isKept)
{
    auto callback = std::make_unique<ReplyCallback>(*this, std::move(mailbox), id, isKept);
    IElectronCallback *const added = callback.get();
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_callbacks.emplace(added, std::move(callback));
    return added;
}

void PendingReplies::remove(IElectronCallback *callback)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_callbacks.erase(callback);
}

void PendingReplies::clear()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_callbacks.clear();
}

std::size_t PendingReplies::count() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_callbacks.size();
}

void TaskRelay::onCallback(const char *text, std::size_t)
{
    std::vector<Subscriber> subscribers;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        subscribers = m_subscribers;
    }
    for (const Subscriber &subscriber : subscribers) {
        subscriber.mailbox->post(subscriber.id, text);
    }
}

bool TaskRelay::subscribe(IElectronFramework &framework, const std::shared_ptr<Mailbox> &mailbox,
                          ReceiverId id)
{
    {
        // Before the registration, which may bring the first message.
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_subscribers.push_back({mailbox, id});
    }
    if (m_isRegistered.exchange(true) || framework.registerCallbackFunc(m_typeName, this)) {
        return true;
    }
    m_isRegistered = false;
    unsubscribe(mailbox.get(), id);
    return false;
}

void TaskRelay::unsubscribe(const Mailbox *mailbox, ReceiverId id)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_subscribers.erase(std::remove_if(m_subscribers.begin(), m_subscribers.end(),
                                       [&](const Subscriber &subscriber) {
                                           return subscriber.mailbox.get() == mailbox &&
                                                  subscriber.id == id;
                                       }),
                        m_subscribers.end());
}
