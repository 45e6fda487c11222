#pragma once

#include "dispatch/zmessagehandlerbase.h"

/// Module "network".
///
/// | method          | parameters                      | data on success | failure texts       |
/// |-----------------|---------------------------------|-----------------|---------------------|
/// | updateProxyInfo | as for setGlobalNetworkProxy    | "result": "ok"  | none                |
/// | setCustomDomain | any keys, their values as texts | "result": "ok"  | "param is empty",   |
/// |                 |                                 |                 | "domainMgr is null" |
///
/// Thread-safe: none.
class ZNetworkHandler : public ZMessageHandlerBase
{
    Q_OBJECT

public:
    using ZMessageHandlerBase::ZMessageHandlerBase;
    bool isThreadSafeMethod(const QString &method) const override;

public Q_SLOTS:
    void updateProxyInfo(const QVariantMap &params, const CallBackFunc &callback);
    void setCustomDomain(const QVariantMap &params, const CallBackFunc &callback);
};
