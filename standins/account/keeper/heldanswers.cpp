#include "keeper/heldanswers.h"

#include "jsontext.h"

namespace zefstandin {

long HeldAnswers::add(const PlannedAnswer &answer)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_answers.emplace(++m_lastId, answer);
    return m_lastId;
}

std::optional<PlannedAnswer> HeldAnswers::take(long id, bool keep)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto it = m_answers.find(id);
    if (it == m_answers.end()) {
        return std::nullopt;
    }

    std::optional<PlannedAnswer> answer = it->second;
    if (!keep) {
        m_answers.erase(it);
    }
    return answer;
}

std::vector<HeldAnswer> HeldAnswers::list() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<HeldAnswer> list;
    for (const auto &entry : m_answers) {
        const PlannedAnswer &answer = entry.second;
        list.push_back({entry.first, answer.name.toStdString(),
                        compactJson(answer.params).toStdString(), bool(answer.task)});
    }
    return list;
}

void HeldAnswers::clear()
{
    std::map<long, PlannedAnswer> dropped; // destroyed after the lock: its objects are foreign
    const std::lock_guard<std::mutex> lock(m_mutex);
    dropped.swap(m_answers);
}

} // namespace zefstandin
