#pragma once

#include "keeper/keeper.h"

namespace zefstandin {

#pragma GCC visibility push(default)

/// Calls function objects of callers. Skips an empty one, counts exceptions.
void deliver(const PlannedAnswer &answer);
bool deliver(const MessageHandler &handler, const std::weak_ptr<IMessageTaskContext> &context);

#pragma GCC visibility pop

} // namespace zefstandin
