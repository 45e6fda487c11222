#pragma once

#include "dispatch/zmessagehandlerbase.h"

/// Module "accessbase".
///
/// | method                 | parameters                      | data on success              |
/// |------------------------|---------------------------------|------------------------------|
/// | getDeviceInfo          | none                            | "result": "ok", "data": text |
/// | getDeviceNetworkStatus | none                            | "result": "ok", "data": text |
/// | getDeviceHeader        | "deviceCode": object, not empty | "result": "ok", "data": text |
///
/// Failure texts: "accessbaseService is nullptr" for all, "deviceCode is empty" for
/// getDeviceHeader.
///
/// Thread-safe: all three.
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
