/// \file
/// The end of a run: event loops of the account library, and what it leaves behind.

#include "hostile.h"

#include <array>

#include <dlfcn.h>

namespace {

/// What the account library leaves on the host thread, how it shuts down, and the file that it is
/// loaded from.
void leaveBehind(HostFixture &host, const char *uninit, const char *uninitInterface = "{}",
                 const char *file = "/libzaccountlite.so")
{
    for (int run = 0; run < 2; ++run) {
        void *variant = dlopen((libraryFolder() + file).c_str(), RTLD_NOW);
        require(host.start(), "init");
        dlclose(variant);
        host.script("uninit", uninit);
        host.script("UninitInterface", uninitInterface);
        Counter listener;
        host.framework.addListener("account.cookieUpdated", &listener);
        require(isServing(host), "serving");
        require(host.framework.uninit(), "uninit");
        require(!isAccountLibraryMapped(), "the account library is still mapped");
    }
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

} // namespace

Cases unloadingCases()
{
    Cases cases{
        {"nested loop", &nestedLoop},
        {"nested loop that never ends", &endlessNestedLoop},
        {"nested loop inside call", &nestedLoopInsideCall},
        {"left: notifier, uninit throws",
         [](HostFixture &host) {
             leaveBehind(host, R"({"leave":"notifier","throwAfter":"x"})", R"({"throw":"x"})");
         }},
        {"left: notifier, no UninitInterface",
         [](HostFixture &host) {
             leaveBehind(host, R"({"leave":"notifier"})", "{}",
                         "/../standins/no-uninit/libzaccountlite.so");
         }},
    };
    for (const char *what :
         {"notifier", "notifierToDelete", "timer", "child", "functor", "names"}) {
        cases[std::string("left: ") + what] = [what](HostFixture &host) {
            leaveBehind(host, (R"({"leave":")" + std::string(what) + R"("})").c_str());
        };
    }
    return cases;
}
