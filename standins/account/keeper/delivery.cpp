#include "keeper/delivery.h"

namespace zefstandin {

namespace {

template <typename Function>
void countExceptions(const Function &call)
{
    try {
        call();
    } catch (...) {
        Keeper::instance().countException();
    }
}

} // namespace

void deliver(const PlannedAnswer &answer)
{
    countExceptions([&] {
        if (answer.task) {
            answer.task(answer.status, answer.reply);
        } else if (answer.completion) {
            answer.completion(answer.reply);
        }
    });
}

bool deliver(const MessageHandler &handler, const std::weak_ptr<IMessageTaskContext> &context)
{
    bool isTaken = false;
    countExceptions([&] { isTaken = handler.handler && handler.handler(context); });
    return isTaken;
}

} // namespace zefstandin
