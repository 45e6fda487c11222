#include "environment.h"
#include "libraries.h"
#include "sharedframework.h"
#include "values.h"

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
        napi_create_string_utf8(m_env, text, length, &m_value);
    }

    napi_value value() const { return m_value; }

private:
    const napi_env m_env;
    napi_value m_value = nullptr;
};

Session &sessionOf(napi_env env, napi_value id)
{
    const auto session = Environment::of(env).session(idFrom(env, id));
    if (!session) {
        throw BadValue("id of a session");
    }
    return *session;
}

// open(collect): collect() is called when there is something to take, from now on.
napi_value open(napi_env env, const Arguments &arguments)
{
    if (!Environment::of(env).mailbox()->open(env, arguments[0])) {
        throw BadValue("a function, once");
    }
    return kNothing;
}

// take() -> [id, text, id, text, ...], empty when collect will be called again
napi_value take(napi_env env, const Arguments &)
{
    return Environment::of(env).mailbox()->take(env);
}

// keepAlive(isKept): whether the event loop goes on without anything else to do.
napi_value keepAlive(napi_env env, const Arguments &arguments)
{
    Environment::of(env).mailbox()->keepAlive(env, flagFrom(env, arguments[0]));
    return kNothing;
}

// start(session, library, preloaded[], settings, events[]); the outcome is dispatched.
napi_value start(napi_env env, const Arguments &arguments)
{
    const ReceiverId id = idFrom(env, arguments[0]);
    StartRequest request;
    request.library = textFrom(env, arguments[1]);
    request.preloaded = textsFrom(env, arguments[2]);
    request.settings = textFrom(env, arguments[3]);
    // "id event" each
    for (const std::string &event : textsFrom(env, arguments[4])) {
        const auto end = event.find(' ');
        request.events.emplace_back(std::stoll(event), event.substr(end + 1));
    }
    Environment &environment = Environment::of(env);
    try {
        SharedFramework::instance().runApart(
            [session = environment.addSession(id), request] { session->start(request); });
    } catch (...) {
        environment.removeSession(id);
        throw;
    }
    return kNothing;
}

// stop(session, done) -> boolean: the end is dispatched to done, unless nothing was started
napi_value stop(napi_env env, const Arguments &arguments)
{
    const ReceiverId id = idFrom(env, arguments[0]);
    Environment &environment = Environment::of(env);
    const ReceiverId done = idFrom(env, arguments[1]);
    const auto session = environment.session(id);
    environment.removeSession(id);
    const bool isStopping = session && session->prepareStop();
    if (isStopping) {
        SharedFramework::instance().runApart([session, done] { session->stop(done); });
    }
    return valueOf(env, isStopping);
}

// listen(session, id, event) -> boolean
napi_value listen(napi_env env, const Arguments &arguments)
{
    return valueOf(env, sessionOf(env, arguments[0])
                            .listen(idFrom(env, arguments[1]), textFrom(env, arguments[2])));
}

// unlisten(session, id)
napi_value unlisten(napi_env env, const Arguments &arguments)
{
    sessionOf(env, arguments[0]).unlisten(idFrom(env, arguments[1]));
    return kNothing;
}

// subscribeTask(session, id, type) -> boolean
napi_value subscribeTask(napi_env env, const Arguments &arguments)
{
    return valueOf(env, sessionOf(env, arguments[0])
                            .subscribeTask(idFrom(env, arguments[1]), textFrom(env, arguments[2])));
}

// unsubscribeTask(session, id)
napi_value unsubscribeTask(napi_env env, const Arguments &arguments)
{
    sessionOf(env, arguments[0]).unsubscribeTask(idFrom(env, arguments[1]));
    return kNothing;
}

// call(method, params | undefined) -> text of the reply, or undefined when nothing runs
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

// asynCall(id, method, params | undefined, isKept) -> boolean; the reply is dispatched
napi_value asynCall(napi_env env, const Arguments &arguments)
{
    SharedFramework &shared = SharedFramework::instance();
    IElectronFramework *const framework = shared.framework();
    if (!framework) {
        return valueOf(env, false);
    }
    const std::string method = textFrom(env, arguments[1]);
    const bool hasParams = isText(env, arguments[2]);
    const std::string params = hasParams ? textFrom(env, arguments[2]) : std::string();
    IElectronCallback *const callback = shared.replies().add(
        Environment::of(env).mailbox(), idFrom(env, arguments[0]), flagFrom(env, arguments[3]));
    const bool isQueued =
        framework->asynCall(method.c_str(), hasParams ? params.c_str() : nullptr, callback);
    if (!isQueued) {
        shared.replies().remove(callback);
    }
    return valueOf(env, isQueued);
}

// settle(): lets a start or stop that is under way end before the process does
napi_value settle(napi_env, const Arguments &)
{
    SharedFramework::instance().settle();
    return kNothing;
}

// inspect(name, isLoading) -> { path, error }
napi_value inspect(napi_env env, const Arguments &arguments)
{
    const Inspection inspection =
        inspectLibrary(textFrom(env, arguments[0]), flagFrom(env, arguments[1]));
    napi_value object = nullptr;
    napi_create_object(env, &object);
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
    napi_create_object(env, &object);
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
    if (napi_create_function(env, name, NAPI_AUTO_LENGTH, callable<function>, nullptr, &value) ==
        napi_ok) {
        setProperty(env, exports, name, value);
    }
}

} // namespace

NAPI_MODULE_INIT()
{
    if (!Environment::attach(env)) {
        return nullptr;
    }
    define<open>(env, exports, "open");
    define<take>(env, exports, "take");
    define<keepAlive>(env, exports, "keepAlive");
    define<start>(env, exports, "start");
    define<stop>(env, exports, "stop");
    define<listen>(env, exports, "listen");
    define<unlisten>(env, exports, "unlisten");
    define<subscribeTask>(env, exports, "subscribeTask");
    define<unsubscribeTask>(env, exports, "unsubscribeTask");
    define<call>(env, exports, "call");
    define<asynCall>(env, exports, "asynCall");
    define<settle>(env, exports, "settle");
    define<inspect>(env, exports, "inspect");
    define<mock>(env, exports, "mock");
    define<state>(env, exports, "state");
    return exports;
}
