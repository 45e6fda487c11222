#pragma once

#include "storm/options.h"

#include <atomic>
#include <chrono>

/// Hands out the operations of a run to its threads until their number or the time is used up.
class Budget
{
public:
    using Clock = std::chrono::steady_clock;

    explicit Budget(const Options &options)
        : m_operations(options.operations), m_seconds(options.seconds), m_start(Clock::now())
    {
    }

    /// \return false when the run is over.
    bool take()
    {
        if (isTimeUp() || (m_operations > 0 && m_taken.fetch_add(1) >= m_operations)) {
            return false;
        }
        m_done.fetch_add(1, std::memory_order_relaxed);
        return true;
    }

    long taken() const { return m_done; }

    double seconds() const { return std::chrono::duration<double>(Clock::now() - m_start).count(); }

private:
    bool isTimeUp() const { return m_seconds > 0 && seconds() >= m_seconds; }

    const long m_operations;
    const double m_seconds;
    const Clock::time_point m_start;
    std::atomic<long> m_taken{0};
    std::atomic<long> m_done{0};
};
