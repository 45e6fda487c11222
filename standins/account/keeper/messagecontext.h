#pragma once

#include "keeper/delivery.h"

#include <stdexcept>

namespace zefstandin {

namespace {

/// One office message. Compiled into each library that sends some, so that a test notices an object
/// that outlives its code.
class MessageContextObject final : public IMessageTaskContext
{
public:
    MessageContextObject(const QVariantMap &message, bool isThrowing)
        : m_message(message), m_isThrowing(isThrowing)
    {
    }

    void reserved0() override {}
    void reserved1() override {}
    void reserved2() override {}
    void reserved3() override {}
    const QVariantMap &messageData() override
    {
        if (m_isThrowing) {
            throw std::runtime_error("scripted");
        }
        return m_message;
    }

private:
    const QVariantMap m_message;
    const bool m_isThrowing;
};

/// Calls a handler with a weak reference of the wanted kind.
inline bool sendTo(const MessageHandler &handler, const QVariantMap &message, MessageContext kind)
{
    std::shared_ptr<IMessageTaskContext> owner;
    if (kind == MessageContext::nullObject) {
        owner.reset(static_cast<IMessageTaskContext *>(nullptr), [](IMessageTaskContext *) {});
    } else if (kind != MessageContext::empty) {
        owner.reset(new MessageContextObject(message, kind == MessageContext::throwing));
    }
    const std::weak_ptr<IMessageTaskContext> reference = owner;
    if (kind == MessageContext::gone) {
        owner.reset();
    }
    return deliver(handler, reference);
}

/// Sends a message of the office suite to all its handlers.
/// \param queue runs a job on another thread, and returns false when it cannot.
/// \return as AccountControl::sendMessage.
template <typename Queue>
int sendToHandlers(const QVariantMap &message, Thread thread, MessageContext context, Queue queue)
{
    int taken = 0;
    for (const MessageHandler &handler :
         Keeper::instance().messageHandlers("notifyElectronMsg", "meetingDataChanged")) {
        const auto send = [handler, message, context] { return sendTo(handler, message, context); };
        if (thread == Thread::caller) {
            taken += send();
        } else if (!queue(send)) {
            return -1;
        } else {
            ++taken;
        }
    }
    return taken;
}

} // namespace

} // namespace zefstandin
