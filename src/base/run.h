#pragma once

#include <QtGlobal>

/// \file
/// One run of the framework, from init to uninit: what may still enter it, and who waits for what
/// has entered.
///
/// Operations of the host and deliveries of the account library are inside the run while they work.
/// Shutdown lowers what the run admits, step by step, and each step waits for the entries made
/// before it. Each run has a number. Function objects given to the account library store it, so
/// that a late call never enters a later run. fork and exit abandon the run: in the child, and
/// while the process exits, nothing is admitted any more.
///
/// The state belongs to the process and is never destroyed, because threads of others use it while
/// the process exits. Thread: any, unless a function says otherwise.

/// What a run admits. Each level includes the one before it.
enum class Admission : quint64 {
    Nothing = 0,                      ///< no run, or one that is over
    Deliveries = Q_UINT64_C(1) << 62, ///< start-up and shutdown: only the account library's
    Operations = Q_UINT64_C(2) << 62, ///< once uninit has begun: all that queue nothing
    Everything = Q_UINT64_C(3) << 62
};

/// Entries of one thread that it has not left yet, by the counter they are counted in.
struct RunFrames
{
    int count[2] = {0, 0};
};

class Run
{
public:
    /// The number of the run that is under way, or of the last one.
    static quint64 current();

    /// Starts a new run, which admits deliveries. \return false when the process has abandoned the
    /// framework.
    [[nodiscard]] static bool begin();

    /// Ends the start-up.
    static void admitEverything();

    /// Lowers the level and waits for all earlier entries of threads other than the host thread.
    ///
    /// \param except entries not to wait for: those of the thread that called uninit.
    static void lower(Admission level, const RunFrames &except = {});

    /// The entries of the calling thread.
    static RunFrames ownFrames();

    /// Whether the calling thread is inside a delivery, called by the account library.
    static bool isInsideDelivery();

    /// Whether the framework was given up in this process, by fork or by exit.
    static bool isAbandoned();
};

/// Enters the run for as long as it lives; tests false when the run does not admit it.
///
/// The host thread enters without being counted: it ends before the run is forgotten.
class RunScope
{
public:
    /// Enters the run that is under way.
    explicit RunScope(Admission needed);

    /// Enters as a delivery, if that run is under way.
    explicit RunScope(quint64 run);

    ~RunScope();
    RunScope(const RunScope &) = delete;
    RunScope &operator=(const RunScope &) = delete;

    explicit operator bool() const { return m_thread != nullptr; }

private:
    void *m_thread = nullptr; ///< state of the calling thread; null when refused
    qint8 m_count = -1;       ///< which of the two counters counts it, if any
    bool m_isDelivery = false;
};

/// The right to start or end a run, held by one thread at a time. Waits for another holder, except
/// where that could be a deadlock: inside an operation, inside a delivery and on the host thread it
/// tests false instead. The holder cannot be cancelled.
class RunChange
{
public:
    RunChange();
    ~RunChange();
    RunChange(const RunChange &) = delete;
    RunChange &operator=(const RunChange &) = delete;

    explicit operator bool() const { return m_isHeld; }

private:
    bool m_isHeld = false;
    int m_cancelState = 0;
};

/// Makes the calling thread the host thread, for as long as it lives.
class HostThreadScope
{
public:
    HostThreadScope();
    ~HostThreadScope();
    HostThreadScope(const HostThreadScope &) = delete;
    HostThreadScope &operator=(const HostThreadScope &) = delete;

    /// Whether the calling thread is the host thread.
    static bool isCurrent();
};

/// Exists while the host thread handles an event; without effect on other threads. The exit of the
/// process waits for it, half a second at most, because exit destroys the static objects of Qt and
/// of the closed libraries. After that its constructor never returns.
class HostWorkScope
{
public:
    HostWorkScope();
    ~HostWorkScope();
    HostWorkScope(const HostWorkScope &) = delete;
    HostWorkScope &operator=(const HostWorkScope &) = delete;

    /// How many of these are nested on the calling thread.
    static int depth();
};
