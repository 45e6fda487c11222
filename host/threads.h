#pragma once

#include <atomic>
#include <string>
#include <vector>

namespace zefhost {

/// Names the threads that deliveries arrive on.
///
/// Built on the caller's thread before init; findHostThread is called there after init.
class Threads
{
public:
    Threads();

    /// The first thread that the library started is its host thread; all others come later.
    void findHostThread();

    /// "caller's thread", "host thread" or "library thread", for the thread this is called on.
    std::string current() const;

private:
    long m_caller;
    std::vector<long> m_before;
    std::atomic<long> m_host{0}; ///< read by deliveries, which may come before it is known
};

} // namespace zefhost
