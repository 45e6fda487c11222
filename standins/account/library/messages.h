#pragma once

#include "account/iaccountsdk.h"
#include "control.h"

namespace zefstandin {

class Instance;

/// Takes registrations and delivers the office suite's messages to them. A delivery does not ask
/// whether the registered context object still exists.
class Messages final : public IMessageTaskRegistry
{
public:
    explicit Messages(Instance &instance) : m_instance(instance) {}

    void registerMessageTask(const QString &messageName, const QString &taskName, QObject *context,
                             const MessageTaskHandler &handler) override;

    /// \return as AccountControl::sendMessage.
    int send(const QVariantMap &message, Thread thread, MessageContext context);

private:
    Instance &m_instance;
};

} // namespace zefstandin
