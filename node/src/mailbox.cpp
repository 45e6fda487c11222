#include "mailbox.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace {

constexpr std::size_t kMostAtOnce = 256;

/// What a listener throws is dealt with in JavaScript. What is left here is the termination of a
/// worker, and that must stay unhandled.
void callCollect(napi_env env, napi_value collect, void *, void *)
{
    napi_value receiver = nullptr;
    if (!env || !collect || napi_get_undefined(env, &receiver) != napi_ok) {
        return;
    }
    if (napi_call_function(env, receiver, collect, 0, nullptr, nullptr) == napi_pending_exception) {
        napi_value exception = nullptr;
        napi_get_and_clear_last_exception(env, &exception);
    }
}

} // namespace

bool Mailbox::open(napi_env env, napi_value collect)
{
    napi_value name = nullptr;
    napi_threadsafe_function function = nullptr;
    if (napi_create_string_utf8(env, "zelectronframework", NAPI_AUTO_LENGTH, &name) != napi_ok ||
        napi_create_threadsafe_function(env, collect, nullptr, name, 0, 1, nullptr, nullptr,
                                        nullptr, callCollect, &function) != napi_ok) {
        return false;
    }
    // Nothing is pending yet; an idle framework must not keep the process from ending.
    napi_unref_threadsafe_function(env, function);
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_function = function;
    return true;
}

void Mailbox::close()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_function) {
        napi_release_threadsafe_function(m_function, napi_tsfn_abort);
        m_function = nullptr;
    }
    m_arrived.clear();
}

void Mailbox::keepAlive(napi_env env, bool isKept)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_function) {
        return;
    }
    if (isKept) {
        napi_ref_threadsafe_function(env, m_function);
    } else {
        napi_unref_threadsafe_function(env, m_function);
    }
}

bool Mailbox::post(ReceiverId id, std::string_view text)
{
    Delivery delivery{id, std::string(text)};
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_function) {
        return false;
    }
    if (!m_isCollecting) {
        if (napi_call_threadsafe_function(m_function, nullptr, napi_tsfn_nonblocking) != napi_ok) {
            m_function = nullptr; // the environment ends; it must not be asked again
            return false;
        }
        m_isCollecting = true;
    }
    m_arrived.push_back(std::move(delivery));
    return true;
}

napi_value Mailbox::take(napi_env env)
{
    const std::deque<Delivery> taken = takeOldest();
    napi_value array = nullptr;
    napi_create_array_with_length(env, 2 * taken.size(), &array);
    std::uint32_t index = 0;
    for (const Delivery &delivery : taken) {
        napi_value id = nullptr;
        napi_value text = nullptr;
        napi_create_int64(env, delivery.id, &id);
        napi_create_string_utf8(env, delivery.text.data(), delivery.text.size(), &text);
        napi_set_element(env, array, index++, id);
        napi_set_element(env, array, index++, text);
    }
    return array;
}

std::deque<Mailbox::Delivery> Mailbox::takeOldest()
{
    std::deque<Delivery> taken;
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_arrived.size() <= kMostAtOnce) {
        taken.swap(m_arrived);
    } else {
        const auto end = m_arrived.begin() + kMostAtOnce;
        std::move(m_arrived.begin(), end, std::back_inserter(taken));
        m_arrived.erase(m_arrived.begin(), end);
    }
    m_isCollecting = !taken.empty();
    return taken;
}
