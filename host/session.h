#pragma once

#include "command.h"
#include "printer.h"
#include "replay.h"
#include "threads.h"

#include <zelectronframework/zelectronframework.h>

#include <atomic>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

namespace zefhost {

/// One run of the framework, from init to uninit: carries out commands, prints what arrives and
/// notes whether everything went as expected.
///
/// Created and used on one thread, the caller's; deliveries arrive on any.
class Session
{
public:
    using Clock = std::chrono::steady_clock;
    using Milliseconds = std::chrono::milliseconds;

    /// \param limit how long an answer is waited for.
    Session(zelectronframeworkspace::IElectronFramework &framework, Printer &printer,
            Milliseconds limit);
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;
    ~Session();

    /// False when init refused; the reason is in the log then.
    [[nodiscard]] bool start(const std::string &settings);

    /// Compares deliveries with a recording; the next commands are those of the recording.
    void compareWith(std::unique_ptr<Replay> replay) { m_replay = std::move(replay); }

    /// Subscribes to what the recording has from there. After start().
    void beginReplay();

    void run(const Command &command);

    /// Waits for the answers that are still missing, then stops the framework.
    void finish();

    bool wentAsExpected() const { return m_unexpected == 0; }

    /// Ends every wait; may be called from a signal handler.
    static void interrupt() { s_isInterrupted = true; }
    static bool isInterrupted() { return s_isInterrupted; }

private:
    class Receiver;
    using Handler = std::function<void(const Json &body)>;

    void call(const Command &command);
    void asynCall(const Command &command);
    void listen(const Command &command);
    void unlisten(const Command &command);
    void registerTask(const Command &command);
    void waitForArrival(const Command &command, const char *operation);
    void waitForAnswers(Milliseconds limit);
    void linger(const Command &command);
    void expect(const Command &command);
    void tellAccountLibrary(const Command &command);
    bool haveCallsArrived();
    void report(const std::vector<Finding> &findings);

    Receiver &newReceiver(Handler handler);
    /// Prints the reply and judges it; replies counts those that came.
    Handler replyHandler(const Command &command, const std::string &operation,
                         const std::shared_ptr<std::atomic<int>> &replies);
    void noteAnswer(int number);
    void taskArrived(const std::string &type, const Json &message);
    void stop();
    void report(const std::string &operation, const Command &command, bool isOk);
    void fail(const std::string &operation, const std::string &name, const std::string &text);
    void noteArrival(const std::string &name);

    /// Waits until the condition holds, which is tested with m_mutex held.
    /// \return false when the time has passed or the wait was interrupted.
    bool waitUntil(Clock::time_point end, const std::function<bool()> &condition);

    zelectronframeworkspace::IElectronFramework &m_framework;
    Printer &m_printer;
    const Milliseconds m_limit;
    Threads m_threads;
    std::unique_ptr<Replay> m_replay; ///< set before the first delivery, or never
    bool m_isCallOnItsWay = false;    ///< one may not have reached the closed libraries yet
    bool m_isRunning = false;
    bool m_isStarted = false;
    int m_requests = 0;
    std::atomic<int> m_unexpected{0};
    std::multimap<std::string, zelectronframeworkspace::ListenerHandle> m_listeners;
    std::vector<std::unique_ptr<Receiver>> m_receivers; ///< kept until uninit has returned

    std::mutex m_mutex; ///< guards what follows; held over no call into the library
    std::condition_variable m_arrived;
    std::map<std::string, int> m_arrivals; ///< not waited for yet, by event, task and task type
    std::map<int, std::string> m_missingAnswers; ///< path by number of the request

    static std::atomic<bool> s_isInterrupted;
};

} // namespace zefhost
