#include "threads.h"

#include <algorithm>
#include <filesystem>

#include <sys/syscall.h>
#include <unistd.h>

namespace zefhost {

namespace {

/// The kernel lists the threads of a process in the order in which they were started.
std::vector<long> threadsInOrder()
{
    std::vector<long> ids;
    std::error_code error;
    for (const auto &entry : std::filesystem::directory_iterator("/proc/self/task", error)) {
        ids.push_back(std::stol(entry.path().filename().string()));
    }
    return ids;
}

} // namespace

Threads::Threads() : m_caller(syscall(SYS_gettid)), m_before(threadsInOrder()) {}

void Threads::findHostThread()
{
    for (const long id : threadsInOrder()) {
        if (std::find(m_before.begin(), m_before.end(), id) == m_before.end()) {
            m_host = id;
            return;
        }
    }
}

std::string Threads::current() const
{
    const long id = syscall(SYS_gettid);
    if (id == m_caller) {
        return "caller's thread";
    }
    return id == m_host ? "host thread" : "library thread";
}

} // namespace zefhost
