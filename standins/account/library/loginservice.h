#pragma once

#include "account/iaccountsdk.h"
#include "keeper/script.h"

namespace zefstandin {

class Instance;

/// Carries the operations out on the account worker and answers from there.
class LoginService final : public ILoginService
{
public:
    using Params = const QVariantMap &;
    using Completion = const CallBackFunc &;

    explicit LoginService(Instance &instance) : m_instance(instance) {}

    void loginCallback(Params params, Completion completion) override
    {
        start("loginCallback", params, completion);
    }
    void logout(Params params, Completion completion) override
    {
        start("logout", params, completion);
    }
    void switchAccount(Params params, Completion completion) override
    {
        start("switchAccount", params, completion);
    }
    void upgradeAccount(Params params, Completion completion) override
    {
        start("upgradeAccount", params, completion);
    }
    void downgradeAccount(Params params, Completion completion) override
    {
        start("downgradeAccount", params, completion);
    }
    void updateAccountInfo(Params params, Completion completion) override
    {
        start("updateAccountInfo", params, completion);
    }
    void getUrlWithAuthorizeCode(Params params, Completion completion) override
    {
        start("getUrlWithAuthorizeCode", params, completion);
    }

private:
    void start(const char *operation, Params params, Completion completion);
    void finish(const QString &operation, Params params, Completion completion,
                const Script &script, bool isCancelled);
    QVariantMap perform(const QString &operation, Params params);

    Instance &m_instance;
};

} // namespace zefstandin
