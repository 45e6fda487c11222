#include "meeting/zmeetinghandler.h"

#include "account/accountservices.h"
#include "account/officetasks.h"
#include "base/delivery.h"
#include "meeting/officemessages.h"

namespace {

const auto kEvent = QStringLiteral("event");
const auto kBusyType = QStringLiteral("busyType");
const auto kData = QStringLiteral("data");

/// Each final status results in one reply.
bool answerStatus(int status, const QVariantMap &reply, const CallBackFunc &callback)
{
    if (status == kNoOfficeApp) {
        return replyFail(callback, QStringLiteral("no office app"));
    }
    if (status < kTaskFinished) {
        return false;
    }
    return isTaskGranted(taskResult(reply))
               ? replySuccess(callback, {})
               : replyFail(callback, QStringLiteral("changeMeetingStatus fail"));
}

} // namespace

ZMeetingHandler::ZMeetingHandler(QObject *parent) : ZMessageHandlerBase(parent, {}) {}

void ZMeetingHandler::changeMeetingStatus(const QVariantMap &params, const CallBackFunc &callback)
{
    // The interface tests the service before the parameters.
    IScheduler *scheduler =
        serviceOrReply(&IAccountSdk::getScheduler, QStringLiteral("scheduler is null"), callback);
    if (!scheduler) {
        return;
    }

    const QString event = params.value(kEvent).toString();
    const QString busyType = params.value(kBusyType).toString();
    const QVariantMap data = params.value(kData).toMap();
    if (data.isEmpty() || busyType.isEmpty() || event.isEmpty()) {
        replyFail(callback, QStringLiteral("event, data or busyType is empty"));
        return;
    }

    const QVariantMap message{
        {kMsgType, kGetMeetingStatus}, {kEvent, event}, {kData, data}, {kBusyType, busyType}};
    const TaskCallback completion = [callback, run = Run::current()](const int &status,
                                                                     const QVariantMap &reply) {
        return deliverInRun(run, [&] { return answerStatus(status, reply, callback); });
    };
    if (!scheduler->submit(suiteAppIds(), kNotifyOffice, message, this, completion)) {
        replyFail(callback, QStringLiteral("submit to office fail"));
    }
}
