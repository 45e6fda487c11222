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
    explicit ZNetworkHandler(QObject *parent);

public Q_SLOTS:
    void updateProxyInfo(const QVariantMap &params, const CallBackFunc &callback);
    void setCustomDomain(const QVariantMap &params, const CallBackFunc &callback);
};
