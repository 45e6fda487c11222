#pragma once

#include "control.h"

#include "account/iaccountsdk.h"

namespace zefstandin {

namespace {

/// One office message. Compiled into each library that sends some, so that an object never outlives
/// the code behind it unnoticed.
class MessageContextObject final : public IMessageTaskContext
{
public:
    explicit MessageContextObject(const QVariantMap &message) : m_message(message) {}

    void reserved0() override {}
    void reserved1() override {}
    void reserved2() override {}
    void reserved3() override {}
    const QVariantMap &messageData() override { return m_message; }

private:
    const QVariantMap m_message;
};

/// The weak reference of the wanted kind, and the owner that keeps its object alive.
struct MessageReference
{
    MessageReference(const QVariantMap &message, MessageContext kind)
    {
        if (kind == MessageContext::nullObject) {
            owner = std::shared_ptr<IMessageTaskContext>(nullptr, [](IMessageTaskContext *) {});
        } else if (kind != MessageContext::empty) {
            owner = std::shared_ptr<MessageContextObject>(new MessageContextObject(message));
        }
        reference = owner;
        if (kind == MessageContext::gone) {
            owner.reset();
        }
    }

    std::shared_ptr<IMessageTaskContext> owner;
    std::weak_ptr<IMessageTaskContext> reference;
};

} // namespace

} // namespace zefstandin
