#pragma once

#include "dispatch/zmessagehandlerbase.h"

/// Module "meeting". docs/MODULES.md tells what its methods take, reply and fail with.
class ZMeetingHandler : public ZMessageHandlerBase
{
    Q_OBJECT

public:
    explicit ZMeetingHandler(QObject *parent);

public Q_SLOTS:
    void changeMeetingStatus(const QVariantMap &params, const CallBackFunc &callback);
};
