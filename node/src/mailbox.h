#pragma once

#include <node_api.h>

#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>

/// Names a receiver on the JavaScript side; counts up there and is never used twice in one
/// environment, so that whatever arrives late meets nobody.
using ReceiverId = std::int64_t;

/// The way of texts from any thread to the JavaScript thread of one environment.
///
/// Shared by the environment and by every callback object that may still be called when the
/// environment is gone. Posting never waits for the JavaScript thread.
class Mailbox
{
public:
    Mailbox() = default;
    Mailbox(const Mailbox &) = delete;
    Mailbox &operator=(const Mailbox &) = delete;

    /// \param dispatch called as dispatch(id, text) for each delivery.
    /// \return false when the environment refuses, which then has an exception pending or ends.
    /// Thread: JavaScript.
    bool open(napi_env env, napi_value dispatch);

    /// From now on deliveries are dropped, those on the way included. Thread: JavaScript.
    void close();

    /// While kept alive, the open mailbox keeps the event loop running. Thread: JavaScript.
    void keepAlive(napi_env env, bool isKept);

    /// \return false when the environment is gone. Thread: any.
    bool post(ReceiverId id, std::string_view text);

private:
    std::mutex m_mutex; // guards m_function; held over no call into JavaScript
    napi_threadsafe_function m_function = nullptr;
};
