#pragma once

#include "base/nocancelscope.h"

#include <QtGlobal>

/// \file
/// One run of the framework, from init to uninit: which operations may still enter it, and how
/// shutdown waits for those inside.
///
/// Operations of the host and deliveries of the account library are inside the run while they work.
/// Shutdown lowers what the run admits, step by step, and each step waits for the entries made
/// before it. Each run has a number. Function objects given to the account library store it, so
/// that a late call never enters a later run. fork and exit abandon the run: in the child, and
/// while the process exits, nothing is admitted any more and every wait ends.
///
/// The state belongs to the process and is never destroyed, because threads of other libraries use
/// it while the process exits. Thread: any, unless a function says otherwise.

/// What a run admits. Each level includes the ones before it.
enum class Admission : quint64 {
    Nothing = 0,                      ///< no run, or one that is over
    Deliveries = Q_UINT64_C(1) << 62, ///< start-up and shutdown: only the account library's
    Operations = Q_UINT64_C(2) << 62, ///< once uninit has begun: all that queue nothing
    Everything = Q_UINT64_C(3) << 62
};

/// What is known of one thread.
struct RunThread
{
    struct Counter;

    Counter *counter;
    int entries[2]; ///< not left yet, by which of the two counts has them
    int hostCode;   ///< entries that are running the host's code

    int entryCount() const { return entries[0] + entries[1]; }
};

struct RunEntry
{
    RunThread *thread = nullptr; ///< state of the calling thread; null when refused
    qint8 count = -1;            ///< which of the two counts has it, if any
};

class Run
{
public:
    /// The number of the current run, or of the last one.
    static quint64 current();

    /// Starts a new run, which admits deliveries. \return false when the process has abandoned the
    /// framework.
    [[nodiscard]] static bool begin();

    /// Ends the start-up.
    static void admitEverything();

    /// Lowers the level, unless it is lower already, and waits for nobody. Entries from now on are
    /// later ones, also when the level stays.
    static void lower(Admission level);

    /// Waits until the level is this low and all entries made before it was lowered have left, but
    /// for those of the host thread and of the thread that holds the RunChange.
    ///
    /// \return false when the run was abandoned. The host thread does not return then.
    static bool waitForEarlier(Admission level);

    /// Whether the calling thread may have come here from a closed library.
    static bool isInsideLibrary();

    /// Whether the framework was given up in this process, by fork or by exit.
    static bool isAbandoned();

    /// For a thread whose wait has ended because the process exits: lets it exit. The caller may be
    /// about to end the process too, which the C library does not survive on two threads.
    static void waitForExit();

    /// Makes the exit of the process abandon the run. Static objects are destroyed in the reverse
    /// order of their construction, so this is called again as a start proceeds.
    static void abandonAtExit();
};

/// Enters the run for as long as it lives; tests false when the run does not admit it.
///
/// The host thread enters without being counted: uninit waits for its end anyway.
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

    explicit operator bool() const { return m_entry.thread != nullptr; }

private:
    friend class HostCodeScope;

    const RunEntry m_entry;
};

/// Exists while an operation of the host runs the host's own code: nothing between the two is a
/// closed library's.
class HostCodeScope
{
public:
    explicit HostCodeScope(const RunScope &operation) : m_thread(operation.m_entry.thread)
    {
        ++m_thread->hostCode;
    }
    ~HostCodeScope() { --m_thread->hostCode; }
    HostCodeScope(const HostCodeScope &) = delete;
    HostCodeScope &operator=(const HostCodeScope &) = delete;

private:
    RunThread *const m_thread;
};

/// The right to start or end a run, held by one thread at a time. Waits for another holder, except
/// where that could be a deadlock: inside an operation, inside a delivery and on the host thread it
/// tests false instead, and so it does once the run was abandoned. The holder cannot be cancelled.
class RunChange
{
public:
    RunChange();
    ~RunChange();
    RunChange(const RunChange &) = delete;
    RunChange &operator=(const RunChange &) = delete;

    explicit operator bool() const { return m_isHeld; }

private:
    const NoCancelScope m_noCancel;
    bool m_isHeld = false;
};
