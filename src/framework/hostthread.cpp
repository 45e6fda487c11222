#include "framework/hostthread.h"

#include "framework/processguard.h"
#include "framework/quietstart.h"
#include "framework/zelectronapplication.h"
#include "log/logline.h"
#include "log/zelectronlogproxy.h"

#include <QThread>

#include <chrono>
#include <future>
#include <optional>
#include <thread>

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

bool initializeCaught(ZElectronApplication &application, const QVariantMap &settings)
{
    try {
        return application.initialize(settings);
    } catch (...) {
        reportException("initialize");
        return false;
    }
}

/// Waits until the kernel has no such thread any more. QThread::wait returns while the thread still
/// runs the destructors of its thread-specific data, which are code of other libraries, and uninit
/// is often followed by the end of the process.
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

/// Body of the host thread. The application lives here, from its construction to the end of the
/// event loop.
void runHostThread(const QVariantMap &settings, std::promise<bool> &started)
{
    const HostThreadScope hostThread;
    bool isAnswered = false;
    try {
        std::optional<HostWorkScope> startUp(std::in_place);
        int argc = 0; // the application keeps a reference
        std::optional<QuietStart> quietStart(std::in_place);
        ZElectronApplication application(argc, nullptr);
        quietStart.reset();

        // init blocks on this promise, so it is set before the event loop starts, even on failure.
        const bool result = initializeCaught(application, settings);
        isAnswered = true;
        started.set_value(result);
        startUp.reset();
        QCoreApplication::exec();
    } catch (...) {
        reportException("runHostThread");
        if (!isAnswered) {
            started.set_value(false);
        }
    }
}

} // namespace

HostThread::HostThread() = default;

HostThread::~HostThread()
{
    if (m_thread) {
        m_thread->wait();
        waitForEnd(m_start->threadId);
    }
}

bool HostThread::start(const QVariantMap &settings)
{
    const auto start = std::make_shared<Start>();
    std::future<bool> answer = start->answer.get_future();

    // QThread gives the thread an event dispatcher with a GLib context of its own before the
    // application exists. From any other kind of thread the application would take over the default
    // context, on which the host's main thread runs.
    std::unique_ptr<QThread> thread(QThread::create([settings, start] {
        start->threadId = static_cast<pid_t>(syscall(SYS_gettid));
        runHostThread(settings, start->answer);
    }));
    thread->start(QThread::InheritPriority);
    if (!thread->isRunning() && !thread->isFinished()) {
        return false; // the system gave no thread: nobody will set the promise
    }
    m_thread = std::move(thread);
    m_start = start;
    return answer.get();
}
