#pragma once

#include "dispatch/zmessagehandlerbase.h"

/// Module "utils". docs/MODULES.md tells what its methods take, reply and fail with.
class ZUtilsHandler : public ZMessageHandlerBase
{
    Q_OBJECT

public:
    explicit ZUtilsHandler(QObject *parent);

public Q_SLOTS:
    void getLogPath(const QVariantMap &params, const CallBackFunc &callback);
};
