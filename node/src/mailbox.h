#pragma once

#include <node_api.h>

#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <string_view>

/// Names a receiver on the JavaScript side; counts up there and is never used twice in one
/// environment, so that whatever arrives late meets nobody.
using ReceiverId = std::int64_t;

/// The way of texts from any thread to the JavaScript thread of one environment.
///
/// The first delivery of an empty mailbox calls JavaScript, which takes what has arrived by then and
/// comes again by itself until nothing is left. Shared by the environment and by every callback
/// object that may still be called when the environment is gone. Posting never waits for the
/// JavaScript thread.
class Mailbox
{
public:
    Mailbox() = default;
    Mailbox(const Mailbox &) = delete;
    Mailbox &operator=(const Mailbox &) = delete;

    /// \param collect called without arguments when there is something to take.
    /// \return false when the environment refuses, which then has an exception pending or ends.
    /// Thread: JavaScript.
    bool open(napi_env env, napi_value collect);

    /// The oldest deliveries as [id, text, id, text, ...], so few of them that handling them does
    /// not hold the event loop up. After an empty array collect is called again. Thread: JavaScript.
    napi_value take(napi_env env);

    /// From now on deliveries are dropped, those on the way included. Thread: JavaScript.
    void close();

    /// While kept alive, the open mailbox keeps the event loop running. Thread: JavaScript.
    void keepAlive(napi_env env, bool isKept);

    /// \return false when the environment is gone. Thread: any.
    bool post(ReceiverId id, std::string_view text);

private:
    struct Delivery
    {
        ReceiverId id;
        std::string text;
    };

    std::deque<Delivery> takeOldest();

    std::mutex m_mutex; // guards everything below; held over no call into JavaScript
    napi_threadsafe_function m_function = nullptr;
    std::deque<Delivery> m_arrived;
    bool m_isCollecting = false; // collect was called and has not yet found the mailbox empty
};
