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
    /// \a cancelled: the library is shutting down, and the job is run before its time.
    using Job = std::function<void(bool cancelled)>;

    Worker() = default;
    ~Worker();

    /// After stop(), and when the system gives no thread, the job is run at once, cancelled.
    void post(Job job, int delayMs = 0);

    /// The same for a job that nobody waits for: it does not count as busy.
    void postBackground(Job job, int delayMs);

    /// Runs what is queued as cancelled, then ends the thread. Not from a job.
    void stop();

private:
    struct Entry
    {
        Job job;
        Busy busy;
    };
    using Clock = std::chrono::steady_clock;

    void enqueue(Entry entry, int delayMs);
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
