#pragma once

#include "session.h"

#include <memory>
#include <unordered_map>

/// The addon's state in one JavaScript environment, which deletes it.
///
/// Thread: JavaScript.
class Environment
{
public:
    /// Attaches one to the environment. Throws when the environment refuses.
    static void attach(napi_env env);
    static Environment &of(napi_env env);

    /// Adds a session with an open mailbox.
    ReceiverId addSession(napi_env env, napi_value collect);
    /// Null when there is none.
    std::shared_ptr<Session> session(ReceiverId id) const;
    void removeSession(ReceiverId id);

private:
    Environment() = default;
    /// Clean-up hook: afterwards nothing is delivered to JavaScript.
    static void end(void *environment);

    std::unordered_map<ReceiverId, std::shared_ptr<Session>> m_sessions;
};
