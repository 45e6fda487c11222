#pragma once

#include "command.h"
#include "compare.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <set>

namespace zefhost {

/// A difference that a replay found.
struct Finding
{
    int line = 0; ///< of the recording
    std::string text;
};

/// Compares what arrives while a recording is carried out with what the recording says.
///
/// replied() and delivered() are callable from any thread, everything else from the caller's.
class Replay
{
public:
    using Milliseconds = std::chrono::milliseconds;

    /// \param header first line of the recording
    Replay(const Json &header, const std::vector<Command> &commands);

    /// What is subscribed to before the first line: whatever a line listens to or got.
    const std::vector<Command> &subscriptions() const { return m_subscriptions; }

    /// \param id of the recorded call
    void replied(const std::string &method, long id, const Json &body);

    /// \param key "event name" or "task type"
    void delivered(const std::string &key, const Json &body) { arrived(key, -1, body); }

    /// Drops the deliveries that subscribing caused, unless they belong to the recording.
    void begin();

    /// Waits for the delivery that a recorded line describes, and compares.
    /// \param isInterrupted ends the wait
    std::vector<Finding> expect(const Command &command, Milliseconds limit,
                                const std::function<bool()> &isInterrupted);

    /// Waits until nothing more comes. \return what came and was not recorded.
    std::vector<Finding> finish();

private:
    struct Arrival
    {
        long id = 0;
        Json body;
        bool isEarly = false;
    };

    void arrived(const std::string &key, long id, const Json &body);
    void subscribe(const Command &command, const Json &got);
    std::string keyOf(const Json &got) const;
    std::vector<Finding> judge(const Command &command, const std::string &key, const Json &got,
                               const Arrival &arrival);
    void settle();

    Comparison m_comparison;
    const bool m_isRunningAtStart; ///< the recording began after init
    std::vector<Command> m_subscriptions;
    std::set<std::string> m_subscribed;    ///< keys of these
    std::map<long, std::string> m_methods; ///< of the recorded calls
    std::set<long> m_answered;             ///< calls of which a reply was recorded
    int m_lastLine = 0;

    std::mutex m_mutex; ///< guards what follows
    std::condition_variable m_changed;
    std::map<std::string, std::deque<Arrival>> m_arrivals;
    std::size_t m_count = 0;
    bool m_hasBegun = false;
};

} // namespace zefhost
