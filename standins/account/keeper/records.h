#pragma once

#include "control.h"

#include <atomic>
#include <mutex>

namespace zefstandin {

/// The calls of all runs, in order.
class Records
{
public:
    void setEnabled(bool enabled) { m_enabled = enabled; }
    bool isEnabled() const { return m_enabled; }

    void add(Call call);
    void clear();
    std::vector<Call> calls() const;

private:
    std::atomic<bool> m_enabled{false};
    mutable std::mutex m_mutex; // guards m_calls
    std::vector<Call> m_calls;
};

} // namespace zefstandin
