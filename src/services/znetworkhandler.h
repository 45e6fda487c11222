#pragma once

#include "dispatch/zmessagehandlerbase.h"

/// Module "network". docs/MODULES.md tells what its methods take, reply and fail with.
class ZNetworkHandler : public ZMessageHandlerBase
{
    Q_OBJECT

public:
    explicit ZNetworkHandler(QObject *parent);

public Q_SLOTS:
    void updateProxyInfo(const QVariantMap &params, const CallBackFunc &callback);
    void setCustomDomain(const QVariantMap &params, const CallBackFunc &callback);
};
