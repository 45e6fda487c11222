#include "stress/callbacks.h"

#include "stress/verdict.h"

#include <algorithm>

using zelectronframeworkspace::kLengthNotGiven;

namespace {

constexpr int kFreed = -1000;

bool isMessage(const std::string &text, const Task &task)
{
    const auto isOf = [&text](const std::string &dataType) {
        const std::string end = R"("dataType":")" + dataType + "\"}";
        return text.size() > end.size() &&
               text.compare(text.size() - end.size(), end.size(), end) == 0;
    };
    return task.dataTypes.empty() ||
           std::any_of(task.dataTypes.begin(), task.dataTypes.end(), isOf);
}

} // namespace

WatchedCallback::~WatchedCallback()
{
    expect(m_inside == 0, "a callback was running when the host could free it");
    m_inside = kFreed;
}

void WatchedCallback::onCallback(const char *given, std::size_t length)
{
    expect(m_inside.fetch_add(1) >= 0, "delivered to a callback that was freed");
    m_deliveries.fetch_add(1);
    const std::string text = given;
    expect(!m_run.isOver, "delivered after uninit: " + text);
    expect(text.size() >= 2 && text.front() == '{' && text.back() == '}', "no object: " + text);
    expect(length == kLengthNotGiven || length == text.size(), "a wrong length with " + text);
    const Afterwards afterwards = receive(text, length);
    m_inside.fetch_sub(1);
    if (afterwards == Afterwards::destroy) {
        delete this;
    }
}

WatchedCallback::Afterwards Counter::receive(const std::string &text, std::size_t length)
{
    expect(length == kLengthNotGiven, "a length with " + text);
    expect(m_task || text == "{}", "no event: " + text);
    expect(!m_task || isMessage(text, *m_task), "no task message: " + text);
    return Afterwards::keep;
}

TaskCounters taskCounters(const Run &run)
{
    TaskCounters counters;
    for (const Task &task : Interface::instance().tasks) {
        counters.try_emplace(task.type, run, &task);
    }
    return counters;
}

Answer::Answer(Run &run, AnsweredCalls &answered)
    : WatchedCallback(run),
      m_run(run),
      m_answered(answered),
      m_request(&Interface::instance().requests.front())
{
}

void Answer::expectReply(const Request &request, long number)
{
    m_request = &request;
    m_number = number;
    m_sent = Budget::Clock::now().time_since_epoch().count();
    m_isOpen = true;
}

WatchedCallback::Afterwards Answer::receive(const std::string &text, std::size_t length)
{
    if (!m_run.isHonest) {
        m_isOpen = false;
        return Afterwards::keep;
    }
    const Request &asked = request();
    expect(length == kLengthNotGiven, "a length with an asynchronous reply");
    expect(text.find(asked.asynReply) != std::string::npos ||
               text.find(R"("msg":"cancelled")") != std::string::npos,
           asked.path + " was answered " + text);
    const long number = m_number;
    const long before = m_answered[asked.queue].exchange(number);
    expect(before < number || !m_run.keepsOrder, asked.path + " was answered out of order");
    if (asked.queue == 0) {
        m_run.latency.add(Budget::Clock::now().time_since_epoch() -
                          Budget::Clock::duration(m_sent.load()));
    }
    expect(m_isOpen.exchange(false), asked.path + " was answered twice");
    return Afterwards::keep;
}

WatchedCallback::Afterwards DirectReply::receive(const std::string &text, std::size_t length)
{
    expect(length == text.size(), "no length with the reply of call");
    m_text = text;
    return Afterwards::keep;
}
