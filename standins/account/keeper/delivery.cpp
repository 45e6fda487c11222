#include "keeper/delivery.h"

namespace zefstandin {

namespace {

const char *text(bool value)
{
    return value ? "true" : "false";
}

/// Runs \a call and records the name with the outcome that it returns.
template <typename Function>
void callAndRecord(const QString &name, const Function &call)
{
    const char *outcome = "threw";
    try {
        outcome = call();
    } catch (...) { // recorded as such
    }
    Keeper &keeper = Keeper::instance();
    if (!keeper.isNoCost()) {
        keeper.recordAnswer(*outcome ? name + ' ' + outcome : name);
    }
}

} // namespace

void deliver(const QString &name, const CallBackFunc &completion, const QVariantMap &reply)
{
    if (!completion) {
        return;
    }
    callAndRecord(name, [&] {
        completion(reply);
        const QString result = reply.value("result").toString();
        return result == "ok" ? "ok" : result == "fail" ? "fail" : "";
    });
}

void deliver(const QString &name, const TaskCallback &completion, int status,
             const QVariantMap &reply)
{
    if (!completion) {
        return;
    }
    callAndRecord(name + ' ' + QString::number(status),
                  [&] { return text(completion(status, reply)); });
}

bool deliver(const MessageHandler &handler, const std::weak_ptr<IMessageTaskContext> &context)
{
    if (!handler.handler) {
        return false;
    }
    bool isTaken = false;
    callAndRecord(handler.taskName, [&] {
        isTaken = handler.handler(context);
        return text(isTaken);
    });
    return isTaken;
}

void deliver(const PlannedAnswer &answer)
{
    if (answer.task) {
        deliver(answer.name, answer.task, answer.status, answer.reply);
    } else {
        deliver(answer.name, answer.completion, answer.reply);
    }
}

} // namespace zefstandin
