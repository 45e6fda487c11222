#include "framework/hostthread.h"

#include "framework/processguard.h"
#include "framework/quietstart.h"
#include "framework/zelectronapplication.h"
#include "log/logline.h"
#include "log/zelectronlogproxy.h"

#include <QThread>

#include <future>
#include <memory>
#include <optional>

namespace {

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

QThread *startHostThread(const QVariantMap &settings, bool &result)
{
    // Shared: the host thread may still be inside set_value when the future is ready.
    const auto started = std::make_shared<std::promise<bool>>();
    std::future<bool> answer = started->get_future();

    // QThread gives the thread an event dispatcher with a GLib context of its own before the
    // application exists. From any other kind of thread the application would take over the default
    // context, on which the host's main thread runs.
    std::unique_ptr<QThread> thread(
        QThread::create([settings, started] { runHostThread(settings, *started); }));
    thread->start(QThread::InheritPriority);
    if (!thread->isRunning() && !thread->isFinished()) {
        result = false;
        return nullptr; // the system gave no thread: nobody will set the promise
    }
    result = answer.get();
    return thread.release();
}
