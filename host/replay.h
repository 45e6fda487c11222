#pragma once

#include "command.h"
#include "compare.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <set>

namespace zefhost {

/// What a replay found: nothing in it was expected.
struct Finding
{
    int line = 0; ///< of the recording
    std::string text;
};

/// Compares what arrives while a recording is carried out with what the recording says.
///
/// arrived() is callable from any thread, everything else from the caller's.
class Replay
{
public:
    using Milliseconds = std::chrono::milliseconds;

    /// \param header first line of the recording
    Replay(const Json &header, const std::vector<Command> &commands);

    /// \param key whose delivery it is: "reply of method", "event name" or "task type"
    /// \param id  of the recorded call, for replies
    void arrived(const std::string &key, long id, const Json &body);

    /// Forgets what subscribing has brought, unless it belongs to the recording.
    void begin();

    /// Waits for what a recorded line names, and compares.
    /// \param isInterrupted ends the wait
    std::vector<Finding> expect(const Command &command, Milliseconds limit,
                                const std::function<bool()> &isInterrupted);

    /// Waits until nothing more comes. \return what came and was not recorded.
    std::vector<Finding> finish();

    static std::string replyKey(const std::string &method) { return "reply of " + method; }

private:
    struct Arrival
    {
        long id = 0;
        Json body;
        bool isEarly = false;
    };

    std::string keyOf(const Json &got) const;
    std::vector<Finding> judge(const Command &command, const std::string &key, const Json &got,
                               const Arrival &arrival);
    void settle();

    Comparison m_comparison;
    const bool m_isRunningAtStart;         ///< the recording began after init
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
