#pragma once

#include "callbacks.h"

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

/// The framework, which a process has once, shared by the environments of that process (the main
/// thread and its workers) through counted shares. Holds nothing of JavaScript. Never destroyed,
/// because its threads may still run while the process exits.
///
/// Whoever holds a share may use the framework's operations; the framework is stopped only while
/// nobody holds one.
class SharedFramework
{
public:
    static SharedFramework &instance();

    /// Takes a share; the first one loads the library and starts the framework.
    ///
    /// \param library   path of the framework library.
    /// \param preloaded paths of libraries to load before the start, so that the framework finds
    ///                  them by name wherever they lie.
    /// \param settings  read only by the one who starts the framework.
    /// \return "started", "joined" when it was running, or one of "load", "symbol", "preload",
    ///         "other", "refused", each but the last followed by a space and the reason.
    ///
    /// Thread: any but JavaScript, blocking.
    std::string join(const std::string &library, const std::vector<std::string> &preloaded,
                     const std::string &settings);

    /// Returns a share; the last one stops the framework. Thread: any but JavaScript, blocking.
    void leave();

    /// Returns a share without waiting for anything: a framework that nobody uses any more runs on
    /// until the process ends or the next one joins, who gets a new one. Thread: any.
    void desert();

    /// Runs a join or leave on a thread of its own. Throws when there is no thread to be had.
    void runApart(std::function<void()> change);

    /// Waits for what runs apart, for half a second at most: the exit of the process would destroy
    /// what it is using. Thread: any.
    void settle();

    /// Null before the first join. Thread: any.
    zelectronframeworkspace::IElectronFramework *framework() const { return m_framework; }

    PendingReplies &replies() { return m_replies; }

    /// Null for an unknown type.
    TaskRelay *taskRelay(const std::string &typeName);

    int shares() const { return m_shares; }

private:
    SharedFramework() = default;
    std::string load(const std::string &library);
    std::string start(const std::vector<std::string> &preloaded, const std::string &settings);
    void stop();

    std::mutex m_lifecycle; // held while the framework is loaded, started or stopped
    std::string m_library;
    bool m_isStarted = false;
    std::atomic<int> m_shares{0};
    std::atomic<zelectronframeworkspace::IElectronFramework *> m_framework{nullptr};

    std::mutex m_changesMutex; // guards m_changes
    std::condition_variable m_changed;
    int m_changes = 0;

    PendingReplies m_replies;
    TaskRelay m_meetingData{"meetingDataChangeTask"};
    TaskRelay m_accountInfo{"accountInfoCollectTask"};
};
