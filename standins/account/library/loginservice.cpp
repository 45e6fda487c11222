#include "library/loginservice.h"

#include "jsontext.h"
#include "library/instance.h"

namespace zefstandin {

void LoginService::start(const char *operation, Params params, Completion completion)
{
    Keeper &keeper = Keeper::instance();
    if (keeper.isNoCost()) {
        if (completion) {
            completion({{"result", "ok"}});
        }
        return;
    }

    const Script script = keeper.begin(operation, compactJson(params));
    const auto job = [this, name = QString(operation), params, completion,
                      script](bool isCancelled) {
        finish(name, params, completion, script, isCancelled);
    };
    if (script.answersInCall() || m_instance.answersInline()) {
        job(false);
    } else {
        m_instance.accountWorker.post(job, script.delayMs);
    }
    m_instance.makeNoise(script.noise);
    script.throwLateIfScripted();
}

void LoginService::finish(const QString &operation, Params params, Completion completion,
                          const Script &script, bool isCancelled)
{
    if (isCancelled && script.dropAtUninit) {
        return;
    }

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

    Keeper::instance().answer({operation, params, completion, {}, 0, reply}, script);
}

QVariantMap LoginService::perform(const QString &operation, Params params)
{
    const Outcome outcome = m_instance.accounts.perform(operation, params);
    const auto changesCookies = [](const char *name) { return !qstrcmp(name, "cookieUpdated"); };
    if (std::any_of(outcome.signalNames.begin(), outcome.signalNames.end(), changesCookies)) {
        m_instance.cookies.setSession(m_instance.accounts.locked()->currentUserId());
    }
    for (const char *name : outcome.signalNames) {
        m_instance.raiseNow(name);
    }
    return outcome.reply;
}

} // namespace zefstandin
