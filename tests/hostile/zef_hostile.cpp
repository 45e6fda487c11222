/// \file
/// Closed libraries that misbehave and hosts that break rules, one case to a process:
/// zef_hostile CASE. Prints what did not hold and ends with 0 when everything did.

#include "support/hostfixture.h"

#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

using zefstandin::MessageContext;
using zefstandin::Thread;
using zelectronframeworkspace::IElectronCallback;

namespace {

int g_broken = 0;

void require(bool holds, const char *what)
{
    if (!holds) {
        ++g_broken;
        std::printf("%s\n", what);
        std::fflush(stdout);
    }
}

thread_local bool t_isSlow = false; // this thread loses the processor inside write()
int g_slowWrites = 0;
bool g_wasClosedMeanwhile = false;

class Counter final : public IElectronCallback
{
public:
    void onCallback(const char *, std::size_t) override { ++count; }
    std::atomic<int> count{0};
};

/// Runs an action inside each delivery.
class Action final : public IElectronCallback
{
public:
    explicit Action(std::function<void()> action) : m_action(std::move(action)) {}
    void onCallback(const char *, std::size_t) override { m_action(); }

private:
    const std::function<void()> m_action;
};

template <typename Condition>
bool waitFor(Condition condition)
{
    for (int step = 0; step < 10000 && !condition(); ++step) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return condition();
}

/// Runs a function on the host thread, inside a callback.
void onHostThread(HostFixture &host, const std::function<void()> &function)
{
    Action action(function);
    std::atomic<bool> isDone{false};
    Action done([&] { isDone = true; });
    host.framework.asynCall("nowhere.method", "{}", &action);
    host.framework.asynCall("nowhere.method", "{}", &done);
    require(waitFor([&] { return isDone.load(); }), "the host thread does not answer");
}

bool isServing(HostFixture &host)
{
    return host.asynCall("accessbase.getDeviceInfo").contains(R"("result":"ok")");
}

bool isAccountLibraryMapped()
{
    return dlopen("libzaccountlite.so", RTLD_LAZY | RTLD_NOLOAD) != nullptr;
}

void notifierOutlivesItsLibrary(HostFixture &host)
{
    host.start();
    host.script("uninit", R"({"leave":"notifier"})");
    Counter listener;
    host.framework.addListener("account.cookieUpdated", &listener);
    require(host.framework.uninit(), "uninit");
    require(!isAccountLibraryMapped(), "the account library is still mapped");
}

void notifierWithoutSignals(HostFixture &host)
{
    require(host.library.start(), "init"); // prints nothing
    host.framework.uninit();
    host.script("notifier", R"({"plainNotifier":true})");
    require(host.library.start(), "init with a plain notifier");
    host.framework.uninit();
    host.script("notifier", R"({"refuse":true})");
    require(host.library.start(), "init without a notifier");
    host.framework.uninit();
}

/// The host thread waits inside the account library while uninit is called.
void stopInsideNestedLoop(HostFixture &host, const char *script, int longestMilliseconds)
{
    host.start();
    host.script("logout", script);
    Recorder reply;
    Recorder queued;
    require(host.framework.asynCall("account.logout", "{}", &reply), "asynCall");
    require(waitFor([&] { return !host.argumentsOf("logout").isEmpty(); }), "not called");
    require(host.framework.asynCall("nowhere.method", "{}", &queued), "asynCall behind it");

    const auto start = std::chrono::steady_clock::now();
    require(host.framework.uninit(), "uninit");
    const auto took = std::chrono::steady_clock::now() - start;
    require(took < std::chrono::milliseconds(longestMilliseconds), "uninit took too long");
    require(!reply.text(0).isEmpty(), "the operation's answer is lost");
    require(!queued.text(0).isEmpty(), "a queued method is lost");
    require(!isAccountLibraryMapped(), "the account library is still mapped");
}

void nestedLoop(HostFixture &host)
{
    stopInsideNestedLoop(host, R"({"loopMs":300,"thread":"caller"})", 1500);
}

void endlessNestedLoop(HostFixture &host)
{
    stopInsideNestedLoop(host, R"({"loopMs":-1,"thread":"caller"})", 4000);
}

void nestedLoopInsideCall(HostFixture &host)
{
    host.start();
    host.script("logout", R"({"loopMs":300,"thread":"caller"})");
    Recorder inner;
    Action caller([&] { host.framework.call("account.logout", "{}", &inner); });
    host.framework.asynCall("nowhere.method", "{}", &caller);
    require(waitFor([&] { return !host.argumentsOf("logout").isEmpty(); }), "not called");
    require(host.framework.uninit(), "uninit");
    require(inner.text(0).contains("not signed in"), "the reply of call is lost");
}

void applicationIsAskedToQuit(HostFixture &host)
{
    host.start();
    host.script("logout", R"({"quit":true})");
    for (int i = 0; i < 3; ++i) {
        require(!host.asynCall("account.logout").isEmpty(), "logout");
        require(isServing(host), "the host thread has ended");
    }
    require(host.framework.uninit(), "uninit");
    require(host.library.account().calls().back().name == "UninitInterface", "not un-initialised");
}

void contextIsDestroyed(HostFixture &host)
{
    host.start();
    host.script("notifyOfficeMsg/enterMeeting", R"({"destroyContext":true,"count":1})");
    Recorder first;
    Recorder second;
    require(host.framework.registerCallbackFunc("meetingDataChangeTask", &first), "first");
    require(host.framework.registerCallbackFunc("meetingDataChangeTask", &second), "second");
    const char *const message = R"({"msgType":"closeMeetingApp"})";
    host.library.account().sendMessage(message, Thread::library, MessageContext::alive);
    require(second.text().contains("closeMeetingApp"), "the second registration gets nothing");
    require(first.count() == 0, "the first registration still gets messages");
    require(host.framework.uninit(), "uninit");
}

void logLibraryThrows(HostFixture &host)
{
    host.library.log().setThrowing(true);
    require(host.library.start(), "init");
    require(host.call("accessbase.getDeviceInfo").contains("ok"), "call");
    require(host.call("utils.getLogPath").contains("log path is null"), "getLogPath");
    require(isServing(host), "asynCall");
    require(host.asynCall("account.logout").contains("not signed in"), "logout");
    Action thrower([&] { throw 1; });
    host.framework.addListener("account.cookieUpdated", &thrower);
    host.library.account().raiseSignal("cookieUpdated", Thread::library);
    host.library.account().waitUntilIdle(10000);
    host.framework.registerCallbackFunc("unknown", &thrower);
    host.library.account().writeLog("info", "line", Thread::library);
    require(isServing(host), "after a listener that throws");
    require(host.framework.uninit(), "uninit");
    host.library.log().setThrowing(false);
}

void operationAnswersAndThrows(HostFixture &host)
{
    host.start(R"({"answers":"inline"})");
    const char *const script = R"({"thread":"caller","throwAfter":"late"})";
    host.script("logout", script);
    host.script("loginCallback", script);
    host.script("getAuthorizedUserInfoOffice", script);
    host.script("grantAuthorizeCodeOffice", R"({"thread":"caller"})");
    for (const char *method :
         {"account.logout", "account.quickLogin", "account.getOfficeUserInfo"}) {
        Counter replies;
        require(host.framework.asynCall(method, "{}", &replies), method);
        require(isServing(host), "behind it");
        require(replies.count == 1, method);
    }
    onHostThread(host, [&] {
        require(host.call("account.logout").contains("currentUserId"), "the answer to call");
    });
    // An operation that throws before it has answered is answered here.
    host.script("logout", R"({"throw":"early"})");
    require(host.asynCall("account.logout") == failure("method:logout asynCall failed"), "early");
    require(host.framework.uninit(), "uninit");
}

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

struct EndingThread
{
    HostFixture &host;
    void (*end)();
    bool hasReturned = false;
};

void *callAndEnd(void *argument)
{
    auto &thread = *static_cast<EndingThread *>(argument);
    Action action(thread.end);
    thread.host.framework.call("accessbase.getDeviceInfo", "{}", &action);
    thread.hasReturned = true;
    return nullptr;
}

void threadEndsInsideItsCallback(HostFixture &host)
{
    host.start();
    for (void (*end)() : {+[] { pthread_exit(nullptr); },
                          +[] {
                              pthread_cancel(pthread_self());
                              pthread_testcancel();
                          }}) {
        EndingThread ending{host, end};
        pthread_t thread{};
        pthread_create(&thread, nullptr, &callAndEnd, &ending);
        pthread_join(thread, nullptr);
        require(!ending.hasReturned, "the thread went on");
        require(isServing(host), "afterwards");
    }
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
        const pid_t child = fork();
        if (child == 0) {
            // Of the stand-in only what takes no lock: the log library is not asked to record.
            alarm(20);
            std::_Exit(host.framework.init("{}") ? 1 : 0);
        }
        int status = -1;
        waitpid(child, &status, 0);
        require(status == 0, "the child hangs or ends by a signal");
    }
    isOver = true;
    late.join();
    require(replies.count == 0, "a late answer came through");
}

