#pragma once

#include "storm/hostthread.h"

#include <thread>

/// Two threads of the account library's side: one raises events, one sends office messages,
/// collects and writes log lines. They run from construction to stop(), whether or not the
/// framework does.
class Neighbours
{
public:
    /// \param counter subscribed to "account.initFinished", which nobody else raises: no more than
    ///                a few events are ahead of it. Null: the events are not counted.
    Neighbours(Storm &storm, std::uint64_t seed, const EventCounter *counter);
    ~Neighbours() { stop(); }
    Neighbours(const Neighbours &) = delete;
    Neighbours &operator=(const Neighbours &) = delete;

    void stop();

    long raised() const { return m_raised; }     ///< "initFinished" alone
    long events() const { return m_events; }     ///< all of them
    long messages() const { return m_messages; } ///< sent to a host that took them
    long collected() const { return m_collected; }

private:
    void raiseEvents(Random random);
    void sendMessages(Random random);
    void raiseOne(Random &random);
    void sendOne(Random &random);

    Storm &m_storm;
    const EventCounter *const m_counter;
    std::atomic<bool> m_isStopping{false};
    std::atomic<long> m_raised{0};
    std::atomic<long> m_events{0};
    std::atomic<long> m_messages{0};
    std::atomic<long> m_collected{0};
    std::thread m_eventThread;
    std::thread m_messageThread;
};
