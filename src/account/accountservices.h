#pragma once

#include "account/iaccountsdk.h"
#include "dispatch/reply.h"

/// \file
/// The way to the account library's services. Each use walks it afresh and keeps no pointer beyond
/// the method that asked: any link may be missing at any time.
///
/// Thread: any. Off the host thread only from a synchronous call of the host or from inside a
/// RunScope: shutdown waits for the latter before it takes the library down.

/// The root interface; null when a link up to it is missing.
IAccountSdk *accountSdk();

/// One service, for example accountService(&IAccountSdk::getScheduler); null when a link is
/// missing.
template <typename Service>
Service *accountService(Service *(IAccountSdk::*getter)())
{
    IAccountSdk *sdk = accountSdk();
    return sdk ? (sdk->*getter)() : nullptr;
}

/// The same for a module method: a missing service is answered "fail" with the text.
template <typename Service>
Service *serviceOrReply(Service *(IAccountSdk::*getter)(), const QString &missing,
                        const CallBackFunc &callback)
{
    Service *service = accountService(getter);
    if (!service) {
        replyFail(callback, missing);
    }
    return service;
}
