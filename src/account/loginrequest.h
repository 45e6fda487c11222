#pragma once

#include "account/accountservices.h"

using LoginOperation = void (ILoginService::*)(const QVariantMap &, const CallBackFunc &);

/// Passes a request to the login service, which replies itself.
/// \param missing the failure text without a login service. The spelling of the usual one is part of
///                the interface.
inline void passToLoginService(LoginOperation operation, const QVariantMap &params,
                               const CallBackFunc &callback,
                               const QString &missing = QStringLiteral("sercice is nullptr"))
{
    ILoginService *service = serviceOrReply(&IAccountSdk::getLoginService, missing, callback);
    if (service) {
        (service->*operation)(params, callback);
    }
}