/// What was accepted is answered exactly once, however uninit falls in between.
void acceptedCallsAreAnswered(HostFixture &host)
{
    for (int round = 0; round < 200; ++round) {
        host.start();
        Counter replies;
        std::atomic<int> accepted{0};
        std::vector<std::thread> callers;
        callers.reserve(3);
        for (int i = 0; i < 3; ++i) {
            callers.emplace_back([&] {
                while (host.framework.asynCall("accessbase.getDeviceInfo", "{}", &replies)) {
                    ++accepted;
                }
            });
        }
        std::this_thread::sleep_for(std::chrono::microseconds(round * 20));
        require(host.framework.uninit(), "uninit");
        for (std::thread &caller : callers) {
            caller.join();
        }
        if (replies.count != accepted) {
            require(false, "an accepted call is not answered once");
            return;
        }
    }
}

/// Every operation at any time on many threads, init and uninit among them.
void operationsOverlap(HostFixture &host)
{
    host.library.account().setRecording(false);
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(3);
    Counter counter;
    std::atomic<int> accepted{0};
    Counter replies;
    std::atomic<int> starts{0};
    std::atomic<int> stops{0};
    std::atomic<int> ended{0};
    std::atomic<bool> isStopped{false};
    const auto work = [&](unsigned seed) {
        Action stopper([&] { stops += host.framework.uninit(); });
        zelectronframeworkspace::ListenerHandle handle = 0;
        while (std::chrono::steady_clock::now() < end) {
            seed = seed * 1664525 + 1013904223;
            switch (seed >> 24 & 15) {
            case 0:
            case 1:
                starts += host.library.start();
                break;
            case 2:
                stops += host.framework.uninit();
                break;
            case 3:
                host.framework.call("accessbase.getDeviceInfo", "{}", &stopper);
                break;
            case 4:
                host.framework.registerCallbackFunc("meetingDataChangeTask", &counter);
                break;
            case 5:
                handle = host.framework.addListener("account.cookieUpdated", &counter);
                break;
            case 6:
                host.framework.removeListener(handle);
                break;
            case 7:
                host.library.account().raiseSignal("cookieUpdated", Thread::library);
                break;
            case 8:
            case 9:
                host.framework.call("accessbase.getDeviceInfo", "{}", &counter);
                break;
            default:
                accepted += host.framework.asynCall("accessbase.getDeviceInfo", "{}", &replies);
            }
        }
        // Qt loses 368 bytes when a thread ends that has started one application, another thread
        // has stopped it and a second application is running.
        ++ended;
        while (!isStopped) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    };
    std::vector<std::thread> threads;
    for (unsigned seed = 1; seed <= 6; ++seed) {
        threads.emplace_back(work, seed);
    }
    waitFor([&] { return ended == 6; });
    host.framework.uninit();
    isStopped = true;
    for (std::thread &thread : threads) {
        thread.join();
    }
    require(starts > 10 && stops > 10 && accepted > 100, "nothing happened");
    require(replies.count == accepted, "an accepted call is not answered once");
}

