/// \file
/// Operations beside init and uninit, and these where they are not expected.

#include "hostile.h"

#include <QCoreApplication>
#include <QThread>

#include <iterator>
#include <vector>

namespace {

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
        zelectronframeworkspace::IElectronFramework &framework = host.framework;
        zelectronframeworkspace::ListenerHandle handle = 0;
        Action stopper([&] { stops += framework.uninit(); });
        const char *const method = "accessbase.getDeviceInfo";
        const std::function<void()> steps[] = {
            [&] { accepted += framework.asynCall(method, "{}", &replies); }, // half of them
            [&] { starts += host.library.start(); },
            [&] { stops += framework.uninit(); },
            [&] { framework.call(method, "{}", &counter); },
            [&] { framework.call(method, "{}", &stopper); },
            [&] { framework.registerCallbackFunc("meetingDataChangeTask", &counter); },
            [&] { handle = framework.addListener("account.cookieUpdated", &counter); },
            [&] { framework.removeListener(handle); },
            [&] { host.library.account().raiseSignal("cookieUpdated", Thread::library); },
        };
        while (std::chrono::steady_clock::now() < end) {
            seed = seed * 1664525 + 1013904223;
            const unsigned step = seed >> 24 & 15;
            steps[step < std::size(steps) ? step : 0]();
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

/// From inside the account library, on whatever thread that is.
void stopInsideTheLibrary(HostFixture &host)
{
    host.library.account().reset();
    std::atomic<int> tried{0};
    std::atomic<int> stopped{0};
    const auto stop = [&] {
        ++tried;
        stopped += host.framework.uninit();
    };
    for (const char *operation :
         {"init", "getDeviceInfo", "registerCollectCallback", "registerMessageTask", "logout"}) {
        host.library.account().setAction(operation, stop);
    }
    require(host.library.start(), "init");
    Action callback(stop);
    host.call("accessbase.getDeviceInfo");
    host.framework.registerCallbackFunc("accountInfoCollectTask", &callback);
    host.framework.registerCallbackFunc("meetingDataChangeTask", &callback);
    require(!host.asynCall("account.logout").isEmpty(), "logout");
    host.library.account().collect("{\"a\":1}", Thread::library);
    host.library.account().waitUntilIdle(10000);
    require(tried == 6, "not everywhere");
    require(stopped == 0, "uninit");
    require(isServing(host), "serving");
    require(host.framework.uninit(), "uninit from outside");
}

/// A thread that another one's uninit waits for calls init.
void startInsideCallback(HostFixture &host)
{
    host.start();
    bool isRunning = false;
    bool hasStopped = false;
    std::thread stopper;
    Action callback([&] {
        stopper = std::thread([&] { hasStopped = host.framework.uninit(); });
        waitForStop(host);
        isRunning = host.library.start();
    });
    require(host.framework.call("utils.getLogPath", "{}", &callback), "call");
    stopper.join();
    require(isRunning, "init waits or starts another application");
    require(hasStopped, "uninit");
}

/// A method of the account library waits for the host thread, which is about to stop.
void methodWaitsForTheHostThread(HostFixture &host)
{
    for (int round = 0; round < 20; ++round) {
        host.start();
        std::atomic<int> waits{0};
        host.library.account().setAction("getDeviceInfo", [&] {
            ++waits;
            std::this_thread::sleep_for(std::chrono::microseconds(500)); // uninit goes on
            QMetaObject::invokeMethod(
                qApp, [] {}, Qt::BlockingQueuedConnection);
        });
        std::vector<std::thread> callers;
        callers.reserve(2);
        for (int i = 0; i < 2; ++i) {
            callers.emplace_back([&] {
                Counter reply;
                while (host.framework.call("accessbase.getDeviceInfo", "{}", &reply)) {}
            });
        }
        require(waitFor([&] { return waits > 2; }), "nobody waits");
        require(host.framework.uninit(), "uninit");
        for (std::thread &caller : callers) {
            caller.join();
        }
    }
}

/// Calls of two threads, each of which ends when the other's has begun: there is always one, and
/// uninit waits for those before it alone, and for the last ones.
void callsNeverPause(HostFixture &host)
{
    host.start();
    std::atomic<int> begun{0};
    std::atomic<int> inside{0};
    std::atomic<bool> isRefused{false};
    Action relay([&] {
        ++inside;
        const int mine = ++begun;
        while (begun == mine && !isRefused) {
            std::this_thread::yield();
        }
        if (isRefused) {
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        --inside;
    });
    std::vector<std::thread> callers;
    callers.reserve(2);
    for (int i = 0; i < 2; ++i) {
        callers.emplace_back([&] {
            while (host.framework.call("utils.getLogPath", "{}", &relay)) {}
            isRefused = true;
        });
    }
    require(waitFor([&] { return begun > 10; }), "the calls do not overlap");
    require(host.framework.uninit(), "uninit");
    require(inside == 0, "uninit does not wait for a callback");
    for (std::thread &caller : callers) {
        caller.join();
    }
}

void eventsBehindUninitAreDropped(HostFixture &host)
{
    host.start();
    std::atomic<bool> mayGoOn{false};
    Action hold([&] { waitFor([&] { return mayGoOn.load(); }); });
    Counter listener;
    host.framework.addListener("account.cookieUpdated", &listener);
    host.framework.asynCall("nowhere.method", "{}", &hold);
    const auto raise = [&] { host.library.account().raiseSignal("cookieUpdated", Thread::caller); };
    raise();
    raise();
    std::thread stopper([&] { require(host.framework.uninit(), "uninit"); });
    waitForStop(host);
    raise();
    mayGoOn = true;
    stopper.join();
    require(listener.count == 2, "not the events before uninit");
}

} // namespace

Cases lifecycleCases()
{
    return {
        {"accepted calls are answered", &acceptedCallsAreAnswered},
        {"calls never pause", &callsNeverPause},
        {"events behind uninit are dropped", &eventsBehindUninitAreDropped},
        {"init inside a callback", &startInsideCallback},
        {"method waits for the host thread", &methodWaitsForTheHostThread},
        {"operations overlap", &operationsOverlap},
        {"uninit inside the account library", &stopInsideTheLibrary},
    };
}
