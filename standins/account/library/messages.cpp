#include "library/messages.h"

#include "keeper/delivery.h"
#include "keeper/messagecontext.h"
#include "library/instance.h"

namespace zefstandin {

void Messages::registerMessageTask(const QString &messageName, const QString &taskName,
                                   QObject *context, const MessageTaskHandler &handler)
{
    Keeper &keeper = Keeper::instance();
    Call call;
    call.name = "registerMessageTask";
    call.argument = (messageName + ' ' + taskName).toStdString();
    call.hasContext = context;
    keeper.recordCall(call);
    keeper.addMessageHandler({messageName, taskName, handler});
}

int Messages::send(const QVariantMap &message, Thread thread, MessageContext context)
{
    const QList<MessageHandler> handlers =
        Keeper::instance().messageHandlers("notifyElectronMsg", "meetingDataChanged");
    int taken = 0;
    for (const MessageHandler &handler : handlers) {
        if (thread == Thread::caller) {
            taken += deliver(handler, MessageReference(message, context).reference);
            continue;
        }
        m_instance.run(thread, m_instance.officeWorker(), [handler, message, context] {
            deliver(handler, MessageReference(message, context).reference);
        });
        ++taken;
    }
    return taken;
}

} // namespace zefstandin
