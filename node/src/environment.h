#pragma once

#include "session.h"

#include <memory>
#include <unordered_map>

/// Everything that belongs to one JavaScript environment, which deletes it.
///
/// Thread: JavaScript.
class Environment
{
public:
    /// Attaches one to the environment. \return false when the environment refuses.
    static bool attach(napi_env env);
    static Environment &of(napi_env env);

    const std::shared_ptr<Mailbox> &mailbox() const { return m_mailbox; }

    std::shared_ptr<Session> addSession(ReceiverId id);
    /// Null when there is none.
    std::shared_ptr<Session> session(ReceiverId id) const;
    void removeSession(ReceiverId id) { m_sessions.erase(id); }

private:
    Environment() = default;
    /// Clean-up hook: from here on nothing reaches JavaScript.
    static void end(void *environment);

    const std::shared_ptr<Mailbox> m_mailbox = std::make_shared<Mailbox>();
    std::unordered_map<ReceiverId, std::shared_ptr<Session>> m_sessions;
};
