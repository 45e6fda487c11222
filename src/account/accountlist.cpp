#include "account/accountlist.h"

#include "account/accountservices.h"
#include "dispatch/reply.h"
#include "framework/jsontext.h"

#include <QStringList>

namespace {

QString textOf(const QVariantMap &entry)
{
    return QString::fromUtf8(jsonTextFromMap(entry));
}

QVariantMap entryOf(const AccountListItem &item)
{
    return {
        {QStringLiteral("is_company_account"), item.isCompanyAccount},
        {QStringLiteral("is_current"), item.isCurrent},
        {QStringLiteral("is_login"), item.isLogin},
        {QStringLiteral("need_tfa"), item.needTfa},
        {QStringLiteral("userid"), item.userId},
        {QStringLiteral("nickname"), item.nickname},
        {QStringLiteral("avatar_url"), item.avatarUrl},
        {QStringLiteral("company_id"), item.companyId},
        {QStringLiteral("company_name"), item.companyName},
        {QStringLiteral("company_logo"), item.companyLogo},
        {QStringLiteral("company_custom_domain"), item.companyCustomDomain},
        {QStringLiteral("status"), item.status},
        {QStringLiteral("session_status"), item.sessionStatus},
        {QStringLiteral("reason"), item.reason},
        {QStringLiteral("loginmode"), item.loginMode},
        {QStringLiteral("logout_reason"), item.logoutReason},
        {QStringLiteral("link_text"), item.linkText},
        {QStringLiteral("link_url"), item.linkUrl},
        {QStringLiteral("login_account_limit"), item.loginAccountLimit},
    };
}

QString accountText(IAccount &account, const AccountListItem &item)
{
    QVariantMap entry = entryOf(item);
    if (account.currentUserId() == item.userId) {
        entry.insert(QStringLiteral("keep_online"), account.isKeepOnline());
        const AccountUserInfo user = account.userInfo();
        entry.insert(QStringLiteral("reg_time"), user.registrationTime);
        const AccountAuthInfo auth = account.authInfo();
        entry.insert(QStringLiteral("coa_Id"), auth.coaId);
    }
    return textOf(entry);
}

QString noAccountText(IAccount &account)
{
    const AccountAuthInfo auth = account.authInfo();
    return textOf({
        {QStringLiteral("userid"), auth.userId},
        {QStringLiteral("coa_Id"), auth.coaId},
        {QStringLiteral("company_id"), auth.companyId},
    });
}

} // namespace

void replyAccountList(const CallBackFunc &callback)
{
    IAccount *account = accountService(&IAccountSdk::getAccount);
    if (!account) {
        replyFail(callback, QStringLiteral("account is nullptr"));
        return;
    }

    const QList<AccountListItem> accounts = account->accountList();
    QStringList texts;
    texts.reserve(accounts.size());
    for (const AccountListItem &item : accounts) {
        texts.append(accountText(*account, item));
    }
    if (accounts.isEmpty()) {
        texts.append(noAccountText(*account));
    }
    replySuccess(callback, {{QStringLiteral("accountListInfo"), texts}});
}
