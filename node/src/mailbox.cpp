#include "mailbox.h"

#include "values.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace {

constexpr std::size_t kMostAtOnce = 256;
constexpr std::size_t kMostWaitingBytes = std::size_t{64} * 1024 * 1024;

/// Exceptions of listeners are handled in JavaScript. An exception that gets here is the
/// termination of a worker, which must stay unhandled.
void callCollect(napi_env env, napi_value collect, void *, void *)
{
    napi_value receiver = nullptr;
    if (!env || !collect || napi_get_undefined(env, &receiver) != napi_ok) {
        return;
    }
    if (napi_call_function(env, receiver, collect, 0, nullptr, nullptr) == napi_pending_exception) {
        napi_value exception = nullptr;
        (void)napi_get_and_clear_last_exception(env, &exception);
    }
}

} // namespace

void Mailbox::open(napi_env env, napi_value collect)
{
    napi_value name = nullptr;
    napi_threadsafe_function function = nullptr;
    check(napi_create_string_utf8(env, "zelectronframework", NAPI_AUTO_LENGTH, &name), "a name");
    check(napi_create_threadsafe_function(env, collect, nullptr, name, 0, 1, nullptr, nullptr,
                                          nullptr, callCollect, &function),
          "a thread-safe function");
    // Nothing is pending yet; an idle framework must not keep the process from ending.
    check(napi_unref_threadsafe_function(env, function), "an idle function");
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_function = function;
}

void Mailbox::silence()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_isSilent = true;
    m_arrived.clear();
}

void Mailbox::close()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_function) {
        // Refused only where the environment has ended the function already.
        (void)napi_release_threadsafe_function(m_function, napi_tsfn_abort);
        m_function = nullptr;
    }
    m_arrived.clear();
}

void Mailbox::keepAlive(napi_env env, bool isKept)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_function) {
        check(isKept ? napi_ref_threadsafe_function(env, m_function)
                     : napi_unref_threadsafe_function(env, m_function),
              "a change of what keeps the event loop running");
    }
}

void Mailbox::post(Kind kind, ReceiverId id, std::string_view text)
{
    Delivery delivery{kind, id, std::string(text), 0};
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_function || !takes(kind, id, text.size())) {
        return;
    }
    if (!m_isCollecting) {
        if (napi_call_threadsafe_function(m_function, nullptr, napi_tsfn_nonblocking) != napi_ok) {
            m_function = nullptr; // the environment ends; it must not be asked again
            return;
        }
        m_isCollecting = true;
    }
    m_arrived.push_back(std::move(delivery));
}

/// Notes what it takes. The mutex is held.
bool Mailbox::takes(Kind kind, ReceiverId id, std::size_t length)
{
    if (m_isSilent && kind != Kind::outcome) {
        return false;
    }
    if (kind == Kind::event) {
        return ++m_waitingEvents[id] == 1;
    }
    if (kind == Kind::message) {
        if (m_waitingBytes > 0 && m_waitingBytes + length > kMostWaitingBytes) {
            ++m_dropped;
            return false;
        }
        m_waitingBytes += length;
    }
    return true;
}

napi_value Mailbox::take(napi_env env)
{
    std::int64_t dropped = 0;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        dropped = std::exchange(m_dropped, 0);
    }
    const std::deque<Delivery> taken = takeOldest();
    napi_value array = nullptr;
    check(napi_create_array(env, &array), "an array");
    std::uint32_t index = 0;
    const auto append = [&](napi_value value) {
        check(napi_set_element(env, array, index++, value), "an element");
    };
    if (dropped > 0) {
        append(valueOf(env, ReceiverId{0}));
        append(valueOf(env, dropped));
    }
    for (const Delivery &delivery : taken) {
        append(valueOf(env, delivery.id));
        const bool isEvent = delivery.kind == Kind::event;
        append(isEvent ? valueOf(env, delivery.count) : valueOf(env, delivery.text));
    }
    return array;
}

std::deque<Mailbox::Delivery> Mailbox::takeOldest()
{
    std::deque<Delivery> taken;
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto end =
        m_arrived.begin() + static_cast<std::ptrdiff_t>(std::min(m_arrived.size(), kMostAtOnce));
    std::move(m_arrived.begin(), end, std::back_inserter(taken));
    m_arrived.erase(m_arrived.begin(), end);
    for (Delivery &delivery : taken) {
        if (delivery.kind == Kind::event) {
            const auto waiting = m_waitingEvents.find(delivery.id);
            delivery.count = waiting->second;
            m_waitingEvents.erase(waiting);
        } else if (delivery.kind == Kind::message) {
            m_waitingBytes -= delivery.text.size();
        }
    }
    m_isCollecting = !taken.empty();
    return taken;
}
