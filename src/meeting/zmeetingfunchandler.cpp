#include "meeting/zmeetingfunchandler.h"

#include "account/accountservices.h"
#include "account/officetasks.h"
#include "base/delivery.h"
#include "meeting/meetingtasks.h"
#include "meeting/officemessages.h"

#include <QPointer>

namespace {

const auto kMeetingUrl = QStringLiteral("meetingUrl");
const auto kAccessCode = QStringLiteral("accessCode");
const auto kLogoutAccount = QStringLiteral("logoutAccount");

// The function name of these log lines is part of the interface.
const char kFunction[] = "operator()";

QVariantMap meetingData(const QString &meetingUrl, const QString &accessCode)
{
    return {{kMeetingUrl, meetingUrl}, {kAccessCode, accessCode}};
}

bool enterMeeting(const MeetingTasks &tasks, const QVariantMap &message)
{
    const QString meetingUrl = message.value(kMeetingUrl).toString();
    const QString accessCode = message.value(kAccessCode).toString();
    if (meetingUrl.isEmpty() && accessCode.isEmpty()) {
        logInfo(kFunction, "accessCode & meetingUrl is empty");
        return false;
    }
    logInfo(kFunction, "meeting data changed meetingUrl:%1, accessCode:%2",
            {meetingUrl, accessCode});
    return tasks.trigger(kEnterMeeting, meetingData(meetingUrl, accessCode));
}

bool getMeetingStatus(const MeetingTasks &tasks)
{
    logInfo(kFunction, "getMeetingStatus: notify to get meeting status");
    return tasks.trigger(kGetMeetingStatus, {});
}

bool closeMeetingApp(const MeetingTasks &tasks, const QVariantMap &message)
{
    const bool logoutAccount = message.value(kLogoutAccount).toBool();
    logInfo(kFunction, "closeInMeeting: notify to close meeting, logoutAccount:%1",
            {logoutAccount ? 1 : 0});
    return tasks.trigger(kCloseMeetingApp, {{kLogoutAccount, logoutAccount}});
}

bool handleMessage(const MeetingTasks &tasks, const std::weak_ptr<IMessageTaskContext> &contextRef)
{
    if (contextRef.expired()) {
        return false;
    }
    // Held until the message is handled.
    const std::shared_ptr<IMessageTaskContext> context = contextRef.lock();
    if (!context) {
        logInfo(kFunction, "contextPtr is null");
        return false;
    }

    const QVariantMap message = context->messageData();
    const QString type = message.value(kMsgType).toString();
    if (type == kEnterMeeting) {
        return enterMeeting(tasks, message);
    }
    if (type == kGetMeetingStatus) {
        return getMeetingStatus(tasks);
    }
    if (type == kCloseMeetingApp) {
        return closeMeetingApp(tasks, message);
    }
    logInfo(kFunction, "msgType: %1 not support", {type});
    return false;
}

bool handleMeetingData(const MeetingTasks &tasks, int status, const QVariantMap &reply)
{
    if (status == kNoOfficeApp) {
        logInfo(kFunction, "OfficeAppNotExist");
        return false;
    }
    if (status < kTaskFinished) {
        return false;
    }
    const QVariantMap result = taskResult(reply);
    if (!isTaskGranted(result)) {
        logInfo(kFunction, "getMeetingData ret result fail");
        return false;
    }
    // Empty values are accepted: the office suite has answered that there is no meeting.
    return tasks.trigger(kEnterMeeting, meetingData(result.value(kMeetingUrl).toString(),
                                                    result.value(kAccessCode).toString()));
}

using SharedTasks = std::shared_ptr<MeetingTasks>;

void registerElectronMsgTask(QObject *context, const SharedTasks &tasks)
{
    IMessageTaskRegistry *registry = accountService(&IAccountSdk::getMessageTaskRegistry);
    if (!registry) {
        return; // no failure is reported: the task callbacks stay unused
    }
    const auto handler = [tasks, run = Run::current()](std::weak_ptr<IMessageTaskContext> message) {
        return deliverInRun(run, [&] { return handleMessage(*tasks, message); });
    };
    registry->registerMessageTask(QStringLiteral("notifyElectronMsg"),
                                  QStringLiteral("meetingDataChanged"), context, handler);
}

void getMeetingData(const QPointer<QObject> &context, const SharedTasks &tasks)
{
    IScheduler *scheduler = accountService(&IAccountSdk::getScheduler);
    if (!scheduler) {
        return;
    }
    const TaskCallback completion = [tasks, run = Run::current()](const int &status,
                                                                  const QVariantMap &reply) {
        return deliverInRun(run, [&] { return handleMeetingData(*tasks, status, reply); });
    };
    scheduler->submit(suiteAppIds(), kNotifyOffice, {{kMsgType, kEnterMeeting}}, context,
                      completion);
}

} // namespace

ZMeetingFuncHandler::ZMeetingFuncHandler(QObject *parent, QThread *thread)
    : QObject(parent), m_tasks(std::make_shared<MeetingTasks>())
{
    moveToThread(thread);
}

ZMeetingFuncHandler::~ZMeetingFuncHandler()
{
    m_tasks->close();
}

void ZMeetingFuncHandler::registerTasks(ZMeetingFuncHandler *handler, const CallBackFunc &callback)
{
    // All that is used once the account library has the handler.
    const QPointer<QObject> context = handler;
    const SharedTasks tasks = handler->m_tasks;

    registerElectronMsgTask(handler, tasks);
    if (tasks->add(kEnterMeeting, callback)) {
        getMeetingData(context, tasks);
    }
    tasks->add(kGetMeetingStatus, callback);
    tasks->add(kCloseMeetingApp, callback);
}
