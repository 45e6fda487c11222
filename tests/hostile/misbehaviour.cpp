/// \file
/// Misbehaviour of the closed libraries while a run lasts.

#include "hostile.h"

#include <QCoreApplication>

#include <algorithm>
#include <ctime>
#include <vector>

namespace {

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

void applicationIsAskedToQuit(HostFixture &host)
{
    host.start();
    host.script("logout", R"({"quit":true})");
    host.library.account().setAction("logout", [] {
        QObject::connect(qApp, &QCoreApplication::aboutToQuit, qApp, [] { throw 1; });
    });
    for (int i = 0; i < 3; ++i) {
        require(!host.asynCall("account.logout").isEmpty(), "logout");
        require(isServing(host), "the host thread has ended");
    }
    require(host.framework.uninit(), "uninit");
    require(host.library.account().calls().back().name == "UninitInterface", "not un-initialised");
}

/// The second registration builds anew what the account library has destroyed during the first.
void contextIsDestroyed(HostFixture &host, const char *operation)
{
    host.start();
    host.script(operation, R"({"destroyContext":true,"count":1})");
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

/// With its context the account library destroys the handler: its module fails until the next run.
void handlersAreDestroyed(HostFixture &host)
{
    const char *const report = R"({"event":"e","busyType":"b","data":{"d":1}})";
    for (int run = 0; run < 2; ++run) {
        host.start();
        for (const char *task :
             {"getAuthorizedUserInfoOffice", "notifyOfficeMsg/getMeetingStatus"}) {
            host.script(task, R"({"destroyContext":true})");
        }
        Recorder replies;
        onHostThread(host, [&] { // all are queued before the first runs
            for (int i = 0; i < 2; ++i) {
                host.framework.asynCall("account.getOfficeUserInfo", "{}", &replies);
                host.framework.asynCall("meeting.changeMeetingStatus", report, &replies);
            }
        });
        int granted = 0;
        for (int i = 0; i < 4; ++i) {
            granted += replies.text().contains(R"("ok")");
        }
        require(granted == 2, "not those before the handlers were destroyed");
        require(host.asynCall("account.getOfficeUserInfo").contains("fail"), "afterwards");
        require(isServing(host), "serving");
        require(host.framework.uninit(), "uninit");
    }
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

void accountLibraryThrows(HostFixture &host)
{
    zefstandin::AccountControl &account = host.library.account();
    host.start();
    Counter callback;
    require(host.framework.registerCallbackFunc("meetingDataChangeTask", &callback), "register");
    for (const char *operation : {"getAccount", "loginCallback", "registerCollectCallback"}) {
        host.script(operation, R"({"throw":"x"})");
    }
    require(!host.framework.registerCallbackFunc("accountInfoCollectTask", &callback), "collect");
    onHostThread(host, [&] {
        require(host.call("account.getAccountListInfo") ==
                    failure("method:getAccountListInfo call failed"),
                "call");
    });
    // In deliveries.
    require(account.sendMessage("{}", Thread::caller, MessageContext::throwing) == 0, "message");
    require(host.asynCall("account.quickLogin").contains("fail"), "quickLogin");
    account.waitUntilIdle(10000);
    require(account.exceptions() == 0, "an exception returns to the library");
    // In an event of the library.
    account.setAction("logout", [] {
        QMetaObject::invokeMethod(
            qApp, [] { throw 1; }, Qt::QueuedConnection);
    });
    require(!host.asynCall("account.logout").isEmpty(), "logout");
    require(isServing(host), "serving");
    require(host.framework.uninit(), "uninit");
}

double threadSeconds()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return double(time.tv_sec) + double(time.tv_nsec) * 1e-9;
}

/// The processor time of events each of which comes right after a change of the subscriptions to
/// it: the least of several measurements.
double eventSeconds(HostFixture &host)
{
    double least = 1e9;
    for (int measurement = 0; measurement < 5; ++measurement) {
        onHostThread(host, [&] {
            Counter own;
            std::vector<zelectronframeworkspace::ListenerHandle> handles;
            const double start = threadSeconds();
            for (int round = 0; round < 100; ++round) {
                handles.push_back(host.framework.addListener("account.cookieUpdated", &own));
                host.library.account().raiseSignal("cookieUpdated", Thread::caller);
            }
            least = std::min(least, threadSeconds() - start);
            require(own.count == 5050, "an event was not delivered");
            for (const auto handle : handles) {
                host.framework.removeListener(handle);
            }
        });
    }
    return least;
}

void eventsDoNotPayForOthers(HostFixture &host)
{
    host.start(R"({"initFinishedAfterMs":-1})");
    const double alone = eventSeconds(host);
    Counter others;
    for (int i = 0; i < 100000; ++i) {
        host.framework.addListener("account.authInfoChanged", &others);
    }
    require(eventSeconds(host) < 10 * alone, "an event pays for subscriptions to others");
    host.framework.uninit();
    require(others.count == 0, "an event went to the wrong listeners");
}

} // namespace

Cases misbehaviourCases()
{
    return {
        {"account library throws", &accountLibraryThrows},
        {"application is asked to quit", &applicationIsAskedToQuit},
        {"context is destroyed at once",
         [](HostFixture &host) { contextIsDestroyed(host, "registerMessageTask"); }},
        {"context is destroyed by a task",
         [](HostFixture &host) { contextIsDestroyed(host, "notifyOfficeMsg/enterMeeting"); }},
        {"events do not pay for others", &eventsDoNotPayForOthers},
        {"handlers are destroyed", &handlersAreDestroyed},
        {"log library throws", &logLibraryThrows},
        {"notifier without signals", &notifierWithoutSignals},
        {"operation answers and throws", &operationAnswersAndThrows},
    };
}
