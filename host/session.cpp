#include "session.h"

#include "standins.h"

namespace zefhost {

namespace {

/// How soon a wait notices that it was interrupted: a signal handler cannot notify.
constexpr Session::Milliseconds kInterruptSlice{100};

std::string secondsText(Session::Milliseconds time)
{
    char text[32];
    std::snprintf(text, sizeof text, "%g s", static_cast<double>(time.count()) / 1000);
    return text;
}

/// Whether the mock is told to give answers that it holds.
bool isRelease(const Command &command)
{
    std::string error;
    const Json told = parseJson(command.json, error).value_or(Json());
    return told.is_object() && (told.contains("release") || told.contains("releaseNth"));
}

} // namespace

std::atomic<bool> Session::s_isInterrupted{false};

/// Reads the text of one delivery and hands it on.
class Session::Receiver final : public zelectronframeworkspace::IElectronCallback
{
public:
    Receiver(Session &session, Handler handler) : m_session(session), m_handler(std::move(handler))
    {
    }

    void onCallback(const char *text, std::size_t length) override
    {
        try {
            const bool isCounted = length != zelectronframeworkspace::kLengthNotGiven;
            const std::string whole = isCounted ? std::string(text, length) : std::string(text);
            std::string error;
            const std::optional<Json> body = parseObject(whole, error);
            if (!body) {
                m_session.fail("delivery", "not readable", error);
            }
            m_handler(body.value_or(Json::object()));
        } catch (...) {
            ++m_session.m_unexpected; // nothing may be thrown into the library
        }
    }

private:
    Session &m_session;
    Handler m_handler;
};

Session::Session(zelectronframeworkspace::IElectronFramework &framework, Printer &printer,
                 Milliseconds limit)
    : m_framework(framework), m_printer(printer), m_limit(limit)
{
}

Session::~Session()
{
    stop();
}

bool Session::start(const std::string &settings)
{
    m_isRunning = true; // a failed start needs uninit as well
    m_isStarted = m_framework.init(settings.c_str());
    m_threads.findHostThread();
    return m_isStarted;
}

void Session::finish()
{
    if (m_replay) {
        report(m_replay->finish()); // calls without a recorded answer need none now
    } else {
        waitForAnswers(m_limit);
    }
    stop();
}

void Session::stop()
{
    if (!m_isRunning) {
        return;
    }
    m_isRunning = false;
    for (const auto &[path, handle] : m_listeners) {
        m_framework.removeListener(handle);
    }
    if (!m_framework.uninit() && m_isStarted) {
        fail("uninit", "", "the framework did not stop");
    }
}

void Session::beginReplay()
{
    for (const Command &subscription : m_replay->subscriptions()) {
        subscription.verb == Verb::listen ? listen(subscription) : registerTask(subscription);
    }
    m_replay->begin();
}

void Session::run(const Command &command)
{
    // With a recording, beginReplay() has subscribed.
    switch (command.verb) {
    case Verb::call:
        return call(command);
    case Verb::asynCall:
        return asynCall(command);
    case Verb::listen:
        return m_replay ? void() : listen(command);
    case Verb::unlisten:
        return unlisten(command);
    case Verb::task:
        return m_replay ? void() : registerTask(command);
    case Verb::waitEvent:
        return waitForArrival(command, "event");
    case Verb::waitTask:
        return waitForArrival(command, "task");
    case Verb::waitAnswers:
        return waitForAnswers(command.limit.value_or(m_limit));
    case Verb::linger:
        return linger(command);
    case Verb::raise:
    case Verb::office:
    case Verb::mock:
        return tellAccountLibrary(command);
    case Verb::expect:
        return expect(command);
    case Verb::note:
        return m_printer.note(command.name);
    }
}

void Session::call(const Command &command)
{
    const auto replies = std::make_shared<std::atomic<int>>(0);
    Receiver &receiver = newReceiver(replyHandler(command, "call", replies));
    if (!m_framework.call(command.name.c_str(), command.json.c_str(), &receiver)) {
        fail("call", command.name, "refused: the framework is not running");
    } else if (*replies == 0) {
        fail("call", command.name, "returned without a reply");
    }
}

void Session::asynCall(const Command &command)
{
    const int number = ++m_requests;
    const Handler handler =
        replyHandler(command, "asynCall", std::make_shared<std::atomic<int>>(0));
    Receiver &receiver = newReceiver([this, handler, number](const Json &body) {
        handler(body);
        noteAnswer(number);
    });
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_missingAnswers[number] = command.name;
    }
    m_isCallOnItsWay = true;
    if (!m_framework.asynCall(command.name.c_str(), command.json.c_str(), &receiver)) {
        fail("asynCall", command.name, "refused: the framework is not running");
        noteAnswer(number);
    }
}

void Session::noteAnswer(int number)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_missingAnswers.erase(number);
    m_arrived.notify_all();
}

Session::Handler Session::replyHandler(const Command &command, const std::string &operation,
                                       const std::shared_ptr<std::atomic<int>> &replies)
{
    const std::string wanted = command.failExpected ? "fail" : "ok";
    return [this, replies, operation, wanted, path = command.name, id = command.id,
            asked = Clock::now()](const Json &body) {
        const std::chrono::duration<double, std::milli> passed = Clock::now() - asked;
        const bool wasExpected = m_replay || resultOf(body) == wanted;
        m_unexpected += wasExpected ? 0 : 1;
        m_printer.reply({operation, path, body, m_threads.current(), passed.count(), wasExpected});
        const bool isFirst = ++*replies == 1;
        if (m_replay && isFirst) {
            m_replay->replied(path, id, body);
        } else if (!m_replay && !isFirst) {
            fail(operation, path, "answered more than once");
        }
    };
}

