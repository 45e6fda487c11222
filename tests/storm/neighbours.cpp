#include "storm/neighbours.h"

#include <chrono>
#include <cstring>
#include <iterator>

using zefstandin::MessageContext;
using zefstandin::Thread;

namespace {

constexpr long kAhead = 256;
constexpr auto kPause = std::chrono::microseconds(100);

const char *const kCounted = "initFinished";

const char *const kMessages[] = {
    R"({"msgType":"enterMeeting","meetingUrl":"https://a.example/%1","accessCode":"1"})",
    R"({"msgType":"getMeetingStatus"})",
    R"({"msgType":"closeMeetingApp","logoutAccount":true})",
    R"({"msgType":"enterMeeting"})",
    R"({"msgType":"other"})",
    R"({"msgType":{"a":[]}})",
    "{}",
};

const MessageContext kContexts[] = {MessageContext::alive, MessageContext::alive,
                                    MessageContext::gone, MessageContext::empty,
                                    MessageContext::nullObject};

} // namespace

Neighbours::Neighbours(Storm &storm, std::uint64_t seed, const EventCounter *counter)
    : m_storm(storm),
      m_counter(counter),
      m_eventThread([this, seed] { raiseEvents(Random(seed)); }),
      m_messageThread([this, seed] { sendMessages(Random(seed + 1)); })
{
}

void Neighbours::stop()
{
    m_isStopping = true;
    for (std::thread *thread : {&m_eventThread, &m_messageThread}) {
        if (thread->joinable()) {
            thread->join();
        }
    }
}

void Neighbours::raiseEvents(Random random)
{
    while (!m_isStopping) {
        raiseOne(random);
        if (!m_counter && random.oneIn(8)) {
            std::this_thread::sleep_for(kPause);
        }
        // The host thread's queue takes any number: a library that raises faster than the host can
        // read would only measure memory.
        while (m_counter && m_raised - m_counter->deliveries() > kAhead && !m_isStopping) {
            std::this_thread::sleep_for(kPause);
        }
    }
}

void Neighbours::raiseOne(Random &random)
{
    const char *name =
        random.oneIn(2) ? kCounted : kEvents[random.next() % kEventCount] + std::strlen("account.");
    if (m_storm.account.raiseSignal(name, Thread::caller)) {
        m_raised += !std::strcmp(name, kCounted);
        ++m_events;
    }
}

void Neighbours::sendMessages(Random random)
{
    while (!m_isStopping) {
        sendOne(random);
        if (random.oneIn(8)) {
            std::this_thread::sleep_for(kPause);
        }
    }
}

void Neighbours::sendOne(Random &random)
{
    switch (random.below(8)) {
    case 0:
        m_collected += m_storm.account.collect(R"({"a":{"b":[1]}})", Thread::caller);
        break;
    case 1:
        m_storm.account.writeLog("warning", "storm %1 \n", Thread::caller);
        break;
    default:
        m_messages += m_storm.account.sendMessage(kMessages[random.next() % std::size(kMessages)],
                                                  Thread::caller,
                                                  kContexts[random.next() % std::size(kContexts)]);
    }
}
