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

    const Script script =
        keeper.begin(operationName(taskName, params),
                     {"submit " + taskName.toStdString(), compactJson(params).toStdString(),
                      appIds.join(',').toStdString(), !context.isNull(), 0});
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
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_state.settings = merged(m_state.settings, standin.value("office").toMap());
}

Office::State Office::state() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_state;
}

Office::TaskPointer Office::makeTask(const QString &name, const QVariantMap &params,
                                     const TaskCallback &completion, const Script &script)
{
    const bool isPresent = state().settings.value("present", true).toBool();
    std::shared_ptr<Task> task(new Task{{name, params, {}, completion, kDone, {}}, script, {}});
    if (script.statuses) {
        task->statuses = *script.statuses;
    } else {
        task->statuses = isPresent ? QVector<int>{10, 50, kDone} : QVector<int>{kNoOfficeApp};
    }
    if (script.reply) {
        task->answer.reply = *script.reply;
    } else if (isPresent) {
        task->answer.reply = replyWith(resultOf(name, params));
    }
    return task;
}

QVariantMap Office::resultOf(const QString &name, const QVariantMap &params)
{
    if (name == "notifyOfficeMsg") {
        return meetingResult(params);
    }

    const QVariantMap settings = state().settings;
    if (!settings.value("grants", true).toBool()) {
        return refusal(settings.value("reason", "refused by the user").toString());
    }

    const QString wanted = params.value("userId").toString();
    const QString userId =
        wanted.isEmpty() ? settings.value("userId", kDefaultUserId).toString() : wanted;
    const AccountService::Locked accounts = m_instance.accounts.locked();
    const Person *person = accounts->person(userId);
    if (!person) {
        return refusal("user not signed in");
    }
    if (name == "grantAuthorizeCodeOffice") {
        return {{"bResult", true},
                {"userId", userId},
                {"authorizeCode", accounts->newCode(userId)},
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
        QVariantMap meeting = m_state.settings.value("meeting").toMap();
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
    m_state.meetingStatus = params;
    return {{"bResult", true}};
}

/// Gives status number \p index, and queues the next one.
void Office::step(const TaskPointer &task, int index, bool isCancelled)
{
    PlannedAnswer answer = task->answer;
    if (isCancelled && !task->script.hold) {
        answer.status = kCancelled;
        answer.reply = replyWith(refusal("cancelled"));
        return task->script.dropAtUninit ? void() : deliver(answer);
    }
    if (index >= task->statuses.size()) { // scripted to give none
        return;
    }

    answer.status = task->statuses.at(index);
    if (index + 1 == task->statuses.size()) {
        return Keeper::instance().answer(answer, task->script);
    }
    if (!task->script.hold) {
        answer.reply.clear();
        deliver(answer);
    }
    if (task->script.answersInCall() || isCancelled) {
        step(task, index + 1, isCancelled);
    } else {
        post(task, index + 1);
    }
}

void Office::post(const TaskPointer &task, int index)
{
    m_instance.officeWorker.post(
        [this, task, index](bool isCancelled) { step(task, index, isCancelled); },
        task->script.delayMs);
}

} // namespace zefstandin
