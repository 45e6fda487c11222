#include "library/loginservice.h"

#include "jsontext.h"
#include "library/instance.h"

namespace zefstandin {

void LoginService::loginCallback(const QVariantMap &params, const CallBackFunc &completion)
{
    start("loginCallback", params, completion);
}

void LoginService::logout(const QVariantMap &params, const CallBackFunc &completion)
{
    start("logout", params, completion);
}

void LoginService::switchAccount(const QVariantMap &params, const CallBackFunc &completion)
{
    start("switchAccount", params, completion);
}

void LoginService::upgradeAccount(const QVariantMap &params, const CallBackFunc &completion)
{
    start("upgradeAccount", params, completion);
}

void LoginService::downgradeAccount(const QVariantMap &params, const CallBackFunc &completion)
{
    start("downgradeAccount", params, completion);
}

void LoginService::updateAccountInfo(const QVariantMap &params, const CallBackFunc &completion)
{
    start("updateAccountInfo", params, completion);
}

void LoginService::getUrlWithAuthorizeCode(const QVariantMap &params,
                                           const CallBackFunc &completion)
{
    start("getUrlWithAuthorizeCode", params, completion);
}

void LoginService::start(const char *operation, const QVariantMap &params,
                         const CallBackFunc &completion)
{
    Keeper &keeper = Keeper::instance();
    if (keeper.isNoCost()) {
        if (completion) {
            completion({{"result", "ok"}});
        }
        return;
    }

    keeper.recordCall(operation, compactJson(params));
    const Script script = keeper.decide(operation);
    script.disturbHost();
    script.throwIfScripted();

    const QString name = operation;
    const auto job = [this, name, params, completion, script](bool isCancelled) {
        finish(name, params, completion, script, isCancelled);
    };
    if (script.answersInCall() || m_instance.answersInline()) {
        job(false);
    } else {
        m_instance.accountWorker().post(job, script.delayMs);
    }
    m_instance.makeNoise(script.noise);
    script.throwLateIfScripted();
}

void LoginService::finish(const QString &operation, const QVariantMap &params,
                          const CallBackFunc &completion, const Script &script, bool isCancelled)
{
    QVariantMap reply;
    if (isCancelled) {
        reply = failReply("cancelled");
    } else if (script.refuse) {
        reply = failReply("refused");
    } else if (script.reply) {
        reply = *script.reply;
    } else {
        reply = perform(operation, params);
    }

    if (isCancelled && script.dropAtUninit) {
        return;
    }
    Keeper::instance().answer({operation, params, completion, {}, 0, reply}, script);
}

QVariantMap LoginService::perform(const QString &operation, const QVariantMap &params)
{
    const Outcome outcome = m_instance.accounts().perform(operation, params);
    const auto changesCookies = [](const char *name) { return !qstrcmp(name, "cookieUpdated"); };
    if (std::any_of(outcome.signalNames.begin(), outcome.signalNames.end(), changesCookies)) {
        m_instance.cookies().setSession(m_instance.accounts().currentUser());
    }
    for (const char *name : outcome.signalNames) {
        m_instance.raiseNow(name);
    }
    return outcome.reply;
}

} // namespace zefstandin
