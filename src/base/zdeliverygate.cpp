#include "base/zdeliverygate.h"

namespace {

// How many deliveries of each phase this thread is inside of, one within the other.
thread_local int t_depth[2] = {0, 0};

} // namespace

ZDeliveryGate &ZDeliveryGate::instance()
{
    static ZDeliveryGate &gate = *new ZDeliveryGate;
    return gate;
}

bool ZDeliveryGate::isInsideDelivery()
{
    return t_depth[BeforeDrain] + t_depth[AfterDrain] > 0;
}

void ZDeliveryGate::open()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_run.fetch_add(1, std::memory_order_relaxed);
    m_isOpen = true;
    m_phase = BeforeDrain;
}

void ZDeliveryGate::drain()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_phase = AfterDrain;
    waitForOthers(lock, BeforeDrain);
}

void ZDeliveryGate::close()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_isOpen = false;
    waitForOthers(lock, BeforeDrain);
    waitForOthers(lock, AfterDrain);
}

bool ZDeliveryGate::enter(quint64 run, Phase &phase)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_isOpen || run != m_run.load(std::memory_order_relaxed)) {
        return false;
    }
    phase = m_phase;
    ++m_active[phase];
    ++t_depth[phase];
    return true;
}

void ZDeliveryGate::leave(Phase phase)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    --m_active[phase];
    --t_depth[phase];
    // Under the lock: the waiter must not go on, and the process perhaps end, before this returns.
    m_left.notify_all();
}

void ZDeliveryGate::waitForOthers(std::unique_lock<std::mutex> &lock, Phase phase)
{
    m_left.wait(lock, [this, phase] { return m_active[phase] == t_depth[phase]; });
}

ZDeliveryScope::ZDeliveryScope(quint64 run)
    : m_isInside(ZDeliveryGate::instance().enter(run, m_phase))
{
}

ZDeliveryScope::~ZDeliveryScope()
{
    if (m_isInside) {
        ZDeliveryGate::instance().leave(m_phase);
    }
}
