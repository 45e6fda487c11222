/// \file
/// Children of the process, and its end without uninit.

#include "hostile.h"

#include <csignal>
#include <cstdlib>

#include <sys/wait.h>
#include <unistd.h>

namespace {

/// Runs a function in a child, which ends with what it returns, and answers whether that is true.
/// The child uses of the stand-ins only what takes no lock.
template <typename Function>
bool holdsInChild(Function function)
{
    const pid_t child = fork();
    if (child == 0) {
        alarm(20);
        std::_Exit(function() ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    return status == 0;
}

bool everythingIsRefused(HostFixture &host)
{
    Counter replies;
    const bool isAnyTrue = host.framework.init("{}") || host.framework.uninit() ||
                           host.framework.call("nowhere.method", "{}", &replies) ||
                           host.framework.asynCall("nowhere.method", "{}", &replies) ||
                           host.framework.addListener("account.cookieUpdated", &replies) != 0 ||
                           host.framework.registerCallbackFunc("meetingDataChangeTask", &replies);
    host.framework.removeListener(1);
    return !isAnyTrue && replies.count == 0;
}

/// Forks inside the library's init and uninit, its operations on both kinds of threads, and a
/// callback, and where the signals of the host are blocked looks that they are not in the child.
void forkEverywhere(HostFixture &host)
{
    host.library.log().setRecording(false);
    std::atomic<int> children{0};
    const auto forkHere = [&] {
        const auto isRefused = [&] {
            sigset_t blocked;
            pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
            return !sigismember(&blocked, SIGTERM) && everythingIsRefused(host);
        };
        ++children;
        require(holdsInChild(isRefused), "in the child");
    };
    host.library.account().reset();
    for (const char *operation : {"init", "getDeviceInfo", "logout", "uninit"}) {
        host.library.account().setAction(operation, forkHere);
    }
    require(host.library.start(), "init");
    std::atomic<bool> isOver{false};
    std::thread logger([&] { // holds the log library's lock during most forks
        while (!isOver) {
            host.library.account().writeLog("info", "line", Thread::caller);
        }
    });
    host.call("accessbase.getDeviceInfo");
    Action callback(forkHere); // answered on a library thread
    host.framework.asynCall("account.logout", "{}", &callback);
    host.framework.call("utils.getLogPath", "{}", &callback);
    require(waitFor([&] { return children == 5; }), "somebody did not fork");
    require(host.framework.uninit(), "uninit");
    require(children == 6, "not in uninit");
    isOver = true;
    logger.join();
}

/// The child goes on as its host thread, with events in the queue.
void forkAndReturn(HostFixture &host)
{
    host.start();
    const pid_t parent = getpid();
    Action listener([&] {
        if (getpid() != parent) {
            std::_Exit(1);
        }
    });
    host.framework.addListener("account.cookieUpdated", &listener);
    int status = -1;
    onHostThread(host, [&] {
        std::thread([&] {
            host.library.account().raiseSignal("cookieUpdated", Thread::caller);
        }).join();
        const pid_t child = fork();
        if (child != 0) {
            waitpid(child, &status, 0);
            return;
        }
        std::thread([] {
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
            std::_Exit(0);
        }).detach();
    });
    require(status == 0, "the child delivers events");
    require(host.framework.uninit(), "uninit");
}

/// A child of a process whose run is over, made while a library thread comes late.
void forkWhileLateAnswersCome(HostFixture &host)
{
    host.start();
    host.script("logout", R"({"hold":true})");
    Counter replies;
    host.framework.asynCall("account.logout", "{}", &replies);
    require(waitFor([&] { return !host.library.account().held().empty(); }), "nothing is held");
    require(host.framework.uninit(), "uninit");
    host.library.account().setRecording(false);

    std::atomic<bool> isOver{false};
    const long held = host.library.account().held().front().id;
    std::thread late([&] {
        while (!isOver) {
            host.library.account().answerHeld(held, Thread::caller, 0, {}, true);
        }
    });
    for (int round = 0; round < 40; ++round) {
        require(holdsInChild([&] { return !host.framework.init("{}"); }),
                "the child hangs or ends by a signal");
    }
    isOver = true;
    late.join();
    require(replies.count == 0, "a late answer came through");
}

constexpr auto kWork = std::chrono::milliseconds(200); // the exit waits for that long
constexpr auto kLongestExit = std::chrono::milliseconds(1300);

std::atomic<bool> g_isWorking{false};
std::atomic<bool> g_hasReturned{false};
std::chrono::steady_clock::time_point g_leftAt;
std::atomic<int> g_started{0};

void work()
{
    ++g_started;
    g_isWorking = true;
    std::this_thread::sleep_for(kWork);
    g_isWorking = false;
}

/// An exit handler of a time before the start runs among the destructors of static objects.
void observeRest()
{
    const int before = g_started;
    require(std::chrono::steady_clock::now() - g_leftAt < kLongestExit, "the exit takes too long");
    zelectronframeworkspace::IElectronFramework &framework = LoadedLibrary::instance().framework();
    require(!framework.init("{}") && !framework.uninit(), "init or uninit while the process exits");
    require(!g_hasReturned, "init or uninit returns although the process exits");
    require(!g_isWorking, "the host thread works while the process exits");
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    require(g_started == before, "the host thread goes on while the process exits");
    if (hasBroken()) {
        std::_Exit(1);
    }
}

/// Starts, queues requests and stops, with the action in one operation of the account library.
[[noreturn]] void useFully(HostFixture &host, const char *operation,
                           const std::function<void()> &action)
{
    static Counter &replies = *new Counter; // still called while the process ends
    std::atexit(&observeRest);
    host.library.account().reset();
    host.library.account().setAction(operation, action);
    host.library.start();
    for (int i = 0; i < 5; ++i) {
        host.framework.asynCall("account.logout", "{}", &replies);
    }
    host.framework.uninit();
    g_hasReturned = true;
    for (;;) {
        pause();
    }
}

/// When another thread is in init or uninit, which it must not leave any more.
[[noreturn]] void leave(HostFixture &host)
{
    waitForStop(host);
    g_leftAt = std::chrono::steady_clock::now();
    std::exit(kExitCode); // NOLINT(concurrency-mt-unsafe)
}

/// On this thread, while the host thread is in that operation.
void exitBeside(HostFixture &host, const char *operation)
{
    std::thread([&host, operation] { useFully(host, operation, &work); }).detach();
    require(waitFor([] { return g_isWorking.load(); }), "the host thread does not work");
    leave(host);
}

} // namespace

Cases processCases()
{
    Cases cases{
        {"fork and return to the event loop", &forkAndReturn},
        {"fork everywhere", &forkEverywhere},
        {"fork while late answers come", &forkWhileLateAnswersCome},
    };
    for (const char *operation : {"init", "logout", "uninit"}) {
        const std::string name(operation);
        cases["exit beside " + name] = [operation](HostFixture &host) {
            exitBeside(host, operation);
        };
        cases["exit inside " + name] = [operation](HostFixture &host) {
            useFully(host, operation, [&] { leave(host); });
        };
        cases["exit on a thread that is joined in " + name] = [operation](HostFixture &host) {
            useFully(host, operation, [&] { std::thread([&] { leave(host); }).join(); });
        };
    }
    return cases;
}
