#include "account/officelogin.h"

#include "account/loginrequest.h"
#include "account/officetasks.h"
#include "base/delivery.h"
#include "base/runningframework.h"

#include <QCoreApplication>

#include <algorithm>

namespace {

const auto kSchedulerMissing = QStringLiteral("scheduler is nullptr");
const auto kSubmitFailed = QStringLiteral("sumbit failed"); // spelling is part of the interface

const auto kExtParam = QStringLiteral("extParam");
const auto kKeepOnline = QStringLiteral("keepOnline");
const auto kUserId = QStringLiteral("userId");
const auto kReason = QStringLiteral("reason");

void submit(QObject *context, const QString &taskName, const QVariantMap &params,
            const CallBackFunc &callback, const TaskCallback &completion)
{
    IScheduler *scheduler = serviceOrReply(&IAccountSdk::getScheduler, kSchedulerMissing, callback);
    if (scheduler && !scheduler->submit(suiteAppIds(), taskName, params, context, completion)) {
        replyFail(callback, kSubmitFailed);
    }
}

/// Wraps the handling of a final status. When the account library throws in it, the host gets a
/// "fail" reply here, because nothing else would reply.
template <typename Answer>
TaskCallback whenFinished(const QString &method, const CallBackFunc &callback, Answer answer)
{
    return [=, run = Run::current()](const int &status, const QVariantMap &reply) {
        return deliverInRun(run, [&] {
            const auto finish = [&] {
                return status >= kTaskFinished && answer(taskResult(reply));
            };
            return guarded(finish, [&] {
                logError("whenFinished", "exception from method:%1", {method});
                return replyFailUnlessAnswered(
                    callback, QStringLiteral("method:%1 asynCall failed").arg(method));
            });
        });
    };
}

bool isKnownUser(IAccount &account, const QString &userId)
{
    const QList<AccountListItem> accounts = account.accountList();
    return std::any_of(accounts.cbegin(), accounts.cend(),
                       [&userId](const AccountListItem &item) { return item.userId == userId; });
}

bool answerOfficeUser(QVariantMap result, const CallBackFunc &callback)
{
    if (!isTaskGranted(result)) {
        const auto failure = QStringLiteral("getUserInfo failed");
        return replyFail(callback, result.value(kReason, failure).toString());
    }
    IAccount *account = accountService(&IAccountSdk::getAccount);
    if (!account) {
        return replyFail(callback, QStringLiteral("account is nullptr"));
    }
    if (isKnownUser(*account, result.value(kUserId).toString())) {
        return replyFail(callback, QStringLiteral("already logined user"));
    }
    result.insert(QStringLiteral("result"), QStringLiteral("ok"));
    return replySuccess(callback, result);
}

} // namespace

void loginThroughOffice(QObject *context, const QVariantMap &params, const CallBackFunc &callback)
{
    const QVariantMap extParam = params.value(kExtParam).toMap();

    // The login service receives the grant or, after a refusal, a map with only "extParam".
    const CallBackFunc continuation = [callback, extParam](const QVariantMap &reply) {
        QVariantMap data = reply.value(QStringLiteral("data")).toMap();
        data.insert(kExtParam, extParam);
        passToLoginService(&ILoginService::loginCallback, data, callback);
    };
    const TaskCallback completion = whenFinished(
        QStringLiteral("quickLogin"), callback, [continuation](const QVariantMap &result) {
            return isTaskGranted(result)
                       ? replySuccess(continuation, result)
                       : replyFail(continuation, QStringLiteral("grantAuthorizeCode failed"));
        });

    const QVariantMap request{{kKeepOnline, params.value(kKeepOnline).toBool()},
                              {kUserId, params.value(kUserId).toString()}};
    submit(context, QStringLiteral("grantAuthorizeCodeOffice"), request, callback, completion);
}

void requestOfficeUser(QObject *context, const CallBackFunc &callback)
{
    const TaskCallback completion = whenFinished(
        QStringLiteral("getOfficeUserInfo"), callback,
        [callback](const QVariantMap &result) { return answerOfficeUser(result, callback); });

    const QVariantMap app = runningSettings().value(QStringLiteral("app")).toMap();
    const auto international = QStringLiteral("international");
    const QVariantMap request{
        {QStringLiteral("source"), QCoreApplication::applicationName()},
        {international, app.value(international).toBool()},
    };
    submit(context, QStringLiteral("getAuthorizedUserInfoOffice"), request, callback, completion);
}
