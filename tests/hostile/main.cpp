/// \file
/// Closed libraries that misbehave and hosts that break rules, one case to a process:
/// zef_hostile CASE. Prints what did not hold and ends with 0, or as the case does, when everything
/// did.

#include "hostile.h"

#include <cstdio>

#include <dlfcn.h>

namespace {

std::atomic<int> g_broken{0};

Cases allCases()
{
    Cases all;
    for (const auto &ofSubject :
         {lifecycleCases, misbehaviourCases, processCases, threadCases, unloadingCases}) {
        all.merge(ofSubject());
    }
    return all;
}

} // namespace

void require(bool holds, const char *what)
{
    if (!holds) {
        ++g_broken;
        std::printf("%s\n", what);
        std::fflush(stdout);
    }
}

void onHostThread(HostFixture &host, const std::function<void()> &function)
{
    Action action(function);
    std::atomic<bool> isDone{false};
    Action done([&] { isDone = true; });
    host.framework.asynCall("nowhere.method", "{}", &action);
    host.framework.asynCall("nowhere.method", "{}", &done);
    require(waitFor([&] { return isDone.load(); }), "the host thread does not answer");
}

bool hasBroken()
{
    return g_broken > 0;
}

bool isServing(HostFixture &host)
{
    return host.asynCall("accessbase.getDeviceInfo").contains(R"("result":"ok")");
}

bool isAccountLibraryMapped()
{
    return dlopen("libzaccountlite.so", RTLD_LAZY | RTLD_NOLOAD) != nullptr;
}

void waitForStop(HostFixture &host)
{
    const auto isRefused = [&] {
        return !host.framework.asynCall("nowhere.method", "{}", nullptr);
    };
    require(waitFor(isRefused), "nobody stops");
}

int main(int argc, char **argv)
{
    const Cases cases = allCases();
    if (argc == 1) {
        for (const auto &[name, run] : cases) {
            std::puts(name.c_str());
        }
        return 0;
    }
    const auto found = cases.find(argv[1]);
    if (found == cases.end()) {
        return 2;
    }
    HostFixture host;
    found->second(host);
    return hasBroken() ? 1 : 0;
}
