#pragma once

#include "dispatch/zmessagehandlerbase.h"

/// Module "accessbase". docs/MODULES.md tells what its methods take, reply and fail with.
class ZAccessbaseHandler : public ZMessageHandlerBase
{
    Q_OBJECT

public:
    explicit ZAccessbaseHandler(QObject *parent);

public Q_SLOTS:
    void getDeviceInfo(const QVariantMap &params, const CallBackFunc &callback);
    void getDeviceNetworkStatus(const QVariantMap &params, const CallBackFunc &callback);
    void getDeviceHeader(const QVariantMap &params, const CallBackFunc &callback);
};
