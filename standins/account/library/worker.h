#pragma once

#include "keeper/keeper.h"
#include "keeper/thread.h"

#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>

namespace zefstandin {

/// A thread that runs jobs in order of their time. It is joined by stop(), so that no code of the
/// library runs afterwards.
class Worker
{
public:
    /// \p cancelled: the library is shutting down, and the job is run before its time.
    using Job = std::function<void(bool cancelled)>;

    Worker() = default;
    ~Worker();

    /// After stop(), and when the system gives no thread, the job is run at once, cancelled.
    /// \param busy null for a job that nobody waits for.
    void post(Job job, int delayMs = 0, Busy busy = Keeper::instance().busy());

    /// For a job that is dropped when the library shuts down.
    void postOptional(std::function<void()> job, int delayMs = 0,
                      Busy busy = Keeper::instance().busy());

    /// Runs what is queued as cancelled, then ends the thread. Not from a job.
    void stop();

private:
    struct Entry
    {
        Job job;
        Busy busy;
    };
    using Clock = std::chrono::steady_clock;

    bool hasThread();
    void run();

    std::mutex m_mutex; // guards everything below; held over no job
    std::condition_variable m_wake;
    std::multimap<Clock::time_point, Entry> m_entries; // equal times stay in order of arrival
    bool m_isStopping = false;
    bool m_hasEnded = false;
    std::optional<pthread_t> m_thread; // started by the first job; assigned under the mutex
};

} // namespace zefstandin
