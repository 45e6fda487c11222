#pragma once

#include "base/callbackfunc.h"

/// Replies with the accounts known on this machine: "accountListInfo" holds one JSON text per
/// account, or a single short one when there is no account. Thread: any.
void replyAccountList(const CallBackFunc &callback);
