#pragma once

#include "dispatch/zmessagehandlerbase.h"

/// Module "utils".
///
/// | method     | parameters | data on success          | failure texts           |
/// |------------|------------|--------------------------|-------------------------|
/// | getLogPath | none       | "path": absolute, exists | "log proxy is nullptr", |
/// |            |            |                          | "log path is null"      |
///
/// Thread-safe: getLogPath.
class ZUtilsHandler : public ZMessageHandlerBase
{
    Q_OBJECT

public:
    using ZMessageHandlerBase::ZMessageHandlerBase;
    bool isThreadSafeMethod(const QString &method) const override;

public Q_SLOTS:
    void getLogPath(const QVariantMap &params, const CallBackFunc &callback);
};
