#pragma once

#include "callbacks.h"
#include "libraries.h"
#include "replies.h"

#include <atomic>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

/// What the framework is started with.
struct StartRequest
{
    std::string library;              ///< path of the framework library
    std::vector<NamedLibrary> closed; ///< those that are not where the framework looks
    std::string account;              ///< where it looks for the account library; empty when named
    std::string settings;
    bool isJoining = false; ///< takes a running framework whatever its settings are
};

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

    /// Takes a share; the first one loads the library and starts the framework. The libraries of the
    /// first start are those of the process: the log library stays loaded.
    ///
    /// \return "started", "joined" when it was running, "settings" when it runs with other ones,
    ///         "refused" by the account library, or one of "load", "symbol", "other", "closed",
    ///         "account", "preload" and "name", followed by a space and the particulars.
    ///
    /// Thread: any but JavaScript, blocking.
    std::string join(const StartRequest &request);

    /// Returns a share; the last one stops the framework. Thread: any but JavaScript, blocking.
    void leave();

    /// Returns a share without waiting for anything: an unused framework keeps running until the
    /// process ends or the next session joins, which restarts it. Thread: any.
    void abandon();

    /// Runs a join or leave on a thread of its own. Throws when no thread can be started.
    void runApart(std::function<void()> change);

    /// Waits a short time for joins and leaves in progress, because the exit of the process would
    /// destroy objects that they use. Once that was in vain, it never waits again. Thread: any.
    void settle();

    /// Null before the first join. Thread: any.
    zelectronframeworkspace::IElectronFramework *framework() const { return m_framework; }

    Replies &replies() { return m_replies; }

    /// To be called before an inspection, which may load the framework library permanently.
    void beforeInspection();

    /// The relay of that type; the first subscription shows whether the type exists.
    TaskRelay &taskRelay(const std::string &typeName);

    int shares() const { return m_shares; }

private:
    SharedFramework() = default;
    std::string load(const std::string &library);
    std::string start(const StartRequest &request);
    void stop();

    std::mutex m_lifecycle; // held while the framework is loaded, started or stopped
    std::string m_library;
    std::vector<NamedLibrary> m_closed; // of the first start
    bool m_hasClosed = false;
    std::string m_settings;
    bool m_isStarted = false;
    std::atomic<int> m_shares{0};
    std::atomic<zelectronframeworkspace::IElectronFramework *> m_framework{nullptr};

    std::atomic<bool> m_isInspected{false}; // our inspection has loaded the framework library

    std::mutex m_changesMutex; // guards the other three
    std::condition_variable m_changed;
    int m_changes = 0;
    bool m_isTooSlow = false; // what runs apart was waited for in vain

    Replies m_replies;

    std::mutex m_tasksMutex; // guards m_taskRelays, not the relays
    std::map<std::string, TaskRelay> m_taskRelays;
};
