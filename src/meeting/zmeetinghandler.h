#pragma once

#include "dispatch/zmessagehandlerbase.h"

/// Module "meeting".
///
/// | method              | parameters                        | data on success |
/// |---------------------|-----------------------------------|-----------------|
/// | changeMeetingStatus | "event": text, "busyType": text,  | none            |
/// |                     | "data": object; none may be empty |                 |
///
/// Failure texts: "scheduler is null", "event, data or busyType is empty",
/// "submit to office fail", "no office app", "changeMeetingStatus fail".
///
/// Thread-safe: none. The reply comes later, on a library thread.
class ZMeetingHandler : public ZMessageHandlerBase
{
    Q_OBJECT

public:
    explicit ZMeetingHandler(QObject *parent);

public Q_SLOTS:
    void changeMeetingStatus(const QVariantMap &params, const CallBackFunc &callback);
};
