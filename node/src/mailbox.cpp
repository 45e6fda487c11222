#include "mailbox.h"

#include <memory>

namespace {

struct Delivery
{
    ReceiverId id;
    std::string text;
};

/// What a listener throws is dealt with by the dispatching function. What is left here is the
/// termination of a worker, and that must stay unhandled.
void deliver(napi_env env, napi_value dispatch, void *, void *data)
{
    const std::unique_ptr<Delivery> delivery(static_cast<Delivery *>(data));
    if (!env || !dispatch) {
        return;
    }
    napi_value receiver = nullptr;
    napi_value arguments[2] = {};
    if (napi_get_undefined(env, &receiver) != napi_ok ||
        napi_create_int64(env, delivery->id, &arguments[0]) != napi_ok ||
        napi_create_string_utf8(env, delivery->text.data(), delivery->text.size(), &arguments[1]) !=
            napi_ok) {
        return;
    }
    if (napi_call_function(env, receiver, dispatch, 2, arguments, nullptr) ==
        napi_pending_exception) {
        napi_value exception = nullptr;
        napi_get_and_clear_last_exception(env, &exception);
    }
}

} // namespace

bool Mailbox::open(napi_env env, napi_value dispatch)
{
    napi_value name = nullptr;
    napi_threadsafe_function function = nullptr;
    if (napi_create_string_utf8(env, "zelectronframework", NAPI_AUTO_LENGTH, &name) != napi_ok ||
        napi_create_threadsafe_function(env, dispatch, nullptr, name, 0, 1, nullptr, nullptr,
                                        nullptr, deliver, &function) != napi_ok) {
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
    auto delivery = std::make_unique<Delivery>(Delivery{id, std::string(text)});
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_function || napi_call_threadsafe_function(m_function, delivery.get(),
                                                     napi_tsfn_nonblocking) != napi_ok) {
        return false;
    }
    // NOLINTNEXTLINE(bugprone-unused-return-value): deliver() owns it now.
    (void)delivery.release();
    return true;
}
