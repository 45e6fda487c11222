#include "storm/callbacks.h"

#include "storm/verdict.h"

#include <cstring>

using zelectronframeworkspace::kLengthNotGiven;

namespace {

const char *const kTasks[] = {
    R"("dataType":"enterMeeting"})",
    R"({"dataType":"getMeetingStatus"})",
    R"("dataType":"closeMeetingApp"})",
};

bool looksLikeObject(const std::string &text)
{
    return text.size() >= 2 && text.front() == '{' && text.back() == '}';
}

bool endsWith(const std::string &text, const std::string &end)
{
    return text.size() >= end.size() && !text.compare(text.size() - end.size(), end.size(), end);
}

bool isTask(const std::string &text)
{
    for (const char *task : kTasks) {
        if (endsWith(text, task)) {
            return true;
        }
    }
    return false;
}

} // namespace

WatchedCallback::~WatchedCallback()
{
    expect(m_inside == 0, "a callback was running when the host could free it");
}

void WatchedCallback::onCallback(const char *text, std::size_t length)
{
    m_inside.fetch_add(1);
    m_deliveries.fetch_add(1);
    expect(!m_climate.isOver, std::string("delivered after uninit: ") + text);
    expect(looksLikeObject(text), std::string("no JSON object: ") + text);
    const Afterwards afterwards = receive(text, length);
    m_inside.fetch_sub(1);
    if (afterwards == Afterwards::destroy) {
        delete this;
    }
}

WatchedCallback::Afterwards EventCounter::receive(const char *text, std::size_t length)
{
    expect(!std::strcmp(text, "{}") && length == kLengthNotGiven, std::string("no event: ") + text);
    return Afterwards::keep;
}

WatchedCallback::Afterwards TaskCounter::receive(const char *text, std::size_t length)
{
    expect(isTask(text) && length == kLengthNotGiven, std::string("no task message: ") + text);
    return Afterwards::keep;
}

WatchedCallback::Afterwards CollectCounter::receive(const char *, std::size_t length)
{
    expect(length == kLengthNotGiven, "a length with a collected object");
    return Afterwards::keep;
}

Answer::Answer(Climate &climate, AnsweredCalls &answered)
    : WatchedCallback(climate), m_climate(climate), m_answered(answered)
{
}

void Answer::expectReply(const Method &method, long number)
{
    m_method = &method;
    m_number = number;
    m_sent = Clock::now().time_since_epoch().count();
    m_isOpen = true;
}

WatchedCallback::Afterwards Answer::receive(const char *text, std::size_t length)
{
    if (!m_climate.isHonest) {
        m_isOpen = false;
        return Afterwards::keep;
    }
    const Method &answered = method();
    expect(length == kLengthNotGiven, "a length with an asynchronous reply");
    expect(std::strstr(text, answered.asynReply) || std::strstr(text, R"("msg":"cancelled")"),
           std::string(answered.path) + " was answered " + text);
    checkOrder(answered);
    if (answered.lane == Lane::host) {
        m_climate.latency.add(Clock::now().time_since_epoch() - Clock::duration(m_sent));
    }
    expect(m_isOpen.exchange(false), std::string(answered.path) + " was answered twice");
    return Afterwards::keep;
}

void Answer::checkOrder(const Method &method)
{
    const long number = m_number;
    const long before = m_answered[static_cast<std::size_t>(method.lane)].exchange(number);
    expect(before < number || !m_climate.keepsOrder,
           std::string(method.path) + " was answered out of order");
}

WatchedCallback::Afterwards DirectReply::receive(const char *text, std::size_t length)
{
    expect(length == std::strlen(text), std::string("a wrong length with ") + text);
    m_text = text;
    return Afterwards::keep;
}
