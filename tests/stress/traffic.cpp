#include "stress/traffic.h"

#include <cstring>

using zefstandin::MessageContext;
using zefstandin::Thread;

namespace {

constexpr long kAhead = 256;
constexpr auto kPause = std::chrono::microseconds(100);

const char *const kCounted = "account.initFinished";

const char *const kMessages[] = {
    R"({"msgType":"enterMeeting","meetingUrl":"https://a.example/%1","accessCode":"1"})",
    R"({"msgType":"getMeetingStatus"})",
    R"({"msgType":"closeMeetingApp","logoutAccount":"maybe"})",
    R"({"msgType":"enterMeeting"})",
    R"({"msgType":"other"})",
    R"({"msgType":{"a":[]}})",
    "{}",
};

const MessageContext kContexts[] = {MessageContext::alive, MessageContext::alive,
                                    MessageContext::gone, MessageContext::empty,
                                    MessageContext::nullObject};

} // namespace

void Traffic::raiseEvent(Dice &dice, Thread thread)
{
    const std::string &path = dice.oneIn(2) ? kCounted : dice.pick(Interface::instance().events);
    if (m_run.account.raiseSignal(path.substr(std::strlen("account.")), thread)) {
        m_counted += path == kCounted;
        ++m_events;
    }
}

void Traffic::sendOther(Dice &dice, Thread thread)
{
    switch (dice.below(8)) {
    case 0:
        m_collected += m_run.account.collect(R"({"a":{"b":[1]}})", thread);
        break;
    case 1:
        m_run.account.writeLog("warning", "stress %1 \n", thread);
        break;
    default:
        const std::string foreign = dice.foreignText();
        m_messages += m_run.account.sendMessage(foreign.empty() ? dice.pick(kMessages) : foreign,
                                                thread, dice.pick(kContexts));
    }
}

TrafficThreads::TrafficThreads(Run &run, std::uint64_t seed, const Counter *counter)
    : m_traffic(run),
      m_counter(counter),
      m_eventThread([this, seed] { raiseEvents(Random(seed)); }),
      m_otherThread([this, seed] { sendOthers(Random(seed + 1)); })
{
}

void TrafficThreads::stop()
{
    m_isStopping = true;
    for (std::thread *thread : {&m_eventThread, &m_otherThread}) {
        if (thread->joinable()) {
            thread->join();
        }
    }
}

void TrafficThreads::raiseEvents(Random random)
{
    while (!m_isStopping) {
        m_traffic.raiseEvent(random, Thread::caller);
        if (!m_counter && random.oneIn(8)) {
            std::this_thread::sleep_for(kPause);
        }
        // The host thread's queue takes any number: a library that raises faster than the host can
        // read would only measure memory.
        while (m_counter && m_traffic.counted() - m_counter->deliveries() > kAhead &&
               !m_isStopping) {
            std::this_thread::sleep_for(kPause);
        }
    }
}

void TrafficThreads::sendOthers(Random random)
{
    while (!m_isStopping) {
        m_traffic.sendOther(random, Thread::caller);
        if (random.oneIn(8)) {
            std::this_thread::sleep_for(kPause);
        }
    }
}
