#include "framework/processguard.h"

#include "framework/zelectronapplication.h"
#include "log/zelectronlogproxy.h"

#include <chrono>
#include <cstdlib>
#include <thread>

#include <pthread.h>
#include <unistd.h>

namespace {

constexpr auto kLongestWait = std::chrono::milliseconds(500);
constexpr auto kWaitStep = std::chrono::microseconds(200);

std::atomic<bool> s_isAbandoned{false};
std::atomic<bool> s_isExiting{false};
std::atomic<bool> s_isHostThreadBusy{false};
std::atomic<std::thread::id> s_hostThread{std::thread::id()};

bool isOnHostThread()
{
    return s_hostThread.load(std::memory_order_relaxed) == std::this_thread::get_id();
}

void forgetInChild()
{
    if (g_electronApp.exchange(nullptr)) {
        s_isAbandoned = true;
        g_logProxy = nullptr;
    }
}

void restHostThread()
{
    if (!g_electronApp.exchange(nullptr)) {
        return;
    }
    s_isAbandoned = true;
    s_isExiting = true;
    if (isOnHostThread()) {
        return;
    }
    const auto end = std::chrono::steady_clock::now() + kLongestWait;
    while (s_isHostThreadBusy && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(kWaitStep);
    }
}

} // namespace

void installForkGuard()
{
    static const int installed = pthread_atfork(nullptr, nullptr, &forgetInChild);
    static_cast<void>(installed);
}

void installExitGuard()
{
    static const int installed = std::atexit(&restHostThread);
    static_cast<void>(installed);
}

bool isAbandoned()
{
    return s_isAbandoned;
}

HostThreadScope::HostThreadScope()
{
    s_hostThread = std::this_thread::get_id();
}

HostThreadScope::~HostThreadScope()
{
    s_hostThread = std::thread::id();
}

HostWorkScope::HostWorkScope()
{
    if (!isOnHostThread() || s_isHostThreadBusy) {
        return;
    }
    m_isOutermost = true;
    s_isHostThreadBusy = true; // before the test below, as the exiting thread does the reverse
    if (s_isExiting) {
        s_isHostThreadBusy = false;
        for (;;) {
            pause();
        }
    }
}

HostWorkScope::~HostWorkScope()
{
    if (m_isOutermost) {
        s_isHostThreadBusy = false;
    }
}
