#include "library/office.h"

#include "jsontext.h"
#include "keeper/delivery.h"
#include "library/instance.h"

namespace zefstandin {

namespace {

constexpr int kDone = 100;
constexpr int kNoOfficeApp = 101;
constexpr int kCancelled = 102;
const char *const kDefaultUserId = "10001";

QVariantMap refusal(const QString &reason)
{
    return {{"bResult", false}, {"reason", reason}};
}

QVariantMap replyWith(const QVariantMap &taskResult)
{
    return {{"taskResult", taskResult}};
}

/// The name under which a task is scripted.
QString operationName(const QString &taskName, const QVariantMap &params)
{
    if (taskName != "notifyOfficeMsg") {
        return taskName;
    }
    return taskName + '/' + params.value("msgType").toString();
}

bool isKnownTask(const QString &taskName)
{
    return taskName == "grantAuthorizeCodeOffice" || taskName == "getAuthorizedUserInfoOffice" ||
           taskName == "notifyOfficeMsg";
}

} // namespace

bool Office::submit(const QStringList &appIds, const QString &taskName, const QVariantMap &params,
                    const QPointer<QObject> &context, const TaskCallback &completion)
{
    Keeper &keeper = Keeper::instance();
    if (keeper.isNoCost()) {
        if (completion) {
            completion(kDone, {});
        }
        return true;
    }

    Call call;
    call.name = "submit " + taskName.toStdString();
    call.argument = compactJson(params).toStdString();
    call.appIds = appIds.join(',').toStdString();
    call.hasContext = !context.isNull();
    keeper.recordCall(call);
    const Script script = keeper.decide(operationName(taskName, params));
    script.disturbHost();
    script.throwIfScripted();
    m_instance.makeNoise(script.noise);
    if (script.destroyContext) {
        delete context.data();
    }
    if (script.refuse || !isKnownTask(taskName)) {
        return false;
    }

    const TaskPointer task = makeTask(taskName, params, completion, script);
    if (script.answersInCall()) {
        step(task, 0, false);
    } else {
        post(task, 0);
    }
    script.throwLateIfScripted();
    return true;
}

void Office::configure(const QVariantMap &standin)
{
    const QVariantMap office = standin.value("office").toMap();
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (auto it = office.cbegin(); it != office.cend(); ++it) {
        m_settings.insert(it.key(), it.value());
    }
}

QVariantMap Office::settings() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_settings;
}

QVariantMap Office::meetingStatus() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_meetingStatus;
}

Office::TaskPointer Office::makeTask(const QString &name, const QVariantMap &params,
                                     const TaskCallback &completion, const Script &script)
{
    bool isPresent = true;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        isPresent = m_settings.value("present", true).toBool();
    }
    std::shared_ptr<Task> task(new Task{name, params, completion, script, {}, {}});
    if (script.statuses) {
        task->statuses = *script.statuses;
    } else {
        task->statuses = isPresent ? QVector<int>{10, 50, kDone} : QVector<int>{kNoOfficeApp};
    }
    if (script.reply) {
        task->reply = *script.reply;
    } else if (isPresent) {
        task->reply = replyWith(resultOf(name, params));
    }
    return task;
}

QVariantMap Office::resultOf(const QString &name, const QVariantMap &params)
{
    if (name == "notifyOfficeMsg") {
        return meetingResult(params);
    }

    QVariantMap settings;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        settings = m_settings;
    }
    if (!settings.value("grants", true).toBool()) {
        return refusal(settings.value("reason", "refused by the user").toString());
    }

    const QString wanted = params.value("userId").toString();
    const QString userId =
        wanted.isEmpty() ? settings.value("userId", kDefaultUserId).toString() : wanted;
    const std::optional<Person> person = m_instance.accounts().person(userId);
    if (!person) {
        return refusal("user not signed in");
    }
    if (name == "grantAuthorizeCodeOffice") {
        return {{"bResult", true},
                {"userId", userId},
                {"authorizeCode", m_instance.accounts().newCode(userId)},
                {"keepOnline", params.value("keepOnline").toBool()}};
    }
    return {{"bResult", true},
            {"userId", userId},
            {"nickname", person->item.nickname},
            {"avatarUrl", person->item.avatarUrl},
            {"companyId", person->item.companyId}};
}

QVariantMap Office::meetingResult(const QVariantMap &params)
{
    const QString type = params.value("msgType").toString();
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (type == "enterMeeting") {
        QVariantMap meeting = m_settings.value("meeting").toMap();
        if (meeting.isEmpty()) {
            return refusal("no meeting");
        }
        meeting.insert("bResult", true);
        return meeting;
    }
    if (type != "getMeetingStatus") {
        return refusal("msgType not supported");
    }
    if (params.value("event").toString().isEmpty() ||
        params.value("busyType").toString().isEmpty()) {
        return refusal("status not complete");
    }
    m_meetingStatus = params;
    return {{"bResult", true}};
}

/// Gives status number \a index, and queues the next one.
void Office::step(const TaskPointer &task, int index, bool isCancelled)
{
    if (isCancelled && !task->script.hold) {
        if (!task->script.dropAtUninit) {
            deliver(task->name, task->completion, kCancelled, replyWith(refusal("cancelled")));
        }
        return;
    }
    if (index >= task->statuses.size()) { // scripted to give none
        return;
    }

    const int status = task->statuses.at(index);
    const bool isLast = index + 1 == task->statuses.size();
    if (isLast) {
        Keeper::instance().answer(
            {task->name, task->params, {}, task->completion, status, task->reply}, task->script);
        return;
    }
    if (!task->script.hold) {
        deliver(task->name, task->completion, status, {});
    }
    if (task->script.answersInCall() || isCancelled) {
        step(task, index + 1, isCancelled);
    } else {
        post(task, index + 1);
    }
}

void Office::post(const TaskPointer &task, int index)
{
    m_instance.officeWorker().post(
        [this, task, index](bool isCancelled) { step(task, index, isCancelled); },
        task->script.delayMs);
}

} // namespace zefstandin
