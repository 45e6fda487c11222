#pragma once

#include <QtGlobal>

#include <atomic>
#include <condition_variable>
#include <mutex>

/// Counts what is being delivered to the host, or done for the account library, on any thread, so
/// that shutdown can wait for it and refuse what comes later.
///
/// Function objects handed to the account library may be called at any time, also after uninit.
/// Each of them notes the run it belongs to and enters the gate through ZDeliveryScope before it
/// touches anything of ours. There is one gate in a process; it is never destroyed, because a
/// library thread may come here while the process exits.
///
/// Thread: all functions are callable from any.
class ZDeliveryGate
{
public:
    static ZDeliveryGate &instance();

    /// Whether this thread is inside a delivery; waiting for all deliveries would never return
    /// here.
    static bool isInsideDelivery();

    /// Starts a new run; deliveries of earlier runs stay refused.
    void open();

    /// Waits for the deliveries that are under way on other threads; later ones are still let in.
    void drain();

    /// Refuses every delivery of this run from now on and waits for those under way on other
    /// threads.
    void close();

    /// The run that deliveries created now belong to.
    quint64 currentRun() const { return m_run.load(std::memory_order_relaxed); }

private:
    friend class ZDeliveryScope;

    /// Deliveries that entered before and after drain() are counted apart, so that a steady stream
    /// of new ones cannot hold drain() up.
    enum Phase { BeforeDrain, AfterDrain, PhaseCount };

    ZDeliveryGate() = default;
    bool enter(quint64 run, Phase &phase);
    void leave(Phase phase);
    void waitForOthers(std::unique_lock<std::mutex> &lock, Phase phase);

    // Guards everything below; held over no call.
    std::mutex m_mutex;
    std::condition_variable m_left;
    std::atomic<quint64> m_run{0};
    bool m_isOpen = false;
    Phase m_phase = BeforeDrain;
    int m_active[PhaseCount] = {0, 0};
};

/// Enters the gate for as long as it lives; tests false when the run is over.
class ZDeliveryScope
{
public:
    explicit ZDeliveryScope(quint64 run);
    ~ZDeliveryScope();
    ZDeliveryScope(const ZDeliveryScope &) = delete;
    ZDeliveryScope &operator=(const ZDeliveryScope &) = delete;

    explicit operator bool() const { return m_isInside; }

private:
    ZDeliveryGate::Phase m_phase = ZDeliveryGate::BeforeDrain;
    bool m_isInside = false;
};
