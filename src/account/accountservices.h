#pragma once

#include "account/iaccountsdk.h"
#include "dispatch/reply.h"

/// \file
/// Access to the account library's services. Each use looks the service up again and stores no
/// pointer: any step may yield null at any time.
///
/// Thread: any. Off the host thread only from a synchronous call of the host or from inside a
/// RunScope: shutdown waits for the latter before it unloads the library.

/// The root interface; null when there is none.
IAccountSdk *accountSdk();

/// One service, for example accountService(&IAccountSdk::getScheduler); null when there is none.
template <typename Service>
Service *accountService(Service *(IAccountSdk::*getter)())
{
    IAccountSdk *sdk = accountSdk();
    return sdk ? (sdk->*getter)() : nullptr;
}

/// The same for a module method: replies "fail" with the text when there is no service.
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
