#pragma once

#include "library/accounts.h"

namespace zefstandin {

/// What an operation did: its reply and the signals that the change implies, in order.
struct Outcome
{
    QVariantMap reply;
    std::vector<const char *> signalNames;
};

QVariantMap okReply(const QVariantMap &data);
QVariantMap failReply(const QString &message);

/// Checks the parameters of one operation of the login service and carries it out.
Outcome performLoginOperation(const QString &operation, Accounts &accounts,
                              const QVariantMap &params);

} // namespace zefstandin
