/// \file
/// One life of the framework in which one call of the system fails, then a second life without a
/// failure: zef_faultchild KIND NUMBER. Prints what failed and how the first start went; ends with
/// 0 when every promise was kept.

#include "stress/faults.h"
#include "stress/verdict.h"
#include "support/interface.h"
#include "support/loadedlibrary.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <vector>

using zefstandin::MessageContext;
using zefstandin::Thread;
using zelectronframeworkspace::IElectronCallback;
using zelectronframeworkspace::IElectronFramework;

namespace {

const std::map<std::string, FaultKind> kKinds = {{"dlopen", FaultKind::dlopen},
                                                 {"dlsym", FaultKind::dlsym},
                                                 {"threads", FaultKind::threads},
                                                 {"files", FaultKind::files}};

class Reply final : public IElectronCallback
{
public:
    void onCallback(const char *text, std::size_t) override
    {
        expect(!std::strncmp(text, "{\"", 2), std::string("no reply: ") + text);
        ++count;
    }
    std::atomic<int> count{0};
};

class Any final : public IElectronCallback
{
public:
    void onCallback(const char *, std::size_t) override {}
};

/// Every operation, as far as \p isRunning says that they may be accepted.
void useAll(LoadedLibrary &library, bool isRunning)
{
    IElectronFramework &framework = library.framework();
    Any events;
    Any tasks;
    const std::vector<Request> &requests = Interface::instance().requests;
    for (const Request &request : requests) {
        Reply reply;
        expect(framework.call(request.path.c_str(), "{}", &reply) == isRunning,
               request.path + " by call");
        expect(reply.count == (isRunning ? 1 : 0), request.path + " is not answered");
    }
    const auto handle = framework.addListener("account.cookieUpdated", &events);
    expect((handle != 0) == isRunning, "addListener");
    expect(framework.registerCallbackFunc("meetingDataChangeTask", &tasks) == isRunning,
           "registerCallbackFunc");
    library.account().sendMessage(R"({"msgType":"getMeetingStatus"})", Thread::caller,
                                  MessageContext::alive);
    library.account().raiseSignal("cookieUpdated", Thread::caller);

    std::vector<Reply> replies(requests.size());
    for (std::size_t i = 0; i < requests.size(); ++i) {
        expect(framework.asynCall(requests[i].path.c_str(), "{}", &replies[i]) == isRunning,
               requests[i].path + " by asynCall");
    }
    framework.removeListener(handle);
    // A start that failed half-way is stopped as well; one that did not begin is not.
    withoutHanging("uninit", [&] { expect(framework.uninit() || !isRunning, "uninit fails"); });
    for (std::size_t i = 0; i < requests.size(); ++i) {
        expect(replies[i].count == (isRunning ? 1 : 0), requests[i].path + " is not answered once");
    }
}

bool start(LoadedLibrary &library)
{
    bool isStarted = false;
    withoutHanging("init", [&] { isStarted = library.start(); });
    return isStarted;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 3 || !kKinds.count(argv[1])) {
        std::fputs("usage: zef_faultchild dlopen|dlsym|threads|files NUMBER\n", stderr);
        return 2;
    }
    LoadedLibrary &library = LoadedLibrary::instance();
    Interface::instance(); // read before calls are counted
    std::string logs = "/tmp/zef_faults.XXXXXX";
    if (!mkdtemp(logs.data())) {
        return 2;
    }
    library.log().setBaseDirectory(logs);

    armFault(kKinds.at(argv[1]), std::strtol(argv[2], nullptr, 10));
    const bool isStarted = start(library);
    useAll(library, isStarted);
    disarmFault();
    std::printf("%ld %d %s\n", countedCalls(), isStarted, failedCall().c_str());

    expect(start(library), "the start after the fault fails");
    useAll(library, true);
    std::filesystem::remove_all(logs);
    return brokenCount() == 0 ? 0 : 1;
}
