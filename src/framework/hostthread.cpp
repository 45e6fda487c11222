#include "framework/hostthread.h"

#include "base/hostthreadscope.h"
#include "base/run.h"
#include "framework/quietstart.h"
#include "framework/zelectronapplication.h"
#include "log/guarded.h"
#include "log/logline.h"
#include "log/zelectronlogproxy.h"

#include <QCoreApplication>
#include <QThread>

#include <chrono>
#include <future>
#include <optional>
#include <thread>

#include <csignal>
#include <cstring>
#include <sys/syscall.h>
#include <unistd.h>

/// What the host thread tells the thread that started it.
struct HostThread::Start
{
    std::promise<bool> answer;
    pid_t threadId = 0; ///< the kernel's; written before the answer
};

namespace {

constexpr unsigned long kLookAtExitMilliseconds = 20;
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

/// Repeats a short wait until it has succeeded. Called with a RunChange, which cannot be cancelled.
/// \return false when the process exits meanwhile and the host thread may never end.
template <typename Wait>
bool waitUnlessExiting(Wait wait)
{
    while (!wait()) {
        if (Run::isAbandoned()) {
            Run::waitForExit();
            return false;
        }
    }
    return true;
}

/// Waits until the kernel no longer has the thread. QThread::wait returns while the thread still
/// runs the destructors of its thread-specific data, which are code of other libraries, and the
/// process often ends right after uninit.
void waitUntilGone(pid_t threadId)
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

sigset_t s_blockedSignals{};
sigset_t s_signalsBefore{};

/// A program that the account library starts has the signals of the host.
void restoreSignalsInChild()
{
    sigset_t now{}; // the C library fills only a part of it
    pthread_sigmask(SIG_BLOCK, nullptr, &now);
    if (std::memcmp(&now, &s_blockedSignals, sizeof(now)) == 0) {
        pthread_sigmask(SIG_SETMASK, &s_signalsBefore, nullptr);
    }
}

/// Blocks all signals but the synchronous ones, so that the host's handlers do not run here.
/// Threads started meanwhile inherit this.
class BlockedSignals
{
public:
    BlockedSignals()
    {
        static const int isPrepared = pthread_atfork(nullptr, nullptr, &restoreSignalsInChild);
        static_cast<void>(isPrepared);
        sigset_t blocked;
        sigfillset(&blocked);
        for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS, SIGABRT}) {
            sigdelset(&blocked, signal);
        }
        pthread_sigmask(SIG_SETMASK, &blocked, &s_signalsBefore);
        pthread_sigmask(SIG_BLOCK, nullptr, &s_blockedSignals); // without those of the C library
    }
    ~BlockedSignals() { pthread_sigmask(SIG_SETMASK, &s_signalsBefore, nullptr); }
    BlockedSignals(const BlockedSignals &) = delete;
    BlockedSignals &operator=(const BlockedSignals &) = delete;
};

/// Ends the run and lets init return, however the host thread ends.
class RunOfThread
{
public:
    explicit RunOfThread(std::promise<bool> &started) : m_started(started) {}
    ~RunOfThread()
    {
        end();
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

    static void end()
    {
        Run::lower(Admission::Nothing);
        Run::waitForEarlier(Admission::Nothing);
    }

private:
    const HostThreadScope m_hostThread;
    std::promise<bool> &m_started;
    bool m_isStarted = false;
};

void copyText(QString (*get)(), void (*set)(const QString &))
{
    const QString text = get();
    const QString copy(text.constData(), text.size());
    set({}); // an equal text would not replace it
    set(copy);
}

/// Makes Qt let go of what the account library may have given it on this thread: code and constant
/// data of that library, which is unloaded next. The application no longer exists.
void releaseThread()
{
    QThread *thread = QThread::currentThread();
    thread->disconnect();
    thread->setObjectName({});
    QCoreApplication::removePostedEvents(nullptr);

    copyText(&QCoreApplication::applicationName, &QCoreApplication::setApplicationName);
    copyText(&QCoreApplication::applicationVersion, &QCoreApplication::setApplicationVersion);
    copyText(&QCoreApplication::organizationName, &QCoreApplication::setOrganizationName);
    copyText(&QCoreApplication::organizationDomain, &QCoreApplication::setOrganizationDomain);
}

void shutDownLog()
{
    if (ZElectronLogProxy *logProxy = g_logProxy) {
        logProxy->aboutToQuit();
        delete logProxy;
    }
}

/// Body of the host thread. The application lives here, from its construction to the end of the
/// event loop.
void runHostThread(const QVariantMap &settings, std::promise<bool> &started)
{
    RunOfThread run(started);
    ClosedLibrary accountLibrary;
    std::optional<ZElectronApplication> application;
    int argc = 0; // the application keeps a reference
    {
        const HostWorkScope work;
        {
            const QuietStart quietStart;
            application.emplace(argc, nullptr, accountLibrary);
        }
        Run::abandonAtExit();
        const auto failed = [] {
            reportException("initialize");
            return false;
        };
        const bool isInitialized =
            guarded([&] { return application->initialize(settings); }, failed);
        Run::abandonAtExit();
        // init blocks on this promise, so it is set before the event loop starts, even on failure.
        run.start(isInitialized);
    }
    application->serve();

    const HostWorkScope work;
    application.reset();
    releaseThread();
    accountLibrary.reset();
    run.end();
    shutDownLog();
}

} // namespace

HostThread::HostThread() = default;

HostThread::~HostThread()
{
    waitForEnd();
}

/// \return as waitUnlessExiting().
bool HostThread::waitForEnd()
{
    if (!m_thread) {
        return true;
    }
    // Every Qt 5 has this overload.
    if (!waitUnlessExiting([this] { return m_thread->wait(kLookAtExitMilliseconds); })) {
        return false;
    }
    waitUntilGone(m_start->threadId);
    return true;
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
        RunOfThread::end();
        return false; // the system gave no thread: nobody will set the promise
    }
    m_thread = std::move(thread);
    m_start = start;
    const auto isAnswered = [&answer] {
        return answer.wait_for(std::chrono::milliseconds(kLookAtExitMilliseconds)) ==
               std::future_status::ready;
    };
    return waitUnlessExiting(isAnswered) && answer.get();
}

bool HostThread::stop()
{
    ZElectronApplication *application = g_electronApp;
    const auto post = [application](void (ZElectronApplication::*step)()) {
        QMetaObject::invokeMethod(
            application, [=] { (application->*step)(); }, Qt::QueuedConnection);
    };

    post(&ZElectronApplication::ignoreLaterEvents);
    // From here on nothing more is queued, and everything that was queued gets its reply.
    Run::lower(Admission::Operations);
    if (!Run::waitForEarlier(Admission::Operations)) {
        return false;
    }
    // The event loop still runs, because an operation may wait for it in the account library.
    post(&ZElectronApplication::refuseOperations);
    if (!Run::waitForEarlier(Admission::Deliveries)) {
        return false;
    }
    {
        // Cleanup waits for this scope: an event is handled while its sender still uses the
        // dispatcher.
        const RunScope scope(Run::current());
        post(&ZElectronApplication::stop);
    }
    return waitForEnd();
}