/// The time of events each of which comes right after a change of the subscriptions to it.
double eventSeconds(HostFixture &host)
{
    Counter own;
    std::vector<zelectronframeworkspace::ListenerHandle> handles;
    const auto start = std::chrono::steady_clock::now();
    for (int round = 0; round < 100; ++round) {
        handles.push_back(host.framework.addListener("account.cookieUpdated", &own));
        const int seen = own.count;
        host.library.account().raiseSignal("cookieUpdated", Thread::host);
        while (own.count == seen) {
            std::this_thread::yield();
        }
    }
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    for (const auto handle : handles) {
        host.framework.removeListener(handle);
    }
    return took.count();
}

void eventsDoNotPayForOthers(HostFixture &host)
{
    host.start(R"({"initFinishedAfterMs":-1})");
    const double alone = eventSeconds(host);
    Counter others;
    for (int i = 0; i < 100000; ++i) {
        host.framework.addListener("account.authInfoChanged", &others);
    }
    require(eventSeconds(host) < 10 * alone + 0.05, "an event pays for subscriptions to others");
    host.framework.uninit();
    require(others.count == 0, "an event went to the wrong listeners");
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

using Case = void (*)(HostFixture &);

const std::map<std::string, Case> &cases()
{
    static const std::map<std::string, Case> table{
        {"accepted calls are answered", &acceptedCallsAreAnswered},
        {"application is asked to quit", &applicationIsAskedToQuit},
        {"context is destroyed", &contextIsDestroyed},
        {"endless nested loop", &endlessNestedLoop},
        {"events do not pay for others", &eventsDoNotPayForOthers},
        {"fork while late answers come", &forkWhileLateAnswersCome},
        {"log library throws", &logLibraryThrows},
        {"nested loop", &nestedLoop},
        {"nested loop inside call", &nestedLoopInsideCall},
        {"notifier outlives its library", &notifierOutlivesItsLibrary},
        {"notifier without signals", &notifierWithoutSignals},
        {"operation answers and throws", &operationAnswersAndThrows},
        {"operations overlap", &operationsOverlap},
        {"signals stay with the host", &signalsStayWithTheHost},
        {"stop while still waking", &stopWhileStillWaking},
        {"thread ends inside its callback", &threadEndsInsideItsCallback},
    };
    return table;
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

int main(int argc, char **argv)
{
    if (argc == 1) {
        for (const auto &[name, run] : cases()) {
            std::puts(name.c_str());
        }
        return 0;
    }
    const auto found = cases().find(argv[1]);
    if (found == cases().end()) {
        return 2;
    }
    HostFixture host;
    found->second(host);
    return g_broken ? 1 : 0;
}
