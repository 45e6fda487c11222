#pragma once

#include <node_api.h>

#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>

/// Names a receiver on the JavaScript side. Counts up and is never used twice in one process, so
/// that a late delivery never reaches another receiver.
using ReceiverId = std::int64_t;

/// Passes texts from any thread to the JavaScript thread of one session.
///
/// The first delivery to an empty mailbox calls collect in JavaScript, which then takes deliveries,
/// turn by turn, until none is left. Shared by the session and by every callback object that may
/// still be called when the session is gone. Posting never waits for the JavaScript thread.
class Mailbox
{
public:
    enum class Kind {
        outcome, ///< of a start or stop; the only one that a silent mailbox takes
        reply,   ///< to a call; as many as there are calls
        event,   ///< has no text; one that is waiting absorbs those that follow, and counts them
        message  ///< dropped, and counted, while 64 MB of them are waiting
    };

    Mailbox() = default;
    Mailbox(const Mailbox &) = delete;
    Mailbox &operator=(const Mailbox &) = delete;

    /// \param collect called without arguments when there is something to take.
    /// Throws when the environment refuses. Thread: JavaScript.
    void open(napi_env env, napi_value collect);

    /// The oldest deliveries as [id, text, id, text, ...], few enough not to block the event loop;
    /// [0, number] first when messages were dropped. An event has a number in place of the text:
    /// how many it stands for. A text that is too long for JavaScript is null. After an empty array
    /// collect is called again. Thread: JavaScript.
    napi_value take(napi_env env);

    /// Drops everything but outcomes, from now on and what is waiting. Thread: any.
    void silence();

    /// From now on everything is dropped. Thread: JavaScript.
    void close();

    /// While kept alive, the open mailbox keeps the event loop running. Thread: JavaScript.
    void keepAlive(napi_env env, bool isKept);

    /// Thread: any.
    void post(Kind kind, ReceiverId id, std::string_view text);

private:
    struct Delivery
    {
        Kind kind;
        ReceiverId id;
        std::string text;
        std::int64_t count = 0; ///< of the events that it stands for
    };

    bool takes(Kind kind, ReceiverId id, std::size_t length);
    std::deque<Delivery> takeOldest();

    std::mutex m_mutex; // guards everything below; held over no call into JavaScript
    napi_threadsafe_function m_function = nullptr;
    std::deque<Delivery> m_arrived;
    std::unordered_map<ReceiverId, std::int64_t> m_waitingEvents; // those in m_arrived, counted
    std::size_t m_waitingBytes = 0;                               // of the messages in m_arrived
    std::int64_t m_dropped = 0;                                   // messages since the last take
    bool m_isCollecting = false; // collect was called and has not yet found the mailbox empty
    bool m_isSilent = false;
};
