#include "library/messages.h"

#include "keeper/messagecontext.h"
#include "library/instance.h"

namespace zefstandin {

void Messages::registerMessageTask(const QString &messageName, const QString &taskName,
                                   QObject *context, const MessageTaskHandler &handler)
{
    const std::string name = "registerMessageTask";
    const std::string names = (messageName + ' ' + taskName).toStdString();
    const Script script = Keeper::instance().begin(QString::fromStdString(name),
                                                   Call{name, names, {}, context != nullptr, 0});
    if (script.destroyContext) {
        delete context;
    }
    Keeper::instance().addMessageHandler({messageName, taskName, handler});
}

int Messages::send(const QVariantMap &message, Thread thread, MessageContext context)
{
    const auto queue = [&](const std::function<void()> &job) {
        m_instance.run(thread, m_instance.officeWorker, job);
        return true;
    };
    return sendToHandlers(message, thread, context, queue);
}

} // namespace zefstandin
