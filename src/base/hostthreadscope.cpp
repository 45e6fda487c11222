#include "base/hostthreadscope.h"

#include <atomic>
#include <chrono>
#include <thread>

#include <unistd.h>

namespace {

constexpr auto kLongestWait = std::chrono::milliseconds(500);
constexpr auto kWaitStep = std::chrono::microseconds(200);

thread_local bool t_isHostThread = false;
thread_local int t_work = 0; // events of the host thread, one within the other

std::atomic<bool> s_isBusy{false};
std::atomic<bool> s_isExiting{false};

} // namespace

HostThreadScope::HostThreadScope()
{
    t_isHostThread = true;
}

HostThreadScope::~HostThreadScope()
{
    t_isHostThread = false;
}

bool HostThreadScope::isCurrent()
{
    return t_isHostThread;
}

HostWorkScope::HostWorkScope()
{
    if (!t_isHostThread || t_work++ > 0) {
        return;
    }
    s_isBusy = true; // before the test below, as the exiting thread does the reverse
    if (s_isExiting) {
        restForever();
    }
}

HostWorkScope::~HostWorkScope()
{
    if (t_isHostThread && --t_work == 0) {
        s_isBusy = false;
    }
}

int HostWorkScope::depth()
{
    return t_work;
}

void HostWorkScope::waitAtExit()
{
    s_isExiting = true;
    if (t_isHostThread) {
        return;
    }
    // The exit handlers of one exit share it.
    static const auto end = std::chrono::steady_clock::now() + kLongestWait;
    while (s_isBusy && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(kWaitStep);
    }
}

void HostWorkScope::restForever()
{
    s_isBusy = false;
    for (;;) {
        pause();
    }
}

void HostWorkScope::forget()
{
    s_isBusy = false;
}
