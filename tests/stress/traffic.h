#pragma once

#include "stress/callbacks.h"
#include "stress/dice.h"

#include <thread>

/// What the account library does by itself: raises events, sends messages of the office suite,
/// collects, writes log lines. Counts what reached a host.
class Traffic
{
public:
    explicit Traffic(Run &run) : m_run(run) {}

    /// One event, or one of the others, on a thread of the dice's choice.
    void raiseEvent(Dice &dice, zefstandin::Thread thread);
    void sendOther(Dice &dice, zefstandin::Thread thread);

    long counted() const { return m_counted; } ///< "initFinished" alone
    long events() const { return m_events; }   ///< all of them
    long messages() const { return m_messages; }
    long collected() const { return m_collected; }

private:
    Run &m_run;
    std::atomic<long> m_counted{0};
    std::atomic<long> m_events{0};
    std::atomic<long> m_messages{0};
    std::atomic<long> m_collected{0};
};

/// Two threads of traffic, from construction to stop(), whether or not the framework runs.
class TrafficThreads
{
public:
    /// \param counter subscribed to "account.initFinished", which nobody else raises: no more than
    ///                a few events are ahead of it. Null: the events are not counted.
    TrafficThreads(Run &run, std::uint64_t seed, const Counter *counter);
    ~TrafficThreads() { stop(); }
    TrafficThreads(const TrafficThreads &) = delete;
    TrafficThreads &operator=(const TrafficThreads &) = delete;

    void stop();

    const Traffic &traffic() const { return m_traffic; }

private:
    void raiseEvents(Random random);
    void sendOthers(Random random);

    Traffic m_traffic;
    const Counter *const m_counter;
    std::atomic<bool> m_isStopping{false};
    std::thread m_eventThread;
    std::thread m_otherThread;
};
