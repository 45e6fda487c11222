#include "keeper/records.h"

#include <sys/syscall.h>
#include <unistd.h>

namespace zefstandin {

namespace {

constexpr std::size_t kMostRecords = 200000;

} // namespace

void Records::addCall(Call call)
{
    if (!m_enabled) {
        return;
    }

    call.threadId = syscall(SYS_gettid);
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_calls.size() < kMostRecords) {
        m_calls.push_back(std::move(call));
    }
}

void Records::addAnswer(const QString &answer)
{
    if (!m_enabled) {
        return;
    }

    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_answers.size() < kMostRecords) {
        m_answers.push_back(answer.toStdString());
    }
}

void Records::clear()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_calls.clear();
    m_answers.clear();
}

std::vector<Call> Records::calls() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_calls;
}

std::vector<std::string> Records::callLines() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<std::string> lines;
    lines.reserve(m_calls.size());
    for (const Call &call : m_calls) {
        lines.push_back(call.argument.empty() ? call.name : call.name + ' ' + call.argument);
    }
    return lines;
}

std::vector<std::string> Records::answers() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_answers;
}

} // namespace zefstandin
