#pragma once

#include "account/iaccountsdk.h"
#include "keeper/script.h"

namespace zefstandin {

class Instance;

/// Carries the operations out on the account worker and answers from there.
class LoginService final : public ILoginService
{
public:
    explicit LoginService(Instance &instance) : m_instance(instance) {}

    void loginCallback(const QVariantMap &params, const CallBackFunc &completion) override;
    void logout(const QVariantMap &params, const CallBackFunc &completion) override;
    void switchAccount(const QVariantMap &params, const CallBackFunc &completion) override;
    void upgradeAccount(const QVariantMap &params, const CallBackFunc &completion) override;
    void downgradeAccount(const QVariantMap &params, const CallBackFunc &completion) override;
    void updateAccountInfo(const QVariantMap &params, const CallBackFunc &completion) override;
    void getUrlWithAuthorizeCode(const QVariantMap &params,
                                 const CallBackFunc &completion) override;

private:
    void start(const char *operation, const QVariantMap &params, const CallBackFunc &completion);
    void finish(const QString &operation, const QVariantMap &params, const CallBackFunc &completion,
                const Script &script, bool isCancelled);
    QVariantMap perform(const QString &operation, const QVariantMap &params);

    Instance &m_instance;
};

} // namespace zefstandin
