/// \file
/// Threads that signals and cancellation reach, and the one that wakes the host thread.

#include "hostile.h"

#include <csignal>

#include <fcntl.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

thread_local bool t_isSlow = false; // this thread loses the processor inside write()
int g_slowWrites = 0;
bool g_wasClosedMeanwhile = false;

std::atomic<long> g_signalThread{0};

void signalsStayWithTheHost(HostFixture &host)
{
    std::signal(SIGUSR1, [](int) { g_signalThread = syscall(SYS_gettid); });
    host.start();
    require(!host.asynCall("account.logout").isEmpty(), "logout"); // starts a library thread
    sigset_t mask;
    sigemptyset(&mask);
    sigaddset(&mask, SIGUSR1);
    pthread_sigmask(SIG_BLOCK, &mask, nullptr);
    kill(getpid(), SIGUSR1);
    require(isServing(host) && isServing(host), "serving");
    require(g_signalThread == 0, "a thread of the library ran the signal handler");
    pthread_sigmask(SIG_UNBLOCK, &mask, nullptr);
    require(g_signalThread == getpid(), "the signal is lost");
    host.framework.uninit();
}

void threadEndsInsideItsCallback(HostFixture &host)
{
    host.start();
    for (void (*end)() : {+[] { pthread_exit(nullptr); },
                          +[] {
                              pthread_cancel(pthread_self());
                              pthread_testcancel();
                          }}) {
        bool hasReturned = false;
        std::thread([&] {
            Action action(end);
            host.framework.call("accessbase.getDeviceInfo", "{}", &action);
            hasReturned = true;
        }).join();
        require(!hasReturned, "the thread went on");
        require(isServing(host), "afterwards");
    }
    require(host.framework.uninit(), "uninit");
}

/// Returns from init although the host thread has not.
void hostThreadEndsInsideInit(HostFixture &host)
{
    host.library.account().reset();
    host.library.account().setAction("init", [] { pthread_exit(nullptr); });
    require(!host.library.start(), "init");
    require(host.start(), "the next init");
    require(isServing(host), "serving");
    require(host.framework.uninit(), "uninit");
}

void threadIsCancelledInsideRemoveListener(HostFixture &host)
{
    host.start();
    std::atomic<bool> isInside{false};
    std::atomic<bool> mayReturn{false};
    Action slow([&] {
        isInside = true;
        waitFor([&] { return mayReturn.load(); });
        isInside = false;
    });
    const auto handle = host.framework.addListener("account.cookieUpdated", &slow);
    host.library.account().raiseSignal("cookieUpdated", Thread::library);
    require(waitFor([&] { return isInside.load(); }), "not delivered");
    std::thread remover([&] { host.framework.removeListener(handle); });
    std::this_thread::sleep_for(std::chrono::milliseconds(50)); // until it waits
    pthread_cancel(remover.native_handle());
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    mayReturn = true;
    remover.join();
    require(!isInside, "removeListener did not wait");
    require(isServing(host), "serving");
    require(host.framework.uninit(), "uninit");
}

/// The thread that calls uninit is still waking the host thread when that has handled the stop.
void stopWhileStillWaking(HostFixture &host)
{
    host.start();
    t_isSlow = true;
    require(host.framework.uninit(), "uninit");
    t_isSlow = false;
    require(g_slowWrites > 0, "the host thread was not woken by write()");
    require(!g_wasClosedMeanwhile, "the event dispatcher is deleted while it is being used");
}

} // namespace

// The event dispatchers of GLib and Qt call these to wake their thread.

extern "C" ssize_t write(int file, const void *bytes, size_t count)
{
    const ssize_t written = syscall(SYS_write, file, bytes, count);
    if (t_isSlow) {
        ++g_slowWrites;
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        g_wasClosedMeanwhile |= fcntl(file, F_GETFD) == -1;
    }
    return written;
}

extern "C" int eventfd_write(int file, eventfd_t value)
{
    return write(file, &value, sizeof(value)) == sizeof(value) ? 0 : -1;
}

Cases threadCases()
{
    return {
        {"pthread_exit inside init", &hostThreadEndsInsideInit},
        {"signals stay with the host", &signalsStayWithTheHost},
        {"stop while still waking", &stopWhileStillWaking},
        {"thread ends inside its callback", &threadEndsInsideItsCallback},
        {"thread is cancelled inside removeListener", &threadIsCancelledInsideRemoveListener},
    };
}
