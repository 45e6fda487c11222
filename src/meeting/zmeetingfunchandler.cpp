#include "meeting/zmeetingfunchandler.h"

#include "account/accountservices.h"
#include "account/officetasks.h"
#include "base/delivery.h"
#include "meeting/meetingtasks.h"
#include "meeting/officemessages.h"

namespace {

const auto kMeetingUrl = QStringLiteral("meetingUrl");
const auto kAccessCode = QStringLiteral("accessCode");
const auto kLogoutAccount = QStringLiteral("logoutAccount");

// What is logged here is logged by function objects.
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

} // namespace

ZMeetingFuncHandler::ZMeetingFuncHandler(QObject *parent, QThread *thread)
    : QObject(parent), m_tasks(std::make_shared<MeetingTasks>())
{
    moveToThread(thread);
    registerElectronMsgTask();
}

ZMeetingFuncHandler::~ZMeetingFuncHandler()
{
    m_tasks->clear();
}

void ZMeetingFuncHandler::registerElectronMsgTask()
{
    IMessageTaskRegistry *registry = accountService(&IAccountSdk::getMessageTaskRegistry);
    if (!registry) {
        return; // nobody to tell: the task callbacks stay unused
    }
    const auto handler = [tasks = m_tasks,
                          run = Run::current()](std::weak_ptr<IMessageTaskContext> context) {
        return deliverInRun(run, [&] { return handleMessage(*tasks, context); });
    };
    registry->registerMessageTask(QStringLiteral("notifyElectronMsg"),
                                  QStringLiteral("meetingDataChanged"), this, handler);
}

bool ZMeetingFuncHandler::registerEnterMeetingTask(const CallBackFunc &callback)
{
    if (!m_tasks->add(kEnterMeeting, callback)) {
        return false;
    }
    getMeetingData();
    return true;
}

bool ZMeetingFuncHandler::registerGetMeetingStatusTask(const CallBackFunc &callback)
{
    return m_tasks->add(kGetMeetingStatus, callback);
}

bool ZMeetingFuncHandler::registerCloseMeetingAppTask(const CallBackFunc &callback)
{
    return m_tasks->add(kCloseMeetingApp, callback);
}

bool ZMeetingFuncHandler::getMeetingData()
{
    IScheduler *scheduler = accountService(&IAccountSdk::getScheduler);
    if (!scheduler) {
        return false;
    }
    const TaskCallback completion =
        [tasks = m_tasks, run = Run::current()](const int &status, const QVariantMap &reply) {
            return deliverInRun(run, [&] { return handleMeetingData(*tasks, status, reply); });
        };
    return scheduler->submit(suiteAppIds(), kNotifyOffice, {{kMsgType, kEnterMeeting}}, this,
                             completion);
}
