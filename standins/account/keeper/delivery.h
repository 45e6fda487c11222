#pragma once

#include "keeper/keeper.h"

namespace zefstandin {

#pragma GCC visibility push(default)

/// Calls function objects of callers. Skips an empty one, catches exceptions, and records each call
/// with its outcome.
void deliver(const QString &name, const CallBackFunc &completion, const QVariantMap &reply);
void deliver(const QString &name, const TaskCallback &completion, int status,
             const QVariantMap &reply);
bool deliver(const MessageHandler &handler, const std::weak_ptr<IMessageTaskContext> &context);
void deliver(const PlannedAnswer &answer);

#pragma GCC visibility pop

} // namespace zefstandin
