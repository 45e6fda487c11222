#pragma once

#include <QVariantMap>

#include <memory>

class QThread;

/// The thread of one run: the application is constructed, runs its event loop and is destroyed on
/// it.
///
/// Thread: used by the thread that holds the RunChange.
class HostThread
{
public:
    HostThread();

    /// Waits for the end of the thread. Its event loop has been asked to end, or never ran.
    ~HostThread();
    HostThread(const HostThread &) = delete;
    HostThread &operator=(const HostThread &) = delete;

    /// Starts the thread and waits until its application has initialised itself.
    ///
    /// \param settings the settings of the host.
    /// \return whether a thread started and its application initialised completely.
    [[nodiscard]] bool start(const QVariantMap &settings);

    /// Asks the event loop to end once it has handled what is already queued. Called on the thread
    /// that then waits for the end.
    void stop();

private:
    struct Start;

    std::unique_ptr<QThread> m_thread;
    // Shared: the host thread may still be inside set_value when start returns.
    std::shared_ptr<Start> m_start;
};
