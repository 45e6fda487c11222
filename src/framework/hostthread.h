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

    /// The thread has ended, or its event loop never ran.
    ~HostThread();
    HostThread(const HostThread &) = delete;
    HostThread &operator=(const HostThread &) = delete;

    /// Starts the thread and waits until its application has initialised itself.
    ///
    /// \param settings the settings of the host.
    /// \return whether a thread started and its application initialised completely.
    [[nodiscard]] bool start(const QVariantMap &settings);

    /// Ends the event loop once it has handled what is already queued, and waits for the end of the
    /// thread.
    ///
    /// \return false when the process exits meanwhile.
    [[nodiscard]] bool stop();

private:
    struct Start;

    bool waitForEnd();

    std::unique_ptr<QThread> m_thread;
    // Shared: the host thread may still be inside set_value when start returns.
    std::shared_ptr<Start> m_start;
};
