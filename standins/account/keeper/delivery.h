#pragma once

#include "keeper/keeper.h"

namespace zefstandin {

#pragma GCC visibility push(default)

/// Calls out to function objects that were handed over. An empty one is left alone; an exception is
/// caught; each call is recorded with what came of it.
void deliver(const QString &name, const CallBackFunc &completion, const QVariantMap &reply);
void deliver(const QString &name, const TaskCallback &completion, int status,
             const QVariantMap &reply);
bool deliver(const MessageHandler &handler, const std::weak_ptr<IMessageTaskContext> &context);
void deliver(const PlannedAnswer &answer);

#pragma GCC visibility pop

} // namespace zefstandin
