#include "framework/hostthread.h"

#include "base/run.h"
#include "framework/quietstart.h"
#include "framework/zelectronapplication.h"
#include "log/guarded.h"
#include "log/logline.h"
#include "log/zelectronlogproxy.h"

#include <QThread>

#include <chrono>
#include <future>
#include <optional>
#include <thread>

#include <csignal>
#include <sys/syscall.h>
#include <unistd.h>

/// What the host thread tells the thread that started it.
struct HostThread::Start
{
    std::promise<bool> answer;
    pid_t threadId = 0; ///< the kernel's; written before the answer
};

namespace {

constexpr auto kUsualEnd = std::chrono::microseconds(200);
constexpr auto kLongestEnd = std::chrono::seconds(2);

void reportException(const char *function)
{
    if (g_logProxy) {
        logError(function, "exception during start-up");
    } else {
        qWarning("%s exception during start-up", function);
    }
}

/// Waits until the kernel no longer has the thread. QThread::wait returns while the thread still
/// runs the destructors of its thread-specific data, which are code of other libraries, and the
/// process often ends right after uninit.
void waitForEnd(pid_t threadId)
{
    const auto start = std::chrono::steady_clock::now();
    while (syscall(SYS_tgkill, getpid(), threadId, 0) == 0) {
        const auto waited = std::chrono::steady_clock::now() - start;
        if (waited > kLongestEnd) {
            return;
        }
        if (waited < kUsualEnd) {
            std::this_thread::yield();
        } else {
            std::this_thread::sleep_for(kUsualEnd);
        }
    }
}

/// Blocks all signals but the synchronous ones, so that the host's handlers do not run here.
/// Threads started meanwhile inherit this.
class BlockedSignals
{
public:
    BlockedSignals()
    {
        sigset_t blocked;
        sigfillset(&blocked);
        for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS, SIGABRT}) {
            sigdelset(&blocked, signal);
        }
        pthread_sigmask(SIG_SETMASK, &blocked, &m_before);
    }
    ~BlockedSignals() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
    BlockedSignals(const BlockedSignals &) = delete;
    BlockedSignals &operator=(const BlockedSignals &) = delete;

private:
    sigset_t m_before{};
};

/// However the host thread ends: its run is over, and init returns.
class RunOfThread
{
public:
    explicit RunOfThread(std::promise<bool> &started) : m_started(started) {}
    ~RunOfThread()
    {
        Run::lower(Admission::Nothing);
        if (!m_isStarted) {
            m_started.set_value(false);
        }
    }
    RunOfThread(const RunOfThread &) = delete;
    RunOfThread &operator=(const RunOfThread &) = delete;

    void start(bool isInitialized)
    {
        Run::admitEverything();
        m_isStarted = true;
        m_started.set_value(isInitialized);
    }

private:
    const HostThreadScope m_hostThread;
    std::promise<bool> &m_started;
    bool m_isStarted = false;
};

/// Body of the host thread. The application lives here, from its construction to the end of the
/// event loop.
void runHostThread(const QVariantMap &settings, std::promise<bool> &started)
{
    RunOfThread run(started);
    std::optional<ZElectronApplication> application;
    int argc = 0; // the application keeps a reference
    {
        const HostWorkScope work;
        {
            const QuietStart quietStart;
            application.emplace(argc, nullptr);
        }
        const auto failed = [] {
            reportException("initialize");
            return false;
        };
        // init blocks on this promise, so it is set before the event loop starts, even on failure.
        run.start(guarded([&] { return application->initialize(settings); }, failed));
    }
    application->serve();

    const HostWorkScope work;
    application.reset();
}

} // namespace

HostThread::HostThread() = default;

HostThread::~HostThread()
{
    if (m_thread) {
        m_thread->wait(ULONG_MAX); // the overload that every Qt 5 has
        waitForEnd(m_start->threadId);
    }
}

bool HostThread::start(const QVariantMap &settings)
{
    const auto start = std::make_shared<Start>();
    std::future<bool> answer = start->answer.get_future();

    // QThread creates an event dispatcher with a GLib context of its own before the application
    // exists. On any other kind of thread the application would use the default context, which the
    // host's main thread runs.
    std::unique_ptr<QThread> thread(QThread::create([settings, start] {
        start->threadId = static_cast<pid_t>(syscall(SYS_gettid));
        guarded([&] { runHostThread(settings, start->answer); },
                [] { reportException("runHostThread"); });
    }));
    if (!Run::begin()) {
        return false;
    }
    {
        const BlockedSignals blockedSignals;
        thread->start(QThread::InheritPriority);
    }
    if (!thread->isRunning() && !thread->isFinished()) {
        Run::lower(Admission::Nothing);
        return false; // the system gave no thread: nobody will set the promise
    }
    m_thread = std::move(thread);
    m_start = start;
    return answer.get();
}

void HostThread::stop()
{
    ZElectronApplication *application = g_electronApp;
    const auto stop = [application, caller = Run::ownFrames()] { application->stop(caller); };
    // Cleanup waits for this scope: an event is handled while its sender still uses the dispatcher.
    const RunScope scope(Admission::Operations);
    QMetaObject::invokeMethod(application, stop, Qt::QueuedConnection);
}
