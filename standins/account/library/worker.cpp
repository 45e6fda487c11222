#include "library/worker.h"

#include <algorithm>

namespace zefstandin {

Worker::~Worker()
{
    stop();
}

void Worker::post(Job job, int delayMs, Busy busy)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_hasEnded && hasThread()) {
            const auto delay = std::chrono::milliseconds(std::max(delayMs, 0));
            m_entries.emplace(Clock::now() + delay, Entry{std::move(job), std::move(busy)});
            m_wake.notify_one();
            return;
        }
    }
    job(true);
}

void Worker::postOptional(std::function<void()> job, int delayMs, Busy busy)
{
    const auto unlessCancelled = [job = std::move(job)](bool isCancelled) {
        if (!isCancelled) {
            job();
        }
    };
    post(unlessCancelled, delayMs, std::move(busy));
}

bool Worker::hasThread()
{
    if (!m_thread) {
        m_thread = startThread([this] { run(); });
    }
    return m_thread.has_value(); // the system may have none: jobs are run at once then
}

void Worker::stop()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_isStopping = true;
        m_hasEnded = !m_thread;
        m_wake.notify_one();
    }
    if (m_thread) {
        pthread_join(*m_thread, nullptr);
        m_thread.reset();
    }
}

void Worker::run()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    while (!m_isStopping || !m_entries.empty()) {
        if (m_entries.empty()) {
            m_wake.wait(lock);
            continue;
        }
        const auto first = m_entries.begin();
        const Clock::time_point due = first->first;
        if (!m_isStopping && due > Clock::now()) {
            m_wake.wait_until(lock, due);
            continue;
        }
        const Entry entry = std::move(first->second);
        const bool isCancelled = m_isStopping;
        m_entries.erase(first);
        lock.unlock();
        entry.job(isCancelled);
        lock.lock();
    }
    m_hasEnded = true;
}

} // namespace zefstandin
