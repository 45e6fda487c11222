#include "environment.h"

#include "sharedframework.h"

bool Environment::attach(napi_env env)
{
    auto *const environment = new Environment;
    const auto destroy = [](napi_env, void *data, void *) {
        delete static_cast<Environment *>(data);
    };
    if (napi_set_instance_data(env, environment, destroy, nullptr) != napi_ok) {
        delete environment;
        return false;
    }
    return napi_add_env_cleanup_hook(env, &Environment::end, environment) == napi_ok;
}

Environment &Environment::of(napi_env env)
{
    void *data = nullptr;
    napi_get_instance_data(env, &data);
    return *static_cast<Environment *>(data);
}

std::shared_ptr<Session> Environment::addSession(ReceiverId id)
{
    auto session = std::make_shared<Session>(m_mailbox, id);
    m_sessions[id] = session;
    return session;
}

std::shared_ptr<Session> Environment::session(ReceiverId id) const
{
    const auto found = m_sessions.find(id);
    return found == m_sessions.end() ? nullptr : found->second;
}

void Environment::end(void *environment)
{
    auto &self = *static_cast<Environment *>(environment);
    self.m_mailbox->close();
    for (const auto &[id, session] : self.m_sessions) {
        session->abandon();
    }
    self.m_sessions.clear();
    SharedFramework::instance().settle();
}
