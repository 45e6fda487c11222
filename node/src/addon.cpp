#include "environment.h"
#include "libraries.h"
#include "sharedframework.h"
#include "values.h"

#include <stdexcept>
#include <system_error>
#include <utility>

using zelectronframeworkspace::IElectronCallback;
using zelectronframeworkspace::IElectronFramework;

namespace {

constexpr napi_value kNothing = nullptr; // undefined in JavaScript

/// Turns the reply of a synchronous call into a value while the text is there.
class SyncReply : public IElectronCallback
{
public:
    explicit SyncReply(napi_env env) : m_env(env) {}

    void onCallback(const char *text, std::size_t length) override
    {
        m_value = valueOf(m_env, std::string_view(text, length));
    }

    napi_value value() const { return m_value; }

private:
    const napi_env m_env;
    napi_value m_value = nullptr;
};

std::shared_ptr<Session> sessionOf(napi_env env, napi_value id)
{
    auto session = Environment::of(env).session(idFrom(env, id));
    if (!session) {
        throw std::runtime_error("there is no such session");
    }
    return session;
}

// newId() -> a number that was not used before in this process
napi_value newId(napi_env env, const Arguments &)
{
    return valueOf(env, SharedFramework::instance().replies().newId());
}

// open(collect) -> session; collect() is called when deliveries are waiting.
napi_value open(napi_env env, const Arguments &arguments)
{
    return valueOf(env, Environment::of(env).addSession(env, arguments[0]));
}

// close(session): nothing is delivered any more.
napi_value close(napi_env env, const Arguments &arguments)
{
    Environment::of(env).removeSession(idFrom(env, arguments[0]));
    return kNothing;
}

// take(session) -> [id, text, id, text, ...], empty when collect will be called again
napi_value take(napi_env env, const Arguments &arguments)
{
    return sessionOf(env, arguments[0])->mailbox()->take(env);
}

// keepAlive(session, isKept): whether the event loop goes on without anything else to do.
napi_value keepAlive(napi_env env, const Arguments &arguments)
{
    sessionOf(env, arguments[0])->mailbox()->keepAlive(env, flagFrom(env, arguments[1]));
    return kNothing;
}

/// From [id, name, id, name, ...].
std::vector<std::pair<ReceiverId, std::string>> namedReceivers(napi_env env, napi_value array)
{
    std::vector<std::pair<ReceiverId, std::string>> named;
    const std::vector<std::string> texts = textsFrom(env, array);
    for (std::size_t i = 0; i + 1 < texts.size(); i += 2) {
        named.emplace_back(std::stoll(texts[i]), texts[i + 1]);
    }
    return named;
}

// start(session, [library, account, settings], [name, file, ...], isJoining, events, tasks), the last
// two as [id text, name, ...]; the outcome is delivered under the session's id.
napi_value start(napi_env env, const Arguments &arguments)
{
    const auto session = sessionOf(env, arguments[0]);
    const std::vector<std::string> texts = textsFrom(env, arguments[1]);
    StartRequest request{texts.at(0), {}, texts.at(1), texts.at(2), flagFrom(env, arguments[3])};
    const std::vector<std::string> closed = textsFrom(env, arguments[2]);
    for (std::size_t i = 0; i + 1 < closed.size(); i += 2) {
        request.closed.push_back({closed[i], closed[i + 1]});
    }
    const EarlyListeners listeners{namedReceivers(env, arguments[4]),
                                   namedReceivers(env, arguments[5])};
    SharedFramework::instance().runApart(
        [session, request, listeners] { session->start(request, listeners); });
    return kNothing;
}

// stop(session) -> boolean: an empty outcome will be delivered, unless nothing was started.
napi_value stop(napi_env env, const Arguments &arguments)
{
    const auto session = sessionOf(env, arguments[0]);
    const bool isStopping = session->prepareStop();
    if (isStopping) {
        try {
            SharedFramework::instance().runApart([session] { session->stop(); });
        } catch (const std::system_error &) {
            session->stop(); // no thread could be started: stop on this one
        }
    }
    return valueOf(env, isStopping);
}

// listen(session, id, event) -> boolean
napi_value listen(napi_env env, const Arguments &arguments)
{
    return valueOf(env, sessionOf(env, arguments[0])
                            ->listen(idFrom(env, arguments[1]), textFrom(env, arguments[2])));
}

// unlisten(session, id)
napi_value unlisten(napi_env env, const Arguments &arguments)
{
    sessionOf(env, arguments[0])->unlisten(idFrom(env, arguments[1]));
    return kNothing;
}

// subscribeTask(session, id, type) -> boolean
napi_value subscribeTask(napi_env env, const Arguments &arguments)
{
    return valueOf(env,
                   sessionOf(env, arguments[0])
                       ->subscribeTask(idFrom(env, arguments[1]), textFrom(env, arguments[2])));
}

// call(method, params | undefined) -> text of the reply, null when it is too long, or undefined when
// nothing runs
napi_value call(napi_env env, const Arguments &arguments)
{
    IElectronFramework *const framework = SharedFramework::instance().framework();
    if (!framework) {
        return kNothing;
    }
    const std::string method = textFrom(env, arguments[0]);
    const bool hasParams = isText(env, arguments[1]);
    const std::string params = hasParams ? textFrom(env, arguments[1]) : std::string();
    SyncReply reply(env);
    framework->call(method.c_str(), hasParams ? params.c_str() : nullptr, &reply);
    return reply.value();
}

// asynCall(session, id, method, params | undefined) -> boolean; the reply is delivered
napi_value asynCall(napi_env env, const Arguments &arguments)
{
    SharedFramework &shared = SharedFramework::instance();
    IElectronFramework *const framework = shared.framework();
    if (!framework) {
        return valueOf(env, false);
    }
    const ReceiverId id = idFrom(env, arguments[1]);
    const std::string method = textFrom(env, arguments[2]);
    const bool hasParams = isText(env, arguments[3]);
    const std::string params = hasParams ? textFrom(env, arguments[3]) : std::string();
    IElectronCallback *const callback =
        shared.replies().add(sessionOf(env, arguments[0])->mailbox(), id);
    const bool isQueued =
        framework->asynCall(method.c_str(), hasParams ? params.c_str() : nullptr, callback);
    if (!isQueued) {
        shared.replies().remove(id);
    }
    return valueOf(env, isQueued);
}

// settle(): waits a short time for a start or stop in progress
napi_value settle(napi_env, const Arguments &)
{
    SharedFramework::instance().settle();
    return kNothing;
}

// inspect(name, isLoading) -> { path, error }
napi_value inspect(napi_env env, const Arguments &arguments)
{
    SharedFramework::instance().beforeInspection();
    const Inspection inspection =
        inspectLibrary(textFrom(env, arguments[0]), flagFrom(env, arguments[1]));
    napi_value object = nullptr;
    check(napi_create_object(env, &object), "an object");
    setProperty(env, object, "path", valueOf(env, inspection.path));
    setProperty(env, object, "error", valueOf(env, inspection.error));
    return object;
}

// mock(command) -> text of the answer, or undefined without the mock
napi_value mock(napi_env env, const Arguments &arguments)
{
    const std::string answer = askMock(textFrom(env, arguments[0]));
    return answer.empty() ? kNothing : valueOf(env, answer);
}

// state() -> { folder, glibc, qt, shares, replies }
napi_value state(napi_env env, const Arguments &)
{
    SharedFramework &shared = SharedFramework::instance();
    napi_value object = nullptr;
    check(napi_create_object(env, &object), "an object");
    setProperty(env, object, "folder", valueOf(env, addonFolder()));
    setProperty(env, object, "glibc", valueOf(env, glibcVersion()));
    setProperty(env, object, "qt", valueOf(env, qtVersion()));
    setProperty(env, object, "shares", valueOf(env, std::int64_t{shared.shares()}));
    setProperty(env, object, "replies",
                valueOf(env, static_cast<std::int64_t>(shared.replies().count())));
    return object;
}

template <Function function>
void define(napi_env env, napi_value exports, const char *name)
{
    napi_value value = nullptr;
    check(napi_create_function(env, name, NAPI_AUTO_LENGTH, callable<function>, nullptr, &value),
          "a function");
    setProperty(env, exports, name, value);
}

} // namespace

NAPI_MODULE_INIT()
{
    try {
        Environment::attach(env);
        define<newId>(env, exports, "newId");
        define<open>(env, exports, "open");
        define<close>(env, exports, "close");
        define<take>(env, exports, "take");
        define<keepAlive>(env, exports, "keepAlive");
        define<start>(env, exports, "start");
        define<stop>(env, exports, "stop");
        define<listen>(env, exports, "listen");
        define<unlisten>(env, exports, "unlisten");
        define<subscribeTask>(env, exports, "subscribeTask");
        define<call>(env, exports, "call");
        define<asynCall>(env, exports, "asynCall");
        define<settle>(env, exports, "settle");
        define<inspect>(env, exports, "inspect");
        define<mock>(env, exports, "mock");
        define<state>(env, exports, "state");
    } catch (const std::exception &failure) {
        throwToJavaScript(env, failure.what());
        return nullptr;
    }
    return exports;
}