void Session::listen(const Command &command)
{
    Receiver &receiver = newReceiver([this, path = command.name](const Json &body) {
        m_printer.event(path, body, m_threads.current());
        noteArrival(path);
        if (m_replay) {
            m_replay->delivered("event " + path, body);
        }
    });
    const auto handle = m_framework.addListener(command.name.c_str(), &receiver);
    if (handle != 0) {
        m_listeners.emplace(command.name, handle);
    }
    report("listen", command, handle != 0);
}

void Session::unlisten(const Command &command)
{
    const auto [first, last] = m_listeners.equal_range(command.name);
    const bool isKnown = first != last;
    for (auto at = first; at != last; ++at) {
        m_framework.removeListener(at->second);
    }
    m_listeners.erase(first, last);
    report("unlisten", command, isKnown);
}

void Session::registerTask(const Command &command)
{
    Receiver &receiver = newReceiver(
        [this, type = command.name](const Json &message) { taskArrived(type, message); });
    report("task", command, m_framework.registerCallbackFunc(command.name.c_str(), &receiver));
}

void Session::taskArrived(const std::string &type, const Json &message)
{
    m_printer.task(type, message, m_threads.current());
    noteArrival(type);
    if (m_replay) {
        m_replay->delivered("task " + type, Json{{"message", message}});
    }
    const Json task = message.value("dataType", Json());
    if (task.is_string() && task != type) {
        noteArrival(task.get<std::string>());
    }
}

void Session::waitForArrival(const Command &command, const char *operation)
{
    const Milliseconds limit = command.limit.value_or(m_limit);
    const bool hasArrived = waitUntil(Clock::now() + limit, [this, &command] {
        int &count = m_arrivals[command.name];
        return count > 0 && count--;
    });
    if (!hasArrived) {
        fail(std::string("wait for ") + operation, command.name,
             isInterrupted() ? "interrupted" : "nothing came within " + secondsText(limit));
    }
}

void Session::waitForAnswers(Milliseconds limit)
{
    const auto haveAll = [this] { return m_missingAnswers.empty(); };
    if (waitUntil(Clock::now() + limit, haveAll)) {
        return;
    }
    std::map<int, std::string> missing; // each is reported once
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        missing.swap(m_missingAnswers);
    }
    for (const auto &[number, path] : missing) {
        fail("asynCall", path,
             isInterrupted() ? "interrupted" : "no answer within " + secondsText(limit));
    }
}

void Session::linger(const Command &command)
{
    const auto never = [] { return false; };
    const auto end = command.limit ? Clock::now() + *command.limit : Clock::time_point::max();
    waitUntil(end, never);
}

void Session::expect(const Command &command)
{
    if (!m_replay) {
        return fail("got", command.json, "only a recording says what was received");
    }
    report(m_replay->expect(command, m_limit, isInterrupted));
}

void Session::tellAccountLibrary(const Command &command)
{
    // A recording says what was told after which call; a script does not wait.
    const bool isInOrder = !m_replay || haveCallsArrived();
    if (m_replay && isRelease(command)) {
        waitForMock(static_cast<int>(m_limit.count())); // it holds what it is to hold then
    }
    switch (command.verb) {
    case Verb::raise:
        return report("raise", command, isInOrder && raiseEvent(command.name));
    case Verb::office:
        return report("message of the office suite", command,
                      isInOrder && sendOfficeMessage(command.json));
    default:
        return report("mock", command, isInOrder && tellMock(command.json));
    }
}

/// Waits until all asynchronous calls have reached the closed libraries, which they do in their order.
bool Session::haveCallsArrived()
{
    if (!m_isCallOnItsWay) {
        return true;
    }
    constexpr const char *kMarker = "marker";
    Receiver &receiver = newReceiver([this](const Json & /*reply*/) { noteArrival(kMarker); });
    m_isCallOnItsWay = false;
    return m_framework.asynCall("utils.getLogPath", "{}", &receiver) &&
           waitUntil(Clock::now() + m_limit,
                     [this] { return m_arrivals[kMarker] > 0 && m_arrivals[kMarker]--; });
}

void Session::report(const std::vector<Finding> &findings)
{
    for (const Finding &finding : findings) {
        fail("replay", "line " + std::to_string(finding.line), finding.text);
    }
}

bool Session::waitUntil(Clock::time_point end, const std::function<bool()> &condition)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    while (!condition()) {
        const auto now = Clock::now();
        if (now >= end || isInterrupted()) {
            return false;
        }
        m_arrived.wait_until(lock, std::min(end, now + kInterruptSlice));
    }
    return true;
}

Session::Receiver &Session::newReceiver(Handler handler)
{
    m_receivers.push_back(std::make_unique<Receiver>(*this, std::move(handler)));
    return *m_receivers.back();
}

void Session::noteArrival(const std::string &name)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    ++m_arrivals[name];
    m_arrived.notify_all();
}

void Session::report(const std::string &operation, const Command &command, bool isOk)
{
    const bool wasExpected = isOk != command.failExpected;
    m_unexpected += wasExpected ? 0 : 1;
    m_printer.outcome(operation, command.name, isOk, wasExpected);
}

void Session::fail(const std::string &operation, const std::string &name, const std::string &text)
{
    ++m_unexpected;
    m_printer.failure(operation, name, text);
}

} // namespace zefhost
