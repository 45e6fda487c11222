#include "keeper/records.h"

#include <sys/syscall.h>
#include <unistd.h>

namespace zefstandin {

namespace {

constexpr std::size_t kMostCalls = 200000;

} // namespace

void Records::add(Call call)
{
    if (!m_enabled) {
        return;
    }
    call.threadId = syscall(SYS_gettid);
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_calls.size() < kMostCalls) {
        m_calls.push_back(std::move(call));
    }
}

void Records::clear()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_calls.clear();
}

std::vector<Call> Records::calls() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_calls;
}

} // namespace zefstandin
