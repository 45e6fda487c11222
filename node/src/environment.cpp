#include "environment.h"

#include "values.h"

#include <memory>
#include <utility>

void Environment::attach(napi_env env)
{
    std::unique_ptr<Environment> environment(new Environment);
    const auto destroy = [](napi_env, void *data, void *) {
        delete static_cast<Environment *>(data);
    };
    check(napi_set_instance_data(env, environment.get(), destroy, nullptr), "data of ours");
    Environment *const attached = environment.release();
    check(napi_add_env_cleanup_hook(env, &Environment::end, attached), "a clean-up hook");
}

Environment &Environment::of(napi_env env)
{
    void *data = nullptr;
    check(napi_get_instance_data(env, &data), "its own data");
    return *static_cast<Environment *>(data);
}

ReceiverId Environment::addSession(napi_env env, napi_value collect)
{
    const ReceiverId id = SharedFramework::instance().replies().newId();
    auto session = std::make_shared<Session>(id);
    session->mailbox()->open(env, collect);
    m_sessions[id] = std::move(session);
    return id;
}

std::shared_ptr<Session> Environment::session(ReceiverId id) const
{
    const auto found = m_sessions.find(id);
    return found == m_sessions.end() ? nullptr : found->second;
}

void Environment::removeSession(ReceiverId id)
{
    const auto found = m_sessions.find(id);
    if (found != m_sessions.end()) {
        found->second->mailbox()->close();
        m_sessions.erase(found);
    }
}

void Environment::end(void *environment)
{
    auto &self = *static_cast<Environment *>(environment);
    for (const auto &[id, session] : self.m_sessions) {
        session->abandon();
    }
    self.m_sessions.clear();
    SharedFramework::instance().settle();
}
