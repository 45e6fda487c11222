#pragma once

#include "mailbox.h"

#include "zelectronframework/zelectronframework.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

/// \file
/// Callback objects that the framework gets. None of them waits for JavaScript, so that the
/// JavaScript thread may wait for one of them to return. Those of calls are in replies.h.

/// Posts every delivery of one subscription. Thread: host thread.
class EventCallback : public zelectronframeworkspace::IElectronCallback
{
public:
    EventCallback(std::shared_ptr<Mailbox> mailbox, ReceiverId id)
        : m_mailbox(std::move(mailbox)), m_id(id)
    {
    }
    void onCallback(const char *text, std::size_t length) override;

private:
    const std::shared_ptr<Mailbox> m_mailbox;
    const ReceiverId m_id;
};

/// The one callback of a task type in the process, handed on to whoever subscribed: the framework
/// takes a single callback for the meeting messages of a run. Never destroyed.
///
/// Thread: onCallback on library threads, the others on any.
class TaskRelay : public zelectronframeworkspace::IElectronCallback
{
public:
    explicit TaskRelay(std::string typeName) : m_typeName(std::move(typeName)) {}

    void onCallback(const char *text, std::size_t length) override;

    /// Registers with the framework first, unless that was done in this run.
    /// \return false when the framework refused.
    bool subscribe(zelectronframeworkspace::IElectronFramework &framework,
                   const std::shared_ptr<Mailbox> &mailbox, ReceiverId id);
    void unsubscribe(ReceiverId id);

    /// The framework was stopped.
    void forgetRegistration() { m_isRegistered = false; }

private:
    struct Subscriber
    {
        std::shared_ptr<Mailbox> mailbox;
        ReceiverId id;
    };

    const std::string m_typeName;
    std::atomic<bool> m_isRegistered{false};
    std::mutex m_mutex; // guards m_subscribers
    std::vector<Subscriber> m_subscribers;
};
