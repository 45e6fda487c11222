#include "support/recorder.h"

#include <cstdio>
#include <cstdlib>
#include <utility>

Recorder::~Recorder()
{
    for (const Delivery &delivery : m_deliveries) {
        std::fprintf(stderr, "delivery that no test has read: %s\n", delivery.text.constData());
    }
    if (!m_deliveries.empty()) {
        std::abort();
    }
}

void Recorder::onCallback(const char *text, std::size_t length)
{
    std::function<void()> action;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_deliveries.push_back({text, length, std::this_thread::get_id()});
        action = m_action;
        m_arrived.notify_all();
    }
    if (action) {
        action();
    }
}

void Recorder::runInside(std::function<void()> action)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_action = std::move(action);
}

Recorder::Delivery Recorder::take(int milliseconds)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    if (!m_arrived.wait_for(lock, std::chrono::milliseconds(milliseconds),
                            [this] { return !m_deliveries.empty(); })) {
        return {};
    }
    Delivery delivery = std::move(m_deliveries.front());
    m_deliveries.pop_front();
    return delivery;
}

std::size_t Recorder::count() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_deliveries.size();
}
