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
    explicit ZUtilsHandler(QObject *parent);

public Q_SLOTS:
    void getLogPath(const QVariantMap &params, const CallBackFunc &callback);
};
