#include "replay.h"

#include "standins.h"

namespace zefhost {

namespace {

constexpr Replay::Milliseconds kQuiet{50};
constexpr int kLongestMockWait = 5000; // ms
constexpr Replay::Milliseconds kInterruptSlice{100};

Json valueOf(const Json &object, const char *key)
{
    return object.is_object() && object.contains(key) ? object[key] : Json();
}

/// Id of the call whose reply a line holds; -1 when it holds none.
long replyIdOf(const Json &got)
{
    const Json id = valueOf(got, "reply");
    return id.is_number_integer() ? id.get<long>() : -1;
}

Json parsedText(const std::string &text)
{
    std::string error;
    return parseJson(text, error).value_or(Json());
}

/// The content of the delivery that a recorded line describes.
Json contentOf(Json got)
{
    if (got.contains("event")) {
        return Json::object();
    }
    for (const char *key : {"reply", "task"}) {
        got.erase(key);
    }
    return got;
}

std::string replyKey(const std::string &method)
{
    return "reply of " + method;
}

} // namespace

Replay::Replay(const Json &header, const std::vector<Command> &commands)
    : m_comparison(rulesFrom(valueOf(header, "mayDiffer"))),
      m_isRunningAtStart(valueOf(header, "began") == "running")
{
    m_comparison.addGiven(compact(valueOf(header, "settings")));
    for (const Command &command : commands) {
        m_lastLine = command.line;
        const Json got = command.verb == Verb::expect ? parsedText(command.json) : Json::object();
        subscribe(command, got);
        if (command.verb == Verb::expect) {
            if (!got.contains("error")) {
                m_answered.insert(replyIdOf(got));
            }
            continue;
        }
        m_comparison.addGiven(command.json);
        if (command.id >= 0) {
            m_methods[command.id] = command.name;
        }
    }
}

void Replay::subscribe(const Command &command, const Json &got)
{
    constexpr std::pair<const char *, Verb> kKinds[] = {{"event", Verb::listen},
                                                        {"task", Verb::task}};
    for (const auto &[key, verb] : kKinds) {
        Command wanted;
        wanted.verb = verb;
        wanted.line = command.line;
        const Json name = valueOf(got, key);
        wanted.name = name.is_string() ? name.get<std::string>() : command.name;
        const bool isMeant = name.is_string() || command.verb == verb;
        if (isMeant && m_subscribed.insert(std::string(key) + ' ' + wanted.name).second) {
            m_subscriptions.push_back(wanted);
        }
    }
}

void Replay::replied(const std::string &method, long id, const Json &body)
{
    if (m_answered.count(id) != 0) { // or else not waited for when it was recorded either
        arrived(replyKey(method), id, body);
    }
}

void Replay::arrived(const std::string &key, long id, const Json &body)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    ++m_count;
    m_arrivals[key].push_back({id, body, !m_hasBegun});
    m_changed.notify_all();
}

void Replay::begin()
{
    if (m_hasBegun) {
        return;
    }
    settle();
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_hasBegun = true;
    if (m_isRunningAtStart) {
        m_arrivals.clear();
    }
}

std::string Replay::keyOf(const Json &got) const
{
    for (const char *key : {"event", "task"}) {
        const Json name = valueOf(got, key);
        if (name.is_string()) {
            return std::string(key) + ' ' + name.get<std::string>();
        }
    }
    const auto method = m_methods.find(replyIdOf(got));
    return replyKey(method == m_methods.end() ? "a call that was not recorded" : method->second);
}

std::vector<Finding> Replay::expect(const Command &command, Milliseconds limit,
                                    const std::function<bool()> &isInterrupted)
{
    const Json got = parsedText(command.json);
    const long id = replyIdOf(got);
    if (id >= 0 && m_answered.count(id) == 0) {
        return {};
    }
    const std::string key = keyOf(got);
    const auto end = std::chrono::steady_clock::now() + limit;
    std::unique_lock<std::mutex> lock(m_mutex);
    std::deque<Arrival> &queue = m_arrivals[key];
    while (queue.empty()) {
        const auto now = std::chrono::steady_clock::now();
        if (now >= end || isInterrupted()) {
            return {{command.line, key + " did not come"}};
        }
        m_changed.wait_until(lock, std::min(end, now + kInterruptSlice));
    }
    const Arrival arrival = queue.front();
    queue.pop_front();
    lock.unlock();
    return judge(command, key, got, arrival);
}

std::vector<Finding> Replay::judge(const Command &command, const std::string &key, const Json &got,
                                   const Arrival &arrival)
{
    std::vector<Finding> findings;
    if (arrival.id != replyIdOf(got)) {
        findings.push_back({command.line, key + ": another call was answered first"});
    }
    if (got.contains("cut")) {
        return findings;
    }
    const std::string subject = key.substr(key.rfind(' ') + 1);
    for (const Difference &difference :
         m_comparison.differences(subject, contentOf(got), arrival.body)) {
        findings.push_back({command.line, key + ": " + difference.path + " was " +
                                              difference.recorded + ", now " + difference.found});
    }
    return findings;
}

void Replay::settle()
{
    waitForMock(kLongestMockWait);
    std::unique_lock<std::mutex> lock(m_mutex);
    for (std::size_t before = m_count + 1; before != m_count;) {
        before = m_count;
        m_changed.wait_for(lock, kQuiet, [&] { return m_count != before; });
    }
}

std::vector<Finding> Replay::finish()
{
    settle();
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<Finding> findings;
    for (const auto &[key, queue] : m_arrivals) {
        for (const Arrival &arrival : queue) {
            if (!arrival.isEarly) {
                findings.push_back({m_lastLine, key + " came, which is not in the recording: " +
                                                    compact(arrival.body)});
            }
        }
    }
    return findings;
}

} // namespace zefhost
