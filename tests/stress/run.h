#pragma once

#include "support/interface.h"
#include "support/loadedlibrary.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <memory>
#include <vector>

class WatchedCallback;

/// What the command line asks for.
struct Options
{
    int threads = 8;     ///< of the host
    long operations = 0; ///< operations, removals, restarts or stops, by the mode; 0: no limit
    double seconds = 0;  ///< after which no further operation starts; 0: no limit
    std::uint64_t seed = 1;
};

/// Hands out the operations of a run to its threads until their number or the time is used up.
class Budget
{
public:
    using Clock = std::chrono::steady_clock;

    explicit Budget(const Options &options)
        : m_operations(options.operations), m_seconds(options.seconds)
    {
    }

    /// \return false when the run is over.
    bool take()
    {
        if ((m_seconds > 0 && seconds() >= m_seconds) ||
            (m_operations > 0 && m_taken.fetch_add(1) >= m_operations)) {
            return false;
        }
        m_done.fetch_add(1, std::memory_order_relaxed);
        return true;
    }

    long taken() const { return m_done; }
    double seconds() const { return std::chrono::duration<double>(Clock::now() - m_start).count(); }

private:
    const long m_operations;
    const double m_seconds;
    const Clock::time_point m_start = Clock::now();
    std::atomic<long> m_taken{0};
    std::atomic<long> m_done{0};
};

/// Counts durations by powers of two, in microseconds. Thread: any.
class LatencyHistogram
{
public:
    void add(std::chrono::nanoseconds duration)
    {
        std::size_t power = 0;
        while (power + 1 < m_counts.size() && duration.count() >> (power + 10)) {
            ++power;
        }
        m_counts[power].fetch_add(1, std::memory_order_relaxed);
    }

    /// The upper bound of the class that holds this share of all durations.
    long quantile(double share) const
    {
        long total = 0;
        for (const auto &count : m_counts) {
            total += count;
        }
        std::size_t power = 0;
        for (double left = share * static_cast<double>(total); power + 1 < m_counts.size();
             ++power) {
            left -= static_cast<double>(m_counts[power]);
            if (left <= 0) {
                break;
            }
        }
        return 1L << power;
    }

private:
    std::array<std::atomic<long>, 40> m_counts{};
};

/// One life of the framework, from start() to stop(), and what may be expected of it.
struct Run
{
    /// Starts with stand-ins that answer honestly and record nothing.
    /// \param standin members of the settings' "standin" object, as JSON text.
    void start(const std::string &standin = "{}");

    /// Stops, and notes that nothing may arrive any more.
    void stop();

    zelectronframeworkspace::IElectronFramework &framework = LoadedLibrary::instance().framework();
    zefstandin::AccountControl &account = LoadedLibrary::instance().account();

    bool isHonest = true;            ///< the account library answers once, as documented
    bool keepsOrder = true;          ///< it delays no answer
    std::atomic<bool> isOver{false}; ///< uninit has returned: nothing may arrive any more

    LatencyHistogram latency; ///< from asynCall to the reply, on the host thread
    std::atomic<long> asynCalls{0};
    std::atomic<long> subscriptions{0};
};
