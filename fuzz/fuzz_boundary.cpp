// Sequences of operations of a host, and of what an account library that fails at random does
// meanwhile, over all methods, events and task types, with restarts between them.

#include "stress/client.h"
#include "stress/traffic.h"
#include "stress/verdict.h"

#include <cstdlib>

#include <dlfcn.h>
#include <fuzzer/FuzzedDataProvider.h>

using zefstandin::Thread;

// The library's threads come and go between two inputs, where a search for leaks stops them midway
// and fails. The tests under AddressSanitizer look for leaks.
extern "C" const char *__asan_default_options()
{
    return "detect_leaks=0";
}

namespace {

// Host and library run on without a restart for so many inputs at most.
constexpr int kInputsPerRun = 200;
constexpr int kStepsPerInput = 64;

const char *const kScripts[] = {R"({"refuse":true})",
                                R"({"hold":true})",
                                R"({"times":2,"thread":"caller"})",
                                R"({"times":0})",
                                R"({"statuses":[-1,100,101]})",
                                R"({"reply":{"taskResult":5}})",
                                R"({"throw":"on purpose"})",
                                R"({"dropAtUninit":true})",
                                "{}"};
const char *const kScripted[] = {"getAccount",
                                 "getScheduler",
                                 "getLoginService",
                                 "getSignService",
                                 "getMessageTaskRegistry",
                                 "getInfoCollectHandler",
                                 "loginCallback",
                                 "logout",
                                 "registerCollectCallback",
                                 "signPopToken",
                                 "getDeviceInfo",
                                 "setDomain",
                                 "grantAuthorizeCodeOffice",
                                 "getAuthorizedUserInfoOffice",
                                 "notifyOfficeMsg/enterMeeting",
                                 "notifyOfficeMsg/getMeetingStatus"};
const Thread kThreads[] = {Thread::caller, Thread::library, Thread::host};

class InputDice final : public Dice
{
public:
    explicit InputDice(FuzzedDataProvider &input) : m_input(input) {}

    std::uint64_t next() override { return m_input.ConsumeIntegral<std::uint64_t>(); }
    int below(int limit) override { return m_input.ConsumeIntegral<std::uint8_t>() % limit; }
    std::string foreignText() override
    {
        return oneIn(8) ? m_input.ConsumeRandomLengthString(255) : std::string();
    }

private:
    FuzzedDataProvider &m_input;
};

/// One host, from init to uninit. Its callbacks end with it, after uninit.
class Host
{
public:
    Host()
    {
        // Never unloaded: the fuzzer reads the counters of all code that it has seen.
        static void *const standIn =
            dlopen((libraryFolder() + "/libzaccountlite.so").c_str(), RTLD_NOW);
        static_cast<void>(standIn);
        m_run.isHonest = false;
        m_run.account.reset();
        m_run.start(R"({"initFinishedAfterMs":0})");
    }

    ~Host()
    {
        m_run.stop();
        m_run.account.releaseAll(Thread::caller); // to nobody
    }
    Host(const Host &) = delete;
    Host &operator=(const Host &) = delete;

    void step(Dice &dice)
    {
        const int choice = dice.below(16);
        if (choice < 10) {
            m_client.step(dice);
        } else if (choice < 12) {
            m_traffic.raiseEvent(dice, dice.pick(kThreads));
        } else if (choice < 13) {
            m_traffic.sendOther(dice, dice.pick(kThreads));
        } else if (choice < 14) {
            m_run.account.setHostile(static_cast<unsigned>(dice.below(256)));
        } else if (choice < 15) {
            expect(m_run.account.script(dice.pick(kScripted), dice.pick(kScripts)), "no script");
        } else {
            m_run.account.releaseAll(dice.pick(kThreads));
        }
    }

    void removeListeners() { m_client.removeListeners(0); }

private:
    Run m_run;
    TaskCounters m_tasks = taskCounters(m_run);
    Client m_client{m_run, m_tasks};
    Traffic m_traffic{m_run};
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static Host *host = nullptr; // runs on at the end of the process
    static int inputs = 0;

    FuzzedDataProvider input(data, size);
    InputDice dice(input);
    if (!host || dice.oneIn(16) || ++inputs % kInputsPerRun == 0) {
        delete host;
        host = new Host;
    }
    for (int steps = 0; steps < kStepsPerInput && input.remaining_bytes() > 0; ++steps) {
        if (dice.oneIn(256)) {
            delete host;
            host = new Host;
        }
        host->step(dice);
    }
    host->removeListeners();
    if (brokenCount() > 0) {
        std::abort();
    }
    return 0;
}
