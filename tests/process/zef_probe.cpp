/// \file
/// A small host for tst_processes: zef_probe LIBRARY SCENARIO. Prints what the test compares and
/// ends with 7 when the scenario ran to its own end.

#include "log/control.h"
#include "zelectronframework/zelectronframework.h"

#include <array>
#include <atomic>
#include <cfenv>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <thread>

#include <dlfcn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using zelectronframeworkspace::IElectronCallback;
using zelectronframeworkspace::IElectronFramework;

namespace {

constexpr int kReachedTheEnd = 7;

const char kSettings[] = R"({"app":{"appName":"probe","productName":"p","version":"1",)"
                         R"("localStoragePath":"/tmp"}})";

class Printer final : public IElectronCallback
{
public:
    void onCallback(const char *text, std::size_t) override
    {
        std::puts(text);
        std::fflush(stdout);
        if (action) {
            action();
        }
    }
    std::function<void()> action;
};

class Counter final : public IElectronCallback
{
public:
    void onCallback(const char *, std::size_t) override { ++count; }
    std::atomic<int> count{0};
};

void *g_library = nullptr;

void start(IElectronFramework &framework)
{
    std::printf("init %d\n", framework.init(kSettings));
    std::fflush(stdout);
}

int runOnce(IElectronFramework &framework)
{
    start(framework);
    Printer printer;
    framework.call("utils.getLogPath", "{}", &printer);
    std::printf("uninit %d\n", framework.uninit());
    return kReachedTheEnd;
}

Counter &g_answers = *new Counter; // still called while the process ends

/// Calls that are still queued, or being answered, when the process ends.
void keepBusy(IElectronFramework &framework)
{
    for (int i = 0; i < 5000; ++i) {
        framework.asynCall("accessbase.getDeviceInfo", "{}", &g_answers);
    }
}

int leaveMain(IElectronFramework &framework)
{
    start(framework);
    keepBusy(framework);
    return kReachedTheEnd;
}

int exitOnAnotherThread(IElectronFramework &framework)
{
    start(framework);
    keepBusy(framework);
    std::thread([] { std::exit(kReachedTheEnd); }).join(); // NOLINT(concurrency-mt-unsafe)
    return 1;
}

int exitQuickly(IElectronFramework &framework)
{
    start(framework);
    keepBusy(framework);
    std::fflush(stdout);
    std::quick_exit(kReachedTheEnd);
}

int exitInsideCallback(IElectronFramework &framework)
{
    start(framework);
    static Printer &printer = *new Printer;
    printer.action = [] { std::exit(kReachedTheEnd); }; // NOLINT(concurrency-mt-unsafe)
    framework.asynCall("nowhere.method", "{}", &printer);
    for (;;) {
        pause();
    }
}

int unload(IElectronFramework &framework)
{
    start(framework);
    keepBusy(framework);
    dlclose(g_library);
    std::printf("mapped %d\n", dlopen(nullptr, RTLD_NOW) && framework.call("a", "", nullptr));
    return kReachedTheEnd;
}

/// What the parent's threads hold is out of a leak checker's sight in the child.
[[noreturn]] void leaveChild(int code)
{
#ifdef __SANITIZE_ADDRESS__
    std::_Exit(code);
#else
    std::exit(code); // NOLINT(concurrency-mt-unsafe)
#endif
}

int forkWhileRunning(IElectronFramework &framework)
{
    start(framework);
    const pid_t child = fork();
    if (child == 0) {
        Counter counter;
        const bool isAnyTrue = framework.init(kSettings) || framework.uninit() ||
                               framework.call("utils.getLogPath", "{}", &counter) ||
                               framework.asynCall("utils.getLogPath", "{}", &counter) ||
                               framework.registerCallbackFunc("meetingDataChangeTask", &counter) ||
                               framework.addListener("account.cookieUpdated", &counter) != 0;
        framework.removeListener(1);
        leaveChild(isAnyTrue || counter.count ? 1 : 0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    std::printf("child %d\n", status);
    std::printf("uninit %d\n", framework.uninit());
    return kReachedTheEnd;
}

int forkBeforeStart(IElectronFramework &framework)
{
    const pid_t child = fork();
    if (child == 0) {
        std::exit(runOnce(framework)); // NOLINT(concurrency-mt-unsafe)
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WEXITSTATUS(status);
}

/// Everything of the process that start and stop must leave as it was.
std::string processState()
{
    std::string state = std::setlocale(LC_ALL, nullptr); // NOLINT(concurrency-mt-unsafe)
    for (int number = 1; number < 32; ++number) {
        struct sigaction action = {};
        sigaction(number, nullptr, &action);
        state += ' ' + std::to_string(reinterpret_cast<std::uintptr_t>(action.sa_handler));
    }
    const mode_t mask = umask(0);
    umask(mask);
    std::array<char, 4096> folder{};
    state += ' ' + std::to_string(mask) + ' ' + getcwd(folder.data(), folder.size());
    state += ' ' + std::to_string(std::fegetround());
    for (char **variable = environ; *variable; ++variable) {
        state += '\n';
        state += *variable;
    }
    return state;
}

int compareProcessState(IElectronFramework &framework)
{
    const std::string before = processState();
    start(framework);
    std::printf("running %d\n", processState() == before);
    framework.uninit();
    std::printf("stopped %d\n", processState() == before);
    return kReachedTheEnd;
}

/// Prints the lines that a start writes to this log library.
int printStart(IElectronFramework &framework, void *log)
{
    void *control = log ? dlsym(log, "zefLogStandinControl") : nullptr;
    if (!control) {
        return 1;
    }
    auto &lines = *reinterpret_cast<decltype(&zefLogStandinControl)>(control)();
    lines.setRecording(true);
    start(framework);
    for (const zefstandin::LogLine &line : lines.lines()) {
        std::printf("%ls %ls\n", line.level.c_str(), line.message.c_str());
    }
    framework.uninit();
    return kReachedTheEnd;
}

/// The process has loaded a library of the log library's name before, from another folder.
int loadLogBefore(IElectronFramework &framework)
{
    // NOLINTNEXTLINE(concurrency-mt-unsafe)
    return printStart(framework, dlopen(std::getenv("ZEF_PROBE_LOG"), RTLD_NOW));
}

/// The host opened the library by a relative name and has gone elsewhere since.
int changeFolder(IElectronFramework &framework)
{
    void *log = dlopen("./libvemolog.so", RTLD_NOW);
    return chdir("/") == 0 ? printStart(framework, log) : 1;
}

std::atomic<int> g_foreignTicks{0};
std::atomic<int> g_ownTicks{0};
std::thread::id g_mainThread;

int tick(void *)
{
    ++(std::this_thread::get_id() == g_mainThread ? g_ownTicks : g_foreignTicks);
    return 1;
}

/// The host application runs GLib's default context on its main thread; nobody else may.
int keepDefaultContext(IElectronFramework &framework)
{
    void *glib = dlopen("libglib-2.0.so.0", RTLD_NOW);
    if (!glib) {
        std::puts("no GLib");
        return kReachedTheEnd;
    }
    using AddTimeout = unsigned (*)(unsigned, int (*)(void *), void *);
    using Iterate = int (*)(void *, int);
    const auto addTimeout = reinterpret_cast<AddTimeout>(dlsym(glib, "g_timeout_add"));
    const auto iterate = reinterpret_cast<Iterate>(dlsym(glib, "g_main_context_iteration"));

    g_mainThread = std::this_thread::get_id();
    addTimeout(1, &tick, nullptr);
    start(framework);
    keepBusy(framework);
    while (g_ownTicks < 50 && g_foreignTicks == 0) {
        iterate(nullptr, 0);
    }
    framework.uninit();
    std::printf("foreign ticks %d\n", g_foreignTicks.load());
    return kReachedTheEnd;
}

} // namespace

int main(int argc, char **argv)
{
    const std::map<std::string, int (*)(IElectronFramework &)> scenarios{
        {"run", &runOnce},
        {"leave-main", &leaveMain},
        {"exit-thread", &exitOnAnotherThread},
        {"exit-quick", &exitQuickly},
        {"exit-callback", &exitInsideCallback},
        {"unload", &unload},
        {"fork", &forkWhileRunning},
        {"fork-before", &forkBeforeStart},
        {"state", &compareProcessState},
        {"log-before", &loadLogBefore},
        {"relative", &changeFolder},
        {"default-context", &keepDefaultContext},
    };
    const auto scenario = argc == 3 ? scenarios.find(argv[2]) : scenarios.end();
    if (scenario == scenarios.end()) {
        return 2;
    }
    g_library = dlopen(argv[1], RTLD_NOW);
    void *entry = g_library ? dlsym(g_library, "createElectronFrameworkObject") : nullptr;
    if (!entry) {
        std::fprintf(stderr, "%s\n", dlerror()); // NOLINT(concurrency-mt-unsafe)
        return 3;
    }
    return scenario->second(*reinterpret_cast<decltype(&createElectronFrameworkObject)>(entry)());
}
