#pragma once

#include "control.h"

#include <QString>

#include <atomic>
#include <mutex>

namespace zefstandin {

/// The calls and answers of all runs, in order.
class Records
{
public:
    void setEnabled(bool enabled) { m_enabled = enabled; }
    bool isEnabled() const { return m_enabled; }

    void addCall(Call call);
    void addAnswer(const QString &answer);
    void clear();

    std::vector<Call> calls() const;
    std::vector<std::string> callLines() const;
    std::vector<std::string> answers() const;

private:
    std::atomic<bool> m_enabled{false};
    mutable std::mutex m_mutex; // guards the two lists
    std::vector<Call> m_calls;
    std::vector<std::string> m_answers;
};

} // namespace zefstandin
